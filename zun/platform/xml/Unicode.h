#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Between wide text and the encodings of Unicode, at the pace of whole documents.
namespace AdvXMLParser {

/// Writes the text in UTF-8 to `utf8`, which has room for four bytes an element, and returns the end of what
/// was written. An element that is no Unicode scalar value becomes the byte FF, which no UTF-8 text has.
char* encodeUtf8(std::wstring_view text, char* utf8);

/// Appends the text in UTF-8; false, and nothing appended, when an element is no Unicode scalar value.
bool appendUtf8(std::string& utf8, std::wstring_view text);

/// Decodes valid UTF-8 to `wide`, which has room for a character a byte, and returns the end of what was
/// written.
wchar_t* decodeValidUtf8(std::string_view utf8, wchar_t* wide);

/// Each appends the text that the bytes stand for; false when they are malformed.
bool appendFromUtf8(std::wstring& text, std::string_view bytes);
bool appendFromUtf16(std::wstring& text, std::string_view bytes, bool bigEndian);
bool appendFromUtf32(std::wstring& text, std::string_view bytes, bool bigEndian);

constexpr bool isScalarValue(wchar_t element) {
    auto const character = static_cast<char32_t>(element);
    return character < 0xD800 || (character > 0xDFFF && character <= 0x10FFFF);
}

} // namespace AdvXMLParser
