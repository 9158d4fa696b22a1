#include <zun/platform/helper/CommonHelper.h>

#include <utf8.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <string>
#include <type_traits>

namespace orvane_com::zun::helper {

static_assert(sizeof(wchar_t) == sizeof(char32_t), "a wide character is one UTF-32 code unit");

namespace {

constexpr char32_t replacement = 0xFFFD;

/// What is looked at, and converted, at once where text is ASCII: the compiler makes vectors of it.
constexpr std::size_t stride = 16;

bool isScalarValue(char32_t character) {
    return character < 0xD800 || (character > 0xDFFF && character <= 0x10FFFF);
}

/// Whether the stride from `from` is ASCII. It is copied to `to` in any case.
template <typename From, typename To>
bool convertAscii(From const* from, To* to) {
    using Element = std::make_unsigned_t<From>;
    Element all = 0;
    for (std::size_t i = 0; i < stride; ++i)
        all |= static_cast<Element>(from[i]);
    To converted[stride]; // by itself: `to` could be where `from` is, for all the compiler knows
    for (std::size_t i = 0; i < stride; ++i)
        converted[i] = static_cast<To>(static_cast<Element>(from[i]));
    std::memcpy(to, converted, sizeof converted);
    return all < 0x80;
}

/// Returns the end of what was written to `utf8`, which has room for four bytes an element.
char* encode(std::wstring_view wide, char* utf8) {
    wchar_t const* next = wide.data();
    wchar_t const* const end = next + wide.size();
    while (next != end) {
        for (; static_cast<std::size_t>(end - next) >= stride && convertAscii(next, utf8); next += stride)
            utf8 += stride;
        wchar_t const* const pause = next + std::min(stride, static_cast<std::size_t>(end - next));
        for (; next != pause; ++next) {
            auto const character = static_cast<char32_t>(*next);
            if (character < 0x80)
                *utf8++ = static_cast<char>(character);
            else
                utf8 = utf8::unchecked::append(isScalarValue(character) ? character : replacement, utf8);
        }
    }
    return utf8;
}

void appendValid(std::wstring& wide, std::string_view utf8) {
    wide.reserve(wide.size() + utf8.size());
    utf8::unchecked::utf8to32(utf8.begin(), utf8.end(), std::back_inserter(wide));
}

} // namespace

std::wstring toWide(std::string_view utf8) {
    std::wstring wide(utf8.size(), L'\0');
    std::size_t ascii = 0;
    while (utf8.size() - ascii >= stride && convertAscii(utf8.data() + ascii, wide.data() + ascii))
        ascii += stride;
    wide.resize(ascii);
    utf8.remove_prefix(ascii);
    if (utf8::find_invalid(utf8.begin(), utf8.end()) == utf8.end()) {
        appendValid(wide, utf8);
    } else {
        std::string mended;
        utf8::replace_invalid(utf8.begin(), utf8.end(), std::back_inserter(mended), replacement);
        appendValid(wide, mended);
    }
    return wide;
}

void appendNarrow(std::string& utf8, std::wstring_view wide) {
    constexpr std::size_t atOnce = 256;
    char bytes[4 * atOnce];
    while (!wide.empty()) {
        std::wstring_view const next = wide.substr(0, atOnce);
        utf8.append(bytes, static_cast<std::size_t>(encode(next, bytes) - bytes));
        wide.remove_prefix(next.size());
    }
}

std::string toNarrow(std::wstring_view wide) {
    std::string utf8;
    utf8.reserve(wide.size());
    appendNarrow(utf8, wide);
    return utf8;
}

std::wstring longToWide(long number) {
    return std::to_wstring(number);
}

std::wstring unsignedLongToWide(unsigned long number) {
    return std::to_wstring(number);
}

std::string longToNarrow(long number) {
    return std::to_string(number);
}

} // namespace orvane_com::zun::helper
