#include <zun/platform/helper/CommonHelper.h>

#include <utf8.h>

#include <iterator>
#include <string>

namespace orvane_com::zun::helper {

static_assert(sizeof(wchar_t) == sizeof(char32_t), "a wide character is one UTF-32 code unit");

namespace {

constexpr char32_t replacement = 0xFFFD;

bool isScalarValue(char32_t character) {
    return character < 0xD800 || (character > 0xDFFF && character <= 0x10FFFF);
}

std::wstring validToWide(std::string_view utf8) {
    std::wstring wide;
    wide.reserve(utf8.size());
    utf8::unchecked::utf8to32(utf8.begin(), utf8.end(), std::back_inserter(wide));
    return wide;
}

} // namespace

std::wstring toWide(std::string_view utf8) {
    if (utf8::find_invalid(utf8.begin(), utf8.end()) == utf8.end())
        return validToWide(utf8);
    std::string mended;
    utf8::replace_invalid(utf8.begin(), utf8.end(), std::back_inserter(mended), replacement);
    return validToWide(mended);
}

void appendNarrow(std::string& utf8, std::wstring_view wide) {
    std::size_t const start = utf8.size();
    utf8.resize(start + wide.size());
    std::size_t ascii = 0;
    for (; ascii < wide.size() && static_cast<char32_t>(wide[ascii]) < 0x80; ++ascii)
        utf8[start + ascii] = static_cast<char>(wide[ascii]);
    utf8.resize(start + ascii);
    for (wchar_t const element : wide.substr(ascii)) {
        auto const character = static_cast<char32_t>(element);
        utf8::unchecked::append(isScalarValue(character) ? character : replacement, std::back_inserter(utf8));
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
