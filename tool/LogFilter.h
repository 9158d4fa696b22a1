#pragma once

#include "Output.h"
#include "Program.h"
#include <zun/logger/LogReader.h>

#include <memory>
#include <optional>
#include <re2/re2.h>
#include <string>
#include <vector>

namespace tool {

/// Which records of a log are wanted, as the options of the log commands say it.
class LogFilter {
public:
    void addOptions(CLI::App& command);

    /// Once, when the options are read: fails on those that make no sense.
    void prepare();

    bool isEmpty() const;
    bool matches(orvane_com::zun::logger::LogRecord const& record);

private:
    std::string m_level;
    std::vector<std::string> m_groups;
    std::optional<std::int64_t> m_process;
    std::optional<std::uint64_t> m_thread;
    std::string m_since;
    std::string m_until;
    std::string m_match;

    std::optional<orvane_com::zun::logger::LogLevel> m_leastLevel;
    std::unique_ptr<re2::RE2> m_expression;
    /// The last record's: a line without a time belongs to it.
    std::string m_time;
};

char const* nameOf(orvane_com::zun::logger::LogLevel level);

/// A record as a person or a program reads it, with the line ends.
void appendRecord(std::string& out, orvane_com::zun::logger::LogRecord const& record, bool isJson,
                  bool hasColour);

} // namespace tool
