#pragma once

#include <zun/logger/ILogger.h>

#include <cstddef>
#include <initializer_list>
#include <string>
#include <string_view>

namespace orvane_com::zun::logger {

/// What stands in the level's tag; that of Info for a level that is none.
constexpr char levelLetter(LogLevel level) {
    return "DINWECX"[level >= Debug && level <= Emer ? level : Info];
}

/// A log line in the making, as UTF-8, in room that is kept from line to line. Used under the logger's lock.
class LogLine {
public:
    /// Begins a line of the calling thread: time, process, thread.
    void begin();

    void addText(std::wstring_view text);

    /// Group, level tag and the pieces of the message.
    void addGroupMessage(LogLevel level, std::wstring_view group,
                         std::initializer_list<std::wstring_view> message);

    /// Component, level tag and the table's text, its places filled.
    void addCatalogMessage(LogLevel level, eComponent component, long id, MultiArgs const& arguments);

    /// Begins and ends the note that goes in front of a rotation.
    void setRotationNote();

    /// Ends the line as files have it.
    void end();

    std::string_view text() const { return m_text; }

private:
    void clear();
    void padSource(std::size_t length);
    void addLevel(LogLevel level);

    std::string m_text;
};

} // namespace orvane_com::zun::logger
