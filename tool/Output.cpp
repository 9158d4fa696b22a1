#include "Output.h"

#include "Program.h"
#include <zun/platform/helper/CommonHelper.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace helper = orvane_com::zun::helper;

namespace tool {

namespace {

constexpr std::size_t largestBatch = std::size_t{64} * 1024;

struct Character {
    char32_t value;
    std::size_t length; // 0: no UTF-8
};

Character firstOf(std::string_view text) {
    auto const byte = [&](std::size_t index) { return static_cast<unsigned char>(text[index]); };
    unsigned char const first = byte(0);
    if (first < 0x80)
        return {first, 1};
    std::size_t const length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    constexpr std::array<char32_t, 5> least = {0, 0, 0x80, 0x800, 0x10000};
    if (first < 0xC2 || first > 0xF4 || text.size() < length)
        return {first, 0};
    char32_t value = first & (0xFFu >> (length + 1));
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80)
            return {first, 0};
        value = value << 6 | (byte(i) & 0x3F);
    }
    bool const isScalar = value >= least[length] && value <= 0x10FFFF && (value < 0xD800 || value > 0xDFFF);
    return {isScalar ? value : first, isScalar ? length : 0};
}

/// Controls, and what separates lines or turns the direction of writing.
bool isUnsafe(char32_t value) {
    return value < 0x20 || (value >= 0x7F && value < 0xA0) || value == 0x61C || value == 0x200E ||
           value == 0x200F || (value >= 0x2028 && value <= 0x202E) || (value >= 0x2066 && value <= 0x2069);
}

bool isPlain(char byte) {
    return byte >= 0x20 && byte < 0x7F;
}

void appendHexadecimal(std::string& out, char const* before, char32_t value, int width, char const* behind) {
    char room[24];
    std::snprintf(room, sizeof room, "%s%0*X%s", before, width, static_cast<unsigned>(value), behind);
    out += room;
}

} // namespace

Failure Failure::ofSystem(std::string const& subject, int error) {
    return Failure(subject + ": " + std::generic_category().message(error));
}

void complain(std::string_view message) {
    std::string line = "zun: ";
    appendForPeople(line, message);
    line += '\n';
    std::fputs(line.c_str(), stderr);
}

void requireReadable(std::string const& path) {
    int const descriptor = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    int error = descriptor < 0 ? errno : 0;
    struct stat status {};
    if (error == 0 && fstat(descriptor, &status) != 0)
        error = errno;
    if (descriptor >= 0)
        close(descriptor);
    if (error != 0)
        throw Failure::ofSystem(path, error);
    if (!S_ISREG(status.st_mode))
        throw Failure(path + ": it is not a regular file");
}

Output::Output()
    : m_isTerminal(isatty(STDOUT_FILENO) == 1),
      m_hasColour(m_isTerminal && (!std::getenv("NO_COLOR") || *std::getenv("NO_COLOR") == '\0')) {}

Output& Output::standard() {
    static Output output;
    return output;
}

void Output::write(std::string_view bytes) {
    m_waiting += bytes;
    if (m_waiting.size() >= largestBatch)
        flush();
}

void Output::writeLine(std::string_view text) {
    m_waiting += text;
    write("\n");
}

void Output::flush() {
    std::string_view rest = m_waiting;
    while (!rest.empty()) {
        ssize_t const count = ::write(STDOUT_FILENO, rest.data(), rest.size());
        if (count >= 0) {
            rest.remove_prefix(static_cast<std::size_t>(count));
        } else if (errno == EAGAIN) {
            pollfd request{.fd = STDOUT_FILENO, .events = POLLOUT, .revents = 0};
            poll(&request, 1, -1);
        } else if (errno != EINTR) {
            m_waiting.clear();
            if (errno == EPIPE)
                throw Failure("", done);
            throw Failure::ofSystem("standard output", errno);
        }
    }
    m_waiting.clear();
}

void appendForPeople(std::string& out, std::string_view text) {
    while (!text.empty()) {
        std::size_t plain = 0;
        while (plain < text.size() && (isPlain(text[plain]) || text[plain] == '\t'))
            ++plain;
        out += text.substr(0, plain);
        text.remove_prefix(plain);
        if (text.empty())
            return;
        auto const [value, length] = firstOf(text);
        if (length == 0 || value < 0x80)
            appendHexadecimal(out, "\\x", value, 2, "");
        else if (isUnsafe(value))
            appendHexadecimal(out, "\\u{", value, 4, "}");
        else
            out += text.substr(0, length);
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
}

std::string forPeople(std::string_view text) {
    std::string out;
    appendForPeople(out, text);
    return out;
}

void appendJsonText(std::string& out, std::string_view text) {
    out += '"';
    while (!text.empty()) {
        std::size_t plain = 0;
        while (plain < text.size() && isPlain(text[plain]) && text[plain] != '"' && text[plain] != '\\')
            ++plain;
        out += text.substr(0, plain);
        text.remove_prefix(plain);
        if (text.empty())
            break;
        auto const [value, length] = firstOf(text);
        if (length == 0)
            out += "\xEF\xBF\xBD";
        else if (value == '"' || value == '\\')
            out.append(1, '\\').append(1, static_cast<char>(value));
        else if (isUnsafe(value))
            appendHexadecimal(out, "\\u", value, 4, "");
        else
            out += text.substr(0, length);
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    out += '"';
}

void JsonObject::begin(std::string_view name) {
    if (m_members.size() > 1)
        m_members += ',';
    appendJsonText(m_members, name);
    m_members += ':';
}

JsonObject& JsonObject::text(std::string_view name, std::string_view value) {
    begin(name);
    appendJsonText(m_members, value);
    return *this;
}

JsonObject& JsonObject::number(std::string_view name, std::int64_t value) {
    return raw(name, std::to_string(value));
}

JsonObject& JsonObject::number(std::string_view name, std::uint64_t value) {
    return raw(name, std::to_string(value));
}

JsonObject& JsonObject::flag(std::string_view name, bool value) {
    return raw(name, value ? "true" : "false");
}

JsonObject& JsonObject::texts(std::string_view name, std::vector<std::string_view> const& values) {
    begin(name);
    m_members += '[';
    for (std::string_view const value : values) {
        if (m_members.back() != '[')
            m_members += ',';
        appendJsonText(m_members, value);
    }
    m_members += ']';
    return *this;
}

JsonObject& JsonObject::raw(std::string_view name, std::string_view value) {
    begin(name);
    m_members += value;
    return *this;
}

void Table::write(Output& output) const {
    auto const widthOf = [](std::string const& text) { return helper::toWide(text).size(); };
    std::vector<std::size_t> widths;
    for (auto const& row : m_rows)
        for (std::size_t column = 0; column < row.size(); ++column) {
            widths.resize(std::max(widths.size(), column + 1));
            widths[column] = std::max(widths[column], widthOf(row[column]));
        }
    for (auto const& row : m_rows) {
        std::string line;
        for (std::size_t column = 0; column < row.size(); ++column) {
            line += row[column];
            if (column + 1 < row.size())
                line.append(widths[column] + 2 - widthOf(row[column]), ' ');
        }
        output.writeLine(line);
    }
}

} // namespace tool
