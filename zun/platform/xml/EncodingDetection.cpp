#include <zun/platform/xml/AdvXMLParser.h>
#include <zun/platform/xml/EncodingDetection.h>
#include <zun/platform/xml/Expat.h>

#include <algorithm>
#include <array>

namespace AdvXMLParser {

namespace {

using namespace std::string_view_literals;

constexpr std::string_view declarationStart = "<?xml";

struct Mark {
    std::string_view bytes;
    Encoding encoding;
};

/// The longer of two that begin alike comes first.
constexpr std::array<Mark, 5> marks{{
    {"\xEF\xBB\xBF"sv, Utf8},
    {"\xFF\xFE\0\0"sv, Utf32LittleEndian},
    {"\0\0\xFE\xFF"sv, Utf32BigEndian},
    {"\xFF\xFE"sv, Utf16LittleEndian},
    {"\xFE\xFF"sv, Utf16BigEndian},
}};

struct Name {
    std::string_view name;
    Encoding encoding;
};

/// The first of an encoding is its own; those after it leave the byte order open.
constexpr std::array<Name, 11> names{{
    {"US-ASCII", UsAscii},
    {"ISO-8859-1", Latin1},
    {"UTF-8", Utf8},
    {"UTF-16LE", Utf16LittleEndian},
    {"UTF-16BE", Utf16BigEndian},
    {"UTF-32LE", Utf32LittleEndian},
    {"UTF-32BE", Utf32BigEndian},
    {"UTF-16", Utf16LittleEndian},
    {"UTF-16", Utf16BigEndian},
    {"UTF-32", Utf32LittleEndian},
    {"UTF-32", Utf32BigEndian},
}};

std::size_t unitSize(std::int32_t encoding) {
    switch (encoding) {
    case Utf16LittleEndian:
    case Utf16BigEndian:
        return 2;
    case Utf32LittleEndian:
    case Utf32BigEndian:
        return 4;
    default:
        return 1;
    }
}

bool equalIgnoringCase(std::string_view left, std::string_view right) {
    auto const lower = [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? letter - 'A' + 'a' : letter;
    };
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [&](char a, char b) { return lower(a) == lower(b); });
}

/// An XML declaration at the beginning, one byte a code unit, what is not ASCII being "?"; else a few
/// characters.
std::string declaration(std::string_view bytes, std::int32_t encoding) {
    std::size_t const size = unitSize(encoding);
    bool const bigEndian = encoding == Utf16BigEndian || encoding == Utf32BigEndian;
    std::string text;
    for (; bytes.size() >= size && !text.ends_with('>'); bytes.remove_prefix(size)) {
        std::string_view const unit = bytes.substr(0, size);
        char const low = bigEndian ? unit.back() : unit.front();
        auto const zeros = static_cast<std::size_t>(std::count(unit.begin(), unit.end(), '\0'));
        text.push_back(zeros == size - 1 ? low : '?');
        if (text.size() == declarationStart.size() && text != declarationStart)
            break;
    }
    return text;
}

/// The encoding that the XML declaration names; empty when there is no such.
std::string declaredName(std::string const& declaration) {
    if (!declaration.starts_with(declarationStart))
        return {};
    std::string name;
    // With room for all that may come, nothing is thrown through Expat.
    name.reserve(declaration.size());
    ExpatParser const parser = makeExpatParser("ISO-8859-1");
    XML_SetUserData(parser.get(), &name);
    XML_SetXmlDeclHandler(parser.get(), [](void* found, char const*, char const* encoding, int) {
        if (encoding != nullptr)
            *static_cast<std::string*>(found) = encoding;
    });
    XML_Parse(parser.get(), declaration.data(), static_cast<int>(declaration.size()), XML_FALSE);
    return name;
}

/// By the zeros that the first character of a document has, which is an ASCII one.
std::int32_t guess(std::string_view bytes, std::int32_t fallback) {
    if (bytes.starts_with("\0\0\0<"sv))
        return Utf32BigEndian;
    if (bytes.starts_with("<\0\0\0"sv))
        return Utf32LittleEndian;
    if (bytes.size() >= 2 && bytes[0] == '\0')
        return Utf16BigEndian;
    if (bytes.size() >= 2 && bytes[1] == '\0')
        return Utf16LittleEndian;
    return fallback;
}

} // namespace

DetectedEncoding detectEncoding(std::string_view bytes, std::int32_t fallback) {
    auto const mark = std::find_if(marks.begin(), marks.end(),
                                   [&](Mark const& candidate) { return bytes.starts_with(candidate.bytes); });
    DetectedEncoding detected{guess(bytes, fallback), 0, {}};
    if (mark != marks.end())
        detected = {mark->encoding, mark->bytes.size(), {}};

    std::string const declared =
        declaredName(declaration(bytes.substr(detected.markSize), detected.encoding));
    if (declared.empty())
        return detected;
    bool isKnown = false;
    for (Name const& name : names) {
        if (!equalIgnoringCase(name.name, declared))
            continue;
        isKnown = true;
        if (unitSize(name.encoding) == 1 && unitSize(detected.encoding) == 1) {
            if (mark == marks.end())
                detected.encoding = name.encoding;
            return detected;
        }
        if (name.encoding == detected.encoding)
            return detected;
    }
    detected.error = isKnown ? "the declared encoding is not that of the file: " : "unknown encoding ";
    detected.error += declared;
    return detected;
}

std::size_t markSizeOf(std::string_view bytes, std::int32_t encoding) {
    auto const mark = std::find_if(marks.begin(), marks.end(),
                                   [&](Mark const& candidate) { return candidate.encoding == encoding; });
    return mark != marks.end() && bytes.starts_with(mark->bytes) ? mark->bytes.size() : 0;
}

char const* encodingName(std::int32_t encoding) {
    return std::find_if(names.begin(), names.end(),
                        [&](Name const& name) { return name.encoding == encoding; })
        ->name.data();
}

} // namespace AdvXMLParser
