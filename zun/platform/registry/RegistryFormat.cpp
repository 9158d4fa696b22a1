#include <zun/platform/registry/RegistryFormat.h>

#include <utf8.h>

#include <algorithm>
#include <charconv>

// A store is a UTF-8 text of keys and, below each, its values, one a line:
//
//   ; A comment.
//   [HKEY_LOCAL_MACHINE\SOFTWARE\Maker\Product]
//   "AgentGUID" = "{8a1f...}"
//   "Motto" = "two\nlines, a \"quotation\", a NUL: \0, no UTF-8: \xFF"
//   "Flags" = hex(4):01,00,00,00
//
// A key's line holds its whole path, components separated by single backslashes; its parents exist with it. A
// value of type 1 is quoted text with the escapes \\ \" \n \r \t \0 \xHH; a value of another type is
// its number and the bytes in hexadecimal. Names of values are quoted the same way; the empty name is the
// key's unnamed value. Of several values of one name in a key, the first counts. Blanks around a line, a name
// and a value do not count. Lines that are none of these are kept and mean nothing.

namespace orvane_com::zun::registry {

namespace {

struct NamedEscape {
    char letter;
    char byte;
};

constexpr NamedEscape namedEscapes[] = {{'\\', '\\'}, {'"', '"'},  {'n', '\n'},
                                        {'r', '\r'},  {'t', '\t'}, {'0', '\0'}};
constexpr std::string_view hexadecimalStart = "hex(";
constexpr std::string_view hexadecimalMiddle = "):";

bool isControl(char byte) {
    return static_cast<unsigned char>(byte) < 0x20 || byte == 0x7F;
}

void appendHexadecimal(std::string& text, char byte) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    auto const number = static_cast<unsigned char>(byte);
    text += digits[number >> 4];
    text += digits[number & 0xF];
}

std::optional<char> parseHexadecimal(std::string_view digits) {
    unsigned char number = 0;
    auto const [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number, 16);
    if (digits.size() != 2 || error != std::errc() || end != digits.data() + digits.size())
        return std::nullopt;
    return static_cast<char>(number);
}

void appendEscaped(std::string& text, char byte) {
    auto const* const named = std::find_if(std::begin(namedEscapes), std::end(namedEscapes),
                                           [byte](NamedEscape const& escape) { return escape.byte == byte; });
    text += '\\';
    if (named != std::end(namedEscapes)) {
        text += named->letter;
    } else {
        text += 'x';
        appendHexadecimal(text, byte);
    }
}

std::string quote(std::string_view bytes) {
    std::string text = "\"";
    while (!bytes.empty()) {
        auto const valid =
            static_cast<std::size_t>(utf8::find_invalid(bytes.begin(), bytes.end()) - bytes.begin());
        for (char const byte : bytes.substr(0, valid)) {
            if (isControl(byte) || byte == '"' || byte == '\\')
                appendEscaped(text, byte);
            else
                text += byte;
        }
        bytes.remove_prefix(valid);
        if (!bytes.empty()) {
            appendEscaped(text, bytes.front());
            bytes.remove_prefix(1);
        }
    }
    return text + '"';
}

/// Reads what an escape after its backslash stands for and takes it off `text`.
std::optional<char> takeEscape(std::string_view& text) {
    if (text.empty())
        return std::nullopt;
    char const letter = text.front();
    text.remove_prefix(1);
    if (letter == 'x') {
        std::optional<char> const byte = parseHexadecimal(text.substr(0, 2));
        if (byte)
            text.remove_prefix(2);
        return byte;
    }
    auto const* const named =
        std::find_if(std::begin(namedEscapes), std::end(namedEscapes),
                     [letter](NamedEscape const& escape) { return escape.letter == letter; });
    return named != std::end(namedEscapes) ? std::optional(named->byte) : std::nullopt;
}

/// Takes a quoted text off the front of `text` and returns what it stands for.
std::optional<std::string> takeQuoted(std::string_view& text) {
    if (!text.starts_with('"'))
        return std::nullopt;
    text.remove_prefix(1);
    std::string bytes;
    while (!text.empty()) {
        char const byte = text.front();
        text.remove_prefix(1);
        if (byte == '"')
            return bytes;
        if (byte != '\\') {
            bytes += byte;
            continue;
        }
        std::optional<char> const escaped = takeEscape(text);
        if (!escaped)
            return std::nullopt;
        bytes += *escaped;
    }
    return std::nullopt;
}

std::optional<RegistryValue> parseHexadecimalValue(std::string_view text) {
    if (!text.starts_with(hexadecimalStart))
        return std::nullopt;
    text.remove_prefix(hexadecimalStart.size());
    RegistryValue value{};
    auto const [typeEnd, error] = std::from_chars(text.data(), text.data() + text.size(), value.type);
    text.remove_prefix(static_cast<std::size_t>(typeEnd - text.data()));
    if (error != std::errc() || !text.starts_with(hexadecimalMiddle))
        return std::nullopt;
    text.remove_prefix(hexadecimalMiddle.size());
    value.bytes.reserve((text.size() + 1) / 3);
    while (!text.empty()) {
        std::optional<char> const byte = parseHexadecimal(text.substr(0, 2));
        if (!byte)
            return std::nullopt;
        value.bytes += *byte;
        text.remove_prefix(2);
        if (text.empty())
            break;
        if (text.size() < 3 || text.front() != ',')
            return std::nullopt;
        text.remove_prefix(1);
    }
    return value;
}

std::optional<std::string> readHeader(std::string_view line) {
    std::string_view const text = trimBlanks(line);
    if (text.size() < 2 || text.front() != '[' || text.back() != ']')
        return std::nullopt;
    return std::string(text.substr(1, text.size() - 2));
}

std::optional<SectionFormat::Entry> readEntry(std::string_view line) {
    std::string_view rest = trimBlanks(line);
    std::optional<std::string> name = takeQuoted(rest);
    rest = trimBlanks(rest);
    if (!name || !rest.starts_with('='))
        return std::nullopt;
    rest = trimBlanks(rest.substr(1));
    if (!parseRegistryValue(rest))
        return std::nullopt;
    return SectionFormat::Entry{*std::move(name), static_cast<std::size_t>(rest.data() - line.data())};
}

std::string makeHeader(std::string_view path) {
    return "[" + std::string(path) + "]";
}

std::string makeEntryStart(std::string_view name) {
    return quote(name) + " = ";
}

} // namespace

SectionFormat const registryFormat{readHeader, readEntry, makeHeader, makeEntryStart};

std::string_view const emptyRegistryText =
    "; Registry store. Text: \"name\" = \"text\", with \\\\ \\\" \\n \\r \\t \\0 \\xHH for bytes that "
    "cannot\n"
    "; stand as they are. Other values: \"name\" = hex(type):01,02,...\n";

bool isRegistryName(std::string_view name) {
    return utf8::find_invalid(name.begin(), name.end()) == name.end() &&
           std::none_of(name.begin(), name.end(), isControl);
}

std::optional<RegistryValue> parseRegistryValue(std::string_view text) {
    text = trimBlanks(text);
    if (!text.starts_with('"'))
        return parseHexadecimalValue(text);
    std::optional<std::string> bytes = takeQuoted(text);
    if (!bytes || !text.empty())
        return std::nullopt;
    return RegistryValue{textType, *std::move(bytes)};
}

std::string formatRegistryValue(RegistryValue const& value) {
    if (value.type == textType)
        return quote(value.bytes);
    std::string text(hexadecimalStart);
    text.append(std::to_string(value.type)).append(hexadecimalMiddle);
    for (std::size_t at = 0; at < value.bytes.size(); ++at) {
        if (at != 0)
            text += ',';
        appendHexadecimal(text, value.bytes[at]);
    }
    return text;
}

} // namespace orvane_com::zun::registry
