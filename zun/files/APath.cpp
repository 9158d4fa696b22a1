#include <zun/files/APath.h>

#include <string>
#include <string_view>

namespace {

constexpr wchar_t separator = L'/';

std::wstring_view orEmpty(wchar_t const* text) {
    return text ? std::wstring_view(text) : std::wstring_view();
}

} // namespace

wchar_t const* joinPath(AString* out, wchar_t const* base, wchar_t const* name) {
    std::wstring joined(orEmpty(base));
    std::wstring_view rest = orEmpty(name);
    if (!joined.empty() && !rest.empty()) {
        if (rest.front() == separator)
            rest.remove_prefix(1);
        if (joined.back() != separator)
            joined += separator;
    }
    joined += rest;
    *out = joined.c_str();
    return *out;
}

bool splitPath(wchar_t const* path, AString* directory, AString* name) {
    std::wstring const whole(orEmpty(path));
    std::size_t const last = whole.rfind(separator);
    bool const found = last != std::wstring::npos;
    if (directory)
        *directory = whole.substr(0, last).c_str();
    if (name)
        *name = found ? whole.c_str() + last + 1 : L"";
    return found;
}

APath::APath(AString const& base, AString const& name) {
    joinPath(this, base, name);
}
