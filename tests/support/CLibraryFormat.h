#pragma once

#include <zun/text/AFormat.h>

#include <algorithm>
#include <cstdlib>
#include <cwchar>
#include <string>

/// What swprintf makes of a request without case directives: the reference that the format engine is compared
/// with. Widths and precisions up to some thousand.
inline std::wstring formatWithCLibrary(AFormat const& request) {
    std::wstring const flags = request.flags;
    std::wstring directive = L"%";
    if (flags.find(L'-') != std::wstring::npos)
        directive += L'-';
    // On a text the zero is undefined in C.
    if (request.isNumber && flags.find(L'0') != std::wstring::npos)
        directive += L'0';
    if (request.width != -1)
        directive += std::to_wstring(request.width);
    if (request.precision >= 0)
        directive += L'.' + std::to_wstring(request.precision);

    std::size_t const room =
        static_cast<std::size_t>(std::abs(request.width) + std::abs(request.precision)) + 64;
    if (request.isNumber) {
        std::size_t const type = flags.find_last_of(L"ux");
        directive += type == std::wstring::npos ? L'd' : flags[type];
        std::wstring text(room, L'\0');
        std::swprintf(text.data(), room, directive.c_str(), static_cast<int>(request.value));
        return text.substr(0, std::min<std::size_t>(text.find(L'\0'), 34));
    }
    directive += L"ls";
    std::wstring text(room + std::wcslen(request.text), L'\0');
    std::swprintf(text.data(), text.size(), directive.c_str(), request.text);
    return text.substr(0, text.find(L'\0'));
}
