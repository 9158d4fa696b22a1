#pragma once

#include <zun/Api.h>

#include <cstdint>

/// One formatting request for AString::execute. It owns nothing that it points to.
///
/// Directive characters in `flags`, in any order; null has none:
///
///     -  left-justify inside the width        0  pad a number with zeros
///     ^  upper-case the result                _  lower-case the result (^ wins over _)
///     u  unsigned decimal                     x  lower-case hexadecimal (the later of u and x wins)
///
/// Without u or x a number is signed decimal. Only the low 32 bits of a number are formatted.
struct ZUN_API AFormat {
    /// A number. `width` is in characters, -1 for none; a negative one otherwise means left-justified in
    /// its absolute value.
    AFormat(long value, wchar_t const* flags, int width);

    /// A text; null stands for "(null)". `precision` cuts the text to that many characters, -1 for no cut.
    AFormat(wchar_t const* text, wchar_t const* flags, int width, int precision);

    /// Which member is set is told by isNumber.
    union {
        std::int64_t value;
        wchar_t const* text;
    };
    wchar_t const* flags;
    std::int32_t width;
    std::int32_t precision;
    bool isNumber;
};
