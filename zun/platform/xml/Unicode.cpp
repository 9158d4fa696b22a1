#include <zun/platform/xml/Unicode.h>

#include <utf8.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace AdvXMLParser {

static_assert(sizeof(wchar_t) == sizeof(char32_t), "a wide character is one UTF-32 code unit");

namespace {

constexpr char notUtf8 = '\xFF';

/// What is looked at at once where text is mostly ASCII.
constexpr std::size_t stride = 16;

bool isAscii(wchar_t const* text) {
    std::uint32_t all = 0;
    for (std::size_t i = 0; i < stride; ++i)
        all |= static_cast<std::uint32_t>(text[i]);
    return all < 0x80;
}

bool isAscii(char const* bytes) {
    std::uint64_t first;
    std::uint64_t second;
    std::memcpy(&first, bytes, sizeof first);
    std::memcpy(&second, bytes + sizeof first, sizeof second);
    return ((first | second) & 0x8080808080808080u) == 0;
}

template <typename To, typename From>
void copyAscii(From const* from, To* to) {
    // Not straight to their place: compilers would have to expect that it overlaps.
    std::array<To, stride> copied;
    for (std::size_t i = 0; i < stride; ++i)
        copied[i] = static_cast<To>(static_cast<std::make_unsigned_t<From>>(from[i]));
    std::memcpy(to, copied.data(), sizeof copied);
}

/// Copies a whole stride and tells how many characters of it, from the first, are ASCII.
template <typename To, typename From>
std::size_t copyLeadingAscii(From const* from, To* to) {
    copyAscii(from, to);
    if (isAscii(from))
        return stride;
    return static_cast<std::size_t>(
        std::find_if(from, from + stride,
                     [](From unit) { return static_cast<std::make_unsigned_t<From>>(unit) >= 0x80; }) -
        from);
}

char* encodeOne(wchar_t element, char* utf8) {
    auto const character = static_cast<char32_t>(element);
    if (character < 0x80) {
        *utf8++ = static_cast<char>(character);
    } else if (character < 0x800) {
        *utf8++ = static_cast<char>(0xC0 | character >> 6);
        *utf8++ = static_cast<char>(0x80 | (character & 0x3F));
    } else {
        *utf8 = notUtf8;
        utf8 = isScalarValue(element) ? utf8::unchecked::append(character, utf8) : utf8 + 1;
    }
    return utf8;
}

/// The valid character at `next`, which moves behind it.
wchar_t decodeNonAscii(char const*& next) {
    auto const first = static_cast<unsigned char>(*next);
    if (first >= 0xE0)
        return static_cast<wchar_t>(utf8::unchecked::next(next));
    int const character = (first & 0x1F) << 6 | (static_cast<unsigned char>(next[1]) & 0x3F);
    next += 2;
    return static_cast<wchar_t>(character);
}

/// A whole number of `bytesEach` bytes, one code unit each.
template <std::size_t bytesEach>
char32_t unitAt(std::string_view bytes, std::size_t position, bool bigEndian) {
    char32_t unit = 0;
    for (std::size_t i = 0; i < bytesEach; ++i) {
        std::size_t const next = bigEndian ? i : bytesEach - 1 - i;
        unit = unit << 8 | static_cast<unsigned char>(bytes[position + next]);
    }
    return unit;
}

} // namespace

char* encodeUtf8(std::wstring_view text, char* utf8) {
    wchar_t const* next = text.data();
    wchar_t const* const end = next + text.size();
    while (next != end) {
        while (static_cast<std::size_t>(end - next) >= stride) {
            std::size_t const count = copyLeadingAscii(next, utf8);
            next += count;
            utf8 += count;
            if (count < stride)
                break;
        }
        bool const isRest = static_cast<std::size_t>(end - next) < stride;
        while (next != end && (isRest || static_cast<char32_t>(*next) >= 0x80))
            utf8 = encodeOne(*next++, utf8);
    }
    return utf8;
}

bool appendUtf8(std::string& utf8, std::wstring_view text) {
    if (!std::all_of(text.begin(), text.end(), isScalarValue))
        return false;
    utf8.reserve(utf8.size() + text.size());
    std::array<char, 4 * 4096> bytes;
    for (; !text.empty(); text.remove_prefix(std::min(text.size(), bytes.size() / 4)))
        utf8.append(bytes.data(), encodeUtf8(text.substr(0, bytes.size() / 4), bytes.data()));
    return true;
}

wchar_t* decodeValidUtf8(std::string_view utf8, wchar_t* wide) {
    char const* next = utf8.data();
    char const* const end = next + utf8.size();
    while (next != end) {
        while (static_cast<std::size_t>(end - next) >= stride) {
            std::size_t const count = copyLeadingAscii(next, wide);
            next += count;
            wide += count;
            if (count < stride)
                break;
        }
        while (next != end && static_cast<unsigned char>(*next) >= 0x80)
            *wide++ = decodeNonAscii(next);
        if (static_cast<std::size_t>(end - next) < stride)
            while (next != end && static_cast<unsigned char>(*next) < 0x80)
                *wide++ = static_cast<wchar_t>(*next++);
    }
    return wide;
}

bool appendFromUtf8(std::wstring& text, std::string_view bytes) {
    std::size_t const size = text.size();
    text.resize(size + bytes.size());
    wchar_t* wide = text.data() + size;
    char const* next = bytes.data();
    char const* const end = next + bytes.size();
    try {
        while (next != end) {
            for (; static_cast<std::size_t>(end - next) >= stride && isAscii(next); next += stride) {
                copyAscii(next, wide);
                wide += stride;
            }
            char const* const pause = next + std::min(stride, static_cast<std::size_t>(end - next));
            while (next < pause)
                *wide++ = static_cast<wchar_t>(utf8::next(next, end));
        }
    } catch (utf8::exception const&) {
        text.resize(size);
        return false;
    }
    text.resize(static_cast<std::size_t>(wide - text.data()));
    return true;
}

bool appendFromUtf16(std::wstring& text, std::string_view bytes, bool bigEndian) {
    if (bytes.size() % 2 != 0)
        return false;
    text.reserve(text.size() + bytes.size() / 2);
    for (std::size_t i = 0; i < bytes.size(); i += 2) {
        char32_t unit = unitAt<2>(bytes, i, bigEndian);
        if (unit >= 0xD800 && unit <= 0xDBFF && i + 2 < bytes.size()) {
            char32_t const low = unitAt<2>(bytes, i + 2, bigEndian);
            if (low >= 0xDC00 && low <= 0xDFFF) {
                unit = 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00);
                i += 2;
            }
        }
        if (!isScalarValue(static_cast<wchar_t>(unit)))
            return false;
        text.push_back(static_cast<wchar_t>(unit));
    }
    return true;
}

bool appendFromUtf32(std::wstring& text, std::string_view bytes, bool bigEndian) {
    if (bytes.size() % 4 != 0)
        return false;
    text.reserve(text.size() + bytes.size() / 4);
    for (std::size_t i = 0; i < bytes.size(); i += 4) {
        auto const element = static_cast<wchar_t>(unitAt<4>(bytes, i, bigEndian));
        if (!isScalarValue(element))
            return false;
        text.push_back(element);
    }
    return true;
}

} // namespace AdvXMLParser
