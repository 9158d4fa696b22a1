#include "LogFilter.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <ctime>

using orvane_com::zun::logger::LogLevel;
using orvane_com::zun::logger::LogRecord;

namespace tool {

namespace {

constexpr std::array<char const*, 7> levelNames = {"debug", "info",     "notice",   "warning",
                                                   "error", "critical", "emergency"};
constexpr std::array<char const*, 7> levelColours = {"\x1b[2m",  "",           "\x1b[36m",  "\x1b[33m",
                                                     "\x1b[31m", "\x1b[1;31m", "\x1b[1;31m"};
constexpr char const* damageColour = "\x1b[35m";
constexpr char const* noColour = "\x1b[0m";

std::string lowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char character) { return static_cast<char>(std::tolower(character)); });
    return text;
}

LogLevel levelOf(std::string const& text) {
    constexpr std::string_view tags = "dinwecx";
    std::string const name = lowerCase(text);
    if (std::size_t const tag = tags.find(name); name.size() == 1 && tag != std::string_view::npos)
        return static_cast<LogLevel>(tag);
    if (name.size() >= 3)
        for (std::size_t level = 0; level < levelNames.size(); ++level)
            if (std::string_view(levelNames[level]).starts_with(name))
                return static_cast<LogLevel>(level);
    throw Failure("\"" + text + "\" is no level: debug, info, notice, warning, error, critical or emergency",
                  wrongUse);
}

std::string stampOf(std::time_t time) {
    std::tm local{};
    char text[32];
    localtime_r(&time, &local);
    return {text, std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &local)};
}

/// "10m" ago, "12:30[:15[.250]]" today, "2026-11-21" or both, as the log writes times; a beginning of such a
/// time stands for its first or, `isEnd`, its last moment.
std::string timeOf(std::string const& text, bool isEnd) {
    auto const fail = [&]() -> std::string {
        throw Failure(
            "\"" + text +
                "\" is no time: 10m (s, m, h or d), 12:30, 2026-11-21 or \"2026-11-21 12:30:15.250\"",
            wrongUse);
    };
    std::time_t const now = std::time(nullptr);
    std::int64_t count = 0;
    char const* const end = text.data() + text.size();
    auto const number = std::from_chars(text.data(), end, count);
    if (number.ec == std::errc() && number.ptr + 1 == end) {
        constexpr std::string_view units = "smhd";
        constexpr std::array<std::int64_t, 4> seconds = {1, 60, 3600, 86400};
        std::size_t const unit = units.find(*number.ptr);
        constexpr std::int64_t longest = std::int64_t{100} * 365 * 86400;
        if (unit == std::string_view::npos || count < 0 || count > longest / seconds[unit])
            return fail();
        return stampOf(now - count * seconds[unit]);
    }
    constexpr std::string_view form = "0000-00-00 00:00:00.000";
    std::string time = text.size() > 2 && text[2] == ':' ? stampOf(now).substr(0, 11) + text : text;
    std::replace(time.begin(), time.end(), 'T', ' ');
    bool const isWhole = time.size() == 10 || time.size() == 16 || time.size() == 19 || time.size() == 23;
    if (!isWhole || !std::equal(time.begin(), time.end(), form.begin(), [](char character, char expected) {
            return expected == '0' ? character >= '0' && character <= '9' : character == expected;
        }))
        return fail();
    // What comes within the last minute, second or day is still in the span: text that goes on is greater.
    return isEnd ? time + '~' : time;
}

bool isDamaged(LogRecord const& record) {
    return record.kind != LogRecord::Kind::whole;
}

std::string jsonOf(LogRecord const& record) {
    JsonObject json;
    if (!record.time.empty())
        json.text("time", record.time).number("process", record.process);
    if (record.thread != 0)
        json.number("thread", record.thread);
    if (record.level)
        json.text("group", record.group).text("level", nameOf(*record.level));
    json.text("message", record.message);
    if (!record.trace.empty())
        json.texts("trace", record.trace);
    if (isDamaged(record))
        json.flag(record.kind == LogRecord::Kind::cut ? "cut" : "foreign", true);
    return json.finish();
}

/// Each of the log's lines is one; what a message's own line ends begin stands indented, and is no log line
/// whatever it looks like.
void appendLines(std::string& out, std::string_view text) {
    bool isContinued = false;
    while (true) {
        std::size_t const end = text.find('\n');
        std::string_view line = text.substr(0, end);
        bool const isWhole = line.ends_with('\r') && end != std::string_view::npos;
        if (isWhole)
            line.remove_suffix(1);
        if (isContinued)
            out += "    ";
        appendForPeople(out, line);
        if (end == std::string_view::npos)
            return;
        out += '\n';
        isContinued = !isWhole;
        text.remove_prefix(end + 1);
    }
}

} // namespace

char const* nameOf(LogLevel level) {
    return levelNames[static_cast<std::size_t>(level)];
}

void appendRecord(std::string& out, LogRecord const& record, bool isJson, bool hasColour) {
    char const* const colour = !hasColour          ? ""
                               : isDamaged(record) ? damageColour
                               : record.level      ? levelColours[static_cast<std::size_t>(*record.level)]
                                                   : "";
    if (isJson) {
        out += jsonOf(record);
    } else {
        out += colour;
        appendLines(out, record.text);
        if (*colour != '\0')
            out += noColour;
    }
    out += '\n';
}

void LogFilter::addOptions(CLI::App& command) {
    command.add_option("--level", m_level, "Records of this level and above it")->type_name("LEVEL");
    command.add_option("--group", m_groups, "Records of this group or component; may be repeated")
        ->type_name("NAME")
        ->take_all()
        ->allow_extra_args(false);
    command.add_option("--process", m_process, "Records of the process with this number")
        ->type_name("NUMBER");
    command.add_option("--thread", m_thread, "Records of the thread with this number")->type_name("NUMBER");
    command.add_option("--since", m_since, "From this time on: 10m, 12:30, \"2026-11-21 12:30\"")
        ->type_name("TIME");
    command.add_option("--until", m_until, "Up to this time")->type_name("TIME");
    command.add_option("--match", m_match, "Records whose lines match the regular expression")
        ->type_name("REGEX");
}

void LogFilter::prepare() {
    if (!m_level.empty())
        m_leastLevel = levelOf(m_level);
    for (std::string& group : m_groups)
        group = lowerCase(group);
    if (!m_since.empty())
        m_since = timeOf(m_since, false);
    if (!m_until.empty())
        m_until = timeOf(m_until, true);
    if (!m_match.empty()) {
        re2::RE2::Options options;
        options.set_log_errors(false);
        m_expression = std::make_unique<re2::RE2>(m_match, options);
        if (!m_expression->ok())
            throw Failure("--match: " + m_expression->error(), wrongUse);
    }
}

bool LogFilter::isEmpty() const {
    return !m_leastLevel && m_groups.empty() && !m_process && !m_thread && m_since.empty() &&
           m_until.empty() && !m_expression;
}

bool LogFilter::matches(LogRecord const& record) {
    if (m_leastLevel && (!record.level || *record.level < *m_leastLevel))
        return false;
    if (m_process && (record.time.empty() || record.process != *m_process))
        return false;
    if (m_thread && record.thread != *m_thread)
        return false;
    if (!m_groups.empty() &&
        std::find(m_groups.begin(), m_groups.end(), lowerCase(std::string(record.group))) == m_groups.end())
        return false;
    if (!m_since.empty() || !m_until.empty()) {
        if (!record.time.empty())
            m_time = record.time;
        if (m_time < m_since || (!m_until.empty() && m_time > m_until))
            return false;
    }
    return !m_expression || re2::RE2::PartialMatch({record.text.data(), record.text.size()}, *m_expression);
}

} // namespace tool
