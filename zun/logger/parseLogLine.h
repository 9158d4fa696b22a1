#pragma once

#include <zun/logger/LogRecord.h>

#include <string_view>

namespace orvane_com::zun::logger {

/// Whether the text begins as a log line does: time, process and either thread or rotation note.
bool beginsLogLine(std::string_view text);

/// Takes the lines of one message, without the last line end, apart. False, with `record` in no certain
/// state, when that is none. Kind, text and traces are not touched.
bool parseLogLine(std::string_view text, LogRecord& record);

} // namespace orvane_com::zun::logger
