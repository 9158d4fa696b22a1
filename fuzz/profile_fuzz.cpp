#include <fuzz/ScratchFile.h>
#include <zun/platform/registry/ProfileString.h>

#include <cstdlib>
#include <map>
#include <utility>

namespace {

using orvane_com::zun::helper::toWide;

constexpr wchar_t const* absent = L"\u0001absent";

class Profile {
public:
    explicit Profile(std::wstring file) : m_file(std::move(file)) {}

    std::wstring get(wchar_t const* section, wchar_t const* key) const {
        std::wstring buffer(65536, L'#');
        buffer.resize(
            GetPrivateProfileString(section, key, absent, buffer.data(), buffer.size(), m_file.c_str()));
        return buffer;
    }

    std::map<std::pair<std::wstring, std::wstring>, std::wstring> all() const {
        std::map<std::pair<std::wstring, std::wstring>, std::wstring> settings;
        std::wstring const sections = get(nullptr, nullptr);
        for (std::size_t s = 0; s < sections.size(); s = sections.find(L'\0', s) + 1) {
            std::wstring const section = sections.c_str() + s;
            std::wstring const keys = get(section.c_str(), nullptr);
            if (keys == absent) // the name is no UTF-8, and no wide one is the same
                continue;
            for (std::size_t k = 0; k < keys.size(); k = keys.find(L'\0', k) + 1) {
                std::wstring const key = keys.c_str() + k;
                settings[{section, key}] = get(section.c_str(), key.c_str());
            }
        }
        return settings;
    }

    bool set(std::wstring const& section, std::wstring const& key, wchar_t const* value) const {
        return WritePrivateProfileString(section.c_str(), key.c_str(), value, m_file.c_str());
    }

private:
    std::wstring const m_file;
};

std::wstring asRead(std::wstring const& value) {
    std::size_t const first = value.find_first_not_of(L" \t");
    if (first == std::wstring::npos)
        return {};
    std::wstring text = value.substr(first, value.find_last_not_of(L" \t") + 1 - first);
    if (text.size() >= 2 && (text[0] == L'"' || text[0] == L'\'') && text[0] == text.back())
        text = text.substr(1, text.size() - 2);
    return text;
}

void require(bool condition) {
    if (!condition)
        std::abort();
}

} // namespace

/// The input is a section, a key and a value, a line each, and a file. What is written is read back, what is
/// deleted is gone, and no other setting changes.
extern "C" int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    static ScratchFile const file("profile_fuzz");
    Profile const profile(file.widePath());
    std::string input(reinterpret_cast<char const*>(data), size);
    std::wstring const section = toWide(takeLine(input)).c_str();
    std::wstring const key = toWide(takeLine(input)).c_str();
    std::wstring const value = toWide(takeLine(input)).c_str();
    // A NUL in the file ends names and values for the caller, who then asks for others.
    if (input.find('\0') != std::string::npos || input.size() > 4096)
        return 0;
    file.write(input);
    auto const before = profile.all();
    if (!profile.set(section, key, value.c_str())) {
        require(file.read() == input);
        return 0;
    }
    std::wstring const expected = asRead(value);
    require(profile.get(section.c_str(), key.c_str()) == expected);
    for (auto const& [name, old] : before) {
        std::wstring const now = profile.get(name.first.c_str(), name.second.c_str());
        require(now == old || now == expected);
    }
    require(profile.set(section, key, nullptr));
    require(profile.get(section.c_str(), key.c_str()) == absent);
    auto const after = profile.all();
    for (auto const& [name, old] : before) {
        auto const now = after.find(name);
        require(now == after.end() ? before.size() - 1 <= after.size() : now->second == old);
    }
    return 0;
}
