#include "LogSummary.h"

#include "LogFilter.h"

#include <algorithm>
#include <cctype>

using orvane_com::zun::logger::LogLevel;
using orvane_com::zun::logger::LogRecord;

namespace tool {

namespace {

constexpr std::size_t mostGroups = 1000;
constexpr std::size_t mostErrors = 10'000;
constexpr std::size_t mostHours = 100'000;
constexpr std::size_t shownErrors = 10;
constexpr std::size_t longestMessage = 200;
constexpr std::size_t widestBar = 40;
constexpr char others[] = "(others)";

bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

/// Numbers, decimal or 0x..., become "#", so that one error is counted as one.
std::string withoutNumbers(std::string_view message) {
    std::string text;
    for (std::size_t i = 0; i < message.size() && text.size() < longestMessage;) {
        std::size_t end = i;
        if (message.substr(i, 2) == "0x")
            for (end = i + 2;
                 end < message.size() && std::isxdigit(static_cast<unsigned char>(message[end])) != 0;)
                ++end;
        if (end <= i + 2)
            for (end = i; end < message.size() && isDigit(message[end]);)
                ++end;
        if (end > i) {
            text += '#';
            i = end;
        } else {
            text += message[i++];
        }
    }
    return text;
}

std::string jsonOf(std::string_view nameMember,
                   std::vector<std::pair<std::string_view, std::uint64_t>> const& counts) {
    std::string array = "[";
    for (auto const& [name, number] : counts)
        array += (array.size() > 1 ? "," : "") +
                 JsonObject().text(nameMember, name).number("count", number).finish();
    return array + "]";
}

} // namespace

void LogSummary::count(Counts& counts, std::string_view name, std::size_t most) {
    auto found = counts.find(name);
    if (found == counts.end())
        found = counts.try_emplace(counts.size() < most ? std::string(name) : others).first;
    ++found->second;
}

LogSummary::Ranking LogSummary::ranked(Counts const& counts, std::size_t most) {
    Ranking all(counts.begin(), counts.end());
    std::stable_sort(all.begin(), all.end(),
                     [](auto const& a, auto const& b) { return a.second > b.second; });
    all.resize(std::min(all.size(), most));
    return all;
}

void LogSummary::add(LogRecord const& record) {
    ++m_records;
    if (record.kind != LogRecord::Kind::whole)
        ++m_damaged;
    if (!record.time.empty()) {
        if (m_from.empty() || record.time < m_from)
            m_from = record.time;
        if (record.time > m_to)
            m_to = record.time;
        constexpr std::size_t hourWidth = 13;
        count(m_hours, record.time.substr(0, hourWidth), mostHours);
    }
    if (!record.level)
        return;
    ++m_levels[static_cast<std::size_t>(*record.level)];
    count(m_groups, record.group, mostGroups);
    if (*record.level >= orvane_com::zun::logger::Err)
        count(m_errors, "[" + std::string(record.group) + "] " + withoutNumbers(record.message), mostErrors);
}

void LogSummary::writeForPeople(Output& output) const {
    auto const heading = [&](std::string const& text) {
        output.writeLine(output.hasColour() ? "\n\x1b[1m" + text + "\x1b[0m" : "\n" + text);
    };
    Table head;
    head.add({"from", m_from});
    head.add({"to", m_to});
    head.add({"records", std::to_string(m_records)});
    head.add({"cut or foreign", std::to_string(m_damaged)});
    head.write(output);
    heading("Levels");
    Table levels;
    for (std::size_t level = m_levels.size(); level-- > 0;)
        if (m_levels[level] != 0)
            levels.add(
                {"  " + std::string(nameOf(static_cast<LogLevel>(level))), std::to_string(m_levels[level])});
    levels.write(output);
    heading("Groups");
    Table groups;
    for (auto const& [name, number] : ranked(m_groups, m_groups.size()))
        groups.add({"  " + forPeople(name), std::to_string(number)});
    groups.write(output);
    heading("Most frequent errors");
    Table errors;
    for (auto const& [message, number] : ranked(m_errors, shownErrors))
        errors.add({"  " + std::to_string(number), forPeople(message)});
    errors.write(output);
    heading("Hours");
    std::uint64_t busiest = 1;
    for (auto const& hour : m_hours)
        busiest = std::max(busiest, hour.second);
    Table hours;
    for (auto const& [hour, number] : m_hours)
        hours.add({"  " + hour, std::to_string(number),
                   std::string(std::max<std::size_t>(1, widestBar * number / busiest), '#')});
    hours.write(output);
}

std::string LogSummary::json() const {
    JsonObject levels;
    for (std::size_t level = 0; level < m_levels.size(); ++level)
        levels.number(nameOf(static_cast<LogLevel>(level)), m_levels[level]);
    JsonObject summary;
    summary.text("from", m_from).text("to", m_to).number("records", m_records).number("damaged", m_damaged);
    summary.raw("levels", levels.finish());
    summary.raw("groups", jsonOf("group", ranked(m_groups, m_groups.size())));
    summary.raw("errors", jsonOf("message", ranked(m_errors, shownErrors)));
    summary.raw("hours", jsonOf("hour", {m_hours.begin(), m_hours.end()}));
    return summary.finish();
}

} // namespace tool
