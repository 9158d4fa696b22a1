#pragma once

/// Null stands for this text wherever a text is wanted.
inline wchar_t const* textOf(wchar_t const* text) {
    return text ? text : L"(null)";
}

inline char const* textOf(char const* narrow) {
    return narrow ? narrow : "(null)";
}

/// Null stands for no characters wherever a set of characters is wanted.
inline wchar_t const* setOf(wchar_t const* characters) {
    return characters ? characters : L"";
}
