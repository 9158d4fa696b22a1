#pragma once

#include "Output.h"
#include <zun/logger/LogReader.h>

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace tool {

/// What a log holds, in numbers. Memory is bounded: of groups, errors and hours the first ones are told
/// apart.
class LogSummary {
public:
    void add(orvane_com::zun::logger::LogRecord const& record);

    void writeForPeople(Output& output) const;
    std::string json() const;

private:
    using Counts = std::map<std::string, std::uint64_t, std::less<>>;
    using Ranking = std::vector<std::pair<std::string_view, std::uint64_t>>;

    static void count(Counts& counts, std::string_view name, std::size_t most);
    static Ranking ranked(Counts const& counts, std::size_t most);

    std::string m_from;
    std::string m_to;
    std::uint64_t m_records = 0;
    std::uint64_t m_damaged = 0;
    std::array<std::uint64_t, 7> m_levels{};
    Counts m_groups;
    /// "[group] message", with numbers replaced.
    Counts m_errors;
    Counts m_hours;
};

} // namespace tool
