#pragma once

#include <zun/logger/ILogger.h>

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace orvane_com::zun::logger {

/// One record of a log: a message, of one line or more, or an error with its traces. Texts are the log's
/// bytes, UTF-8 as far as the writers kept to it, and valid until the reader's next call.
struct LogRecord {
    enum class Kind : std::int32_t {
        whole,
        /// Its end is missing: a killed process or a full device cut it, or an error's message never came.
        cut,
        /// A line that no logger wrote.
        foreign
    };

    Kind kind = Kind::foreign;
    /// All its lines as they stand in the file, without the last line end.
    std::string_view text;
    /// Local time as "YYYY-MM-DD hh:mm:ss.mmm"; an error's is its message's. Empty where there is none.
    std::string_view time;
    std::int64_t process = 0;
    /// 0 for a line without a thread.
    std::uint64_t thread = 0;
    /// The group, or the component, without brackets; empty where there is none.
    std::string_view group;
    std::optional<LogLevel> level;
    std::string_view message;
    /// What the thread was doing when the error came, outermost first.
    std::vector<std::string_view> trace;
};

} // namespace orvane_com::zun::logger
