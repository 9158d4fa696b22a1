#include <fuzz/OperationReader.h>
#include <fuzz/ScratchFile.h>
#include <zun/platform/registry/ProfileString.h>

#include <algorithm>
#include <cstdlib>
#include <utility>
#include <vector>

namespace {

/// A name and, first, the number that it shares with all that are the same to a reader.
using Name = std::pair<int, wchar_t const*>;

constexpr Name names[] = {
    {0, L"a"},     {0, L" A\t"}, {1, L"\u03A3\u03A3"}, {1, L"\u03C3\u03C2"}, {2, L"\u0130"},
    {3, L"i"},     {3, L"I"},    {4, L"b c"},          {5, L"\u212A"},       {5, L"k"},
    {6, L"\uFFFD"}};
constexpr wchar_t const* refused[] = {L"a=\n", L"", L" ", L"x\r"};
/// As it is written, and as it is read.
constexpr std::pair<wchar_t const*, wchar_t const*> values[] = {
    {L"", L""},   {L"v", L"v"},         {L" \"quoted\" ", L"quoted"},
    {L"'", L"'"}, {L"=;[x]", L"=;[x]"}, {L"\u00E4\t", L"\u00E4"}};
constexpr char const* lineEnds[] = {"\n", "\r\n", "\r"};
/// Of no section or key that the names are.
constexpr char const* strangeLines[] = {"; a=comment", "text", "", "\xE4=latin", "[\xE4]", "\xFF=x"};

constexpr wchar_t const* absent = L"\u0001absent";

std::wstring get(ScratchFile const& file, wchar_t const* section, wchar_t const* key) {
    std::wstring buffer(4096, L'#');
    buffer.resize(
        GetPrivateProfileString(section, key, absent, buffer.data(), buffer.size(), file.widePath().c_str()));
    return buffer;
}

void require(bool condition) {
    if (!condition)
        std::abort();
}

} // namespace

/// The input is a program of sets and deletions, with lines that somebody else adds in between. Settings are
/// those of a simple model, and strange lines stay.
extern "C" int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    static ScratchFile const file("profile_program_fuzz");
    OperationReader program(data, size);
    std::string const lineEnd = program.pick(lineEnds);
    file.write("; top" + lineEnd);
    constexpr std::size_t count = 7;
    wchar_t const* settings[count][count] = {};
    for (int steps = 0; !program.isAtEnd() && steps < 200; ++steps) {
        std::wstring const path = file.widePath();
        std::size_t const operation = program.take(8);
        auto const& [section, sectionName] = program.pick(names);
        auto const& [key, keyName] = program.pick(names);
        auto& setting = settings[section][key];
        if (operation < 4) {
            auto const& [written, read] = program.pick(values);
            require(WritePrivateProfileString(sectionName, keyName, written, path.c_str()));
            setting = read;
        } else if (operation == 4) {
            require(WritePrivateProfileString(sectionName, keyName, nullptr, path.c_str()));
            setting = nullptr;
        } else if (operation == 5) {
            require(WritePrivateProfileString(sectionName, nullptr, nullptr, path.c_str()));
            std::fill_n(settings[section], count, nullptr);
        } else if (operation == 6) {
            std::string const before = file.read();
            require(!WritePrivateProfileString(sectionName, program.pick(refused), L"v", path.c_str()));
            require(file.read() == before);
        } else {
            file.write(file.read() + program.pick(strangeLines) + lineEnd);
        }
        require(file.read().starts_with("; top" + lineEnd));
        require(get(file, sectionName, keyName) == (setting ? setting : absent));
    }
    for (auto const& [section, sectionName] : names)
        for (auto const& [key, keyName] : names) {
            wchar_t const* const setting = settings[section][key];
            require(get(file, sectionName, keyName) == (setting ? setting : absent));
        }
    return 0;
}
