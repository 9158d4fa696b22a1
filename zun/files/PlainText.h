#pragma once

#include <algorithm>
#include <string>
#include <string_view>

/// Widens bytes that are all characters of their own in every locale, NUL apart. False, with `text` empty,
/// when there are others.
inline bool widenPlain(std::string_view bytes, std::wstring& text) {
    text.clear();
    if (!std::all_of(bytes.begin(), bytes.end(),
                     [](char byte) { return static_cast<signed char>(byte) > 0; }))
        return false;
    text.resize(bytes.size());
    std::copy(bytes.begin(), bytes.end(), text.begin());
    return true;
}
