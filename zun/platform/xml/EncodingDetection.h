#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace AdvXMLParser {

struct DetectedEncoding {
    /// One of Encoding.
    std::int32_t encoding;
    /// In bytes, of the byte-order mark.
    std::size_t markSize;
    /// Empty, or why the bytes cannot be read: a declaration that names an encoding unknown here, or one that
    /// the bytes visibly are not in.
    std::string error;
};

/// What bytes are encoded in: as the byte-order mark says, or the first characters and the XML declaration
/// (https://www.w3.org/TR/xml/#sec-guessing), or else `fallback`.
DetectedEncoding detectEncoding(std::string_view bytes, std::int32_t fallback);

/// How many bytes of a byte-order mark of that encoding the bytes begin with.
std::size_t markSizeOf(std::string_view bytes, std::int32_t encoding);

/// As XML declarations name it.
char const* encodingName(std::int32_t encoding);

} // namespace AdvXMLParser
