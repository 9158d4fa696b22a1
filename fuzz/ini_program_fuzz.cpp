#include <fuzz/LiteralIni.h>
#include <fuzz/OperationReader.h>
#include <fuzz/ScratchFile.h>
#include <zun/structured/AnIni2.h>

#include <cstdlib>

namespace {

using orvane_com::zun::helper::toNarrow;
using orvane_com::zun::helper::toWide;

constexpr wchar_t const* sections[] = {L"", L"s", L"S", L"s t", L" b ", L"\u03A3", L"a]", L"a\nb", L";c"};
constexpr wchar_t const* keys[] = {L"", L"k", L"K", L" k", L"k;", L";k", L"a=b", L"[x", L"\U0001F600"};
constexpr wchar_t const* values[] = {
    L"", L"v", L"w ", L"=[];", L"\u00E4", L"x\ry", L"a long value of some size"};
constexpr char const* files[] = {"", "[s]\nk=v\n", "k=1", "[s]\nbroken\n",
                                 "[s] ;c\r\n\xC3\xA4 = \xC3\xA4\r\n[s]\nk=2\n"};

bool hasAny(std::wstring const& text, wchar_t const* characters) {
    return text.find_first_of(characters) != std::wstring::npos;
}

bool isAccepted(std::wstring const& section, std::wstring const& key, std::wstring const& value) {
    std::size_t const first = key.find_first_not_of(L' ');
    return (!key.empty() || (!section.empty() && value.empty())) && !hasAny(section + key, L"=[]") &&
           !hasAny(section + key + value, L"\r\n") && (first == std::wstring::npos || key[first] != L';');
}

std::string textOf(AnIni2::IniMap const& settings) {
    std::wstring text;
    for (auto const& [name, section] : settings) {
        text += L"[" + name + L"]\n";
        for (auto const& [key, value] : section)
            text += key + L"=" + value + L"\n";
        text += L"\n";
    }
    return toNarrow(text);
}

void require(bool condition) {
    if (!condition)
        std::abort();
}

/// What the object holds, and whether that differs from the file.
struct Model {
    AnIni2::IniMap settings;
    bool parsed = false;
    bool modified = false;

    void read(std::string const& text) {
        literal::Ini const parser(toWide(text));
        *this = {parser.sections, parser.parsed(), false};
    }
    void set(std::wstring const& section, std::wstring const& key, std::wstring const& value) {
        auto found = settings.find(section);
        if (found == settings.end())
            found = settings.emplace(section, AnIni2::Settings());
        auto const [setting, isNew] = found->second.try_emplace(key, value);
        modified = modified || isNew || setting->second != value;
        setting->second = value;
    }
};

} // namespace

/// The input is a program of sets, gets, writes, closes and readings anew, with other files in between. An
/// object and a simple model of it hold the same, and write the same file.
extern "C" int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    static ScratchFile const file("ini_program_fuzz");
    OperationReader program(data, size);
    std::string disk = program.pick(files);
    file.write(disk);
    AnIni2 ini(file.widePath());
    Model model;
    model.read(disk);
    while (!program.isAtEnd()) {
        std::size_t const operation = program.take(8);
        if (operation < 4) {
            std::wstring const section = program.pick(sections);
            std::wstring const key = program.pick(keys);
            std::wstring const value = program.pick(values);
            AString found;
            if (operation < 3 && model.parsed) {
                ini.set(section, key, value);
                if (isAccepted(section, key, value))
                    model.set(section, key, value);
            } else if (model.parsed) {
                auto const settings = model.settings.find(section);
                bool const isThere = settings != model.settings.end() && settings->second.contains(key);
                require(ini.tryGet(section, key, found) == isThere);
                require(found == (isThere ? settings->second[key].c_str() : L""));
            }
        } else if (operation == 4) {
            ini.initialize();
            model.read(disk);
        } else if (operation == 5 && !model.modified) {
            file.write(disk = program.pick(files));
        } else {
            disk = model.modified ? textOf(model.settings) : disk;
            model.modified = false;
            if (operation == 6) {
                ini.write();
            } else {
                ini.open(file.widePath());
                model.read(disk);
            }
            require(file.read() == disk);
        }
        AnIni2::IniMap settings;
        require(ini.parsed() == model.parsed && ini.getIniMap(settings) == model.parsed);
        require(settings == model.settings);
    }
    return 0;
}
