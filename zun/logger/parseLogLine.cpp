#include <zun/logger/parseLogLine.h>

#include <charconv>
#include <cstring>
#include <limits>

namespace orvane_com::zun::logger {

namespace {

constexpr std::size_t timeWidth = 23;
constexpr std::size_t sourceWidth = 12;
constexpr std::string_view rotationNote = "Rotating log files";

/// 0 stands for a digit, everything else for itself.
constexpr char timeForm[] = "0000-00-00 00:00:00.000 ";

/// Eight bytes at a time: a byte that fits the form differs from it by at most 9 in a digit's place, by
/// nothing elsewhere, and so does not reach its highest bit when the rest is added.
bool isTime(char const* text) {
    constexpr std::size_t step = sizeof(std::uint64_t);
    static_assert(sizeof timeForm == 3 * step + 1);
    constexpr auto rest = [] {
        struct Bytes {
            unsigned char values[3 * step];
        } bytes{};
        for (std::size_t i = 0; i < 3 * step; ++i)
            bytes.values[i] = timeForm[i] == '0' ? 0x7F - 9 : 0x7F;
        return bytes;
    }();
    constexpr std::uint64_t highestBits = 0x8080808080808080;
    std::uint64_t misfit = 0;
    for (std::size_t i = 0; i < 3 * step; i += step) {
        std::uint64_t bytes;
        std::uint64_t form;
        std::uint64_t room;
        std::memcpy(&bytes, text + i, step);
        std::memcpy(&form, timeForm + i, step);
        std::memcpy(&room, rest.values + i, step);
        bytes ^= form;
        misfit |= (bytes + room) | bytes;
    }
    return (misfit & highestBits) == 0;
}

/// Takes one character off the text's front.
bool skip(std::string_view& text, char expected) {
    if (text.empty() || text.front() != expected)
        return false;
    text.remove_prefix(1);
    return true;
}

/// The same with digits that make a number.
template <typename Number>
bool takeNumber(std::string_view& text, Number& number) {
    Number value = 0;
    std::size_t digits = 0;
    for (; digits < text.size() && text[digits] >= '0' && text[digits] <= '9'; ++digits)
        value = static_cast<Number>(value * 10 + static_cast<Number>(text[digits] - '0'));
    if (digits == 0)
        return false;
    if (digits > std::numeric_limits<Number>::digits10 &&
        std::from_chars(text.data(), text.data() + digits, value).ec != std::errc())
        return false;
    number = value;
    text.remove_prefix(digits);
    return true;
}

/// Time, process and, but for the rotation note, thread.
bool takePrefix(std::string_view& text, LogRecord& record) {
    if (text.size() <= timeWidth + 1 || !isTime(text.data()))
        return false;
    record.time = text.substr(0, timeWidth);
    text.remove_prefix(timeWidth + 1);
    record.thread = 0;
    if (!skip(text, '[') || !takeNumber(text, record.process) || !skip(text, ']') || !skip(text, ' '))
        return false;
    if (!skip(text, ' '))
        return text.starts_with(rotationNote);
    return skip(text, '(') && takeNumber(text, record.thread) && skip(text, ')') && skip(text, ' ');
}

/// The level of the tag at that place, behind a source's closing bracket or a component's blank.
std::optional<LogLevel> tagAt(std::string_view text, std::size_t place) {
    constexpr std::size_t width = 5;
    constexpr std::string_view tags = "DINWECX";
    if (text.size() < place + width || text[place] != ' ' || text[place + 1] != '[' ||
        text[place + 3] != ']' || text[place + 4] != ' ' ||
        text[place - (text[place - 1] == ' ' ? 2 : 1)] != ']')
        return std::nullopt;
    std::size_t const level = tags.find(text[place + 2]);
    return level == std::string_view::npos ? std::nullopt : std::optional(static_cast<LogLevel>(level));
}

/// Source and level. Without them all that is left is the message.
void takeSource(std::string_view& text, LogRecord& record) {
    record.group = {};
    record.level.reset();
    std::size_t open = 0;
    while (open < text.size() && text[open] == ' ')
        ++open;
    if (open >= sourceWidth || open == text.size() || text[open] != '[')
        return;
    // The source fills its field, or more, with nothing but a component's own blank in front of it.
    std::size_t tag = sourceWidth;
    while (!(record.level = tagAt(text, tag))) {
        tag = open <= 1 ? text.find(" [", tag + 1) : std::string_view::npos;
        if (tag == std::string_view::npos)
            return;
    }
    std::size_t const close = tag - (text[tag - 1] == ' ' ? 2 : 1);
    record.group = text.substr(open + 1, close - open - 1);
    text.remove_prefix(tag + std::string_view(" [I] ").size());
}

} // namespace

bool beginsLogLine(std::string_view text) {
    LogRecord record;
    return takePrefix(text, record);
}

bool parseLogLine(std::string_view text, LogRecord& record) {
    if (!takePrefix(text, record))
        return false;
    takeSource(text, record);
    record.message = text;
    return true;
}

} // namespace orvane_com::zun::logger
