#pragma once

#include <zun/logger/ILogger.h>

#include <array>
#include <initializer_list>
#include <string>
#include <string_view>

namespace orvane_com::zun::logger {

/// Indexed by LogLevel. Threads may log while the process ends, when strings made of these are gone already.
inline constexpr std::array<std::wstring_view, 7> levelTags = {L" [D] ", L" [I] ", L" [N] ", L" [W] ",
                                                               L" [E] ", L" [C] ", L" [X] "};

/// That of Info for a level that is none.
constexpr std::wstring_view levelTag(LogLevel level) {
    return levelTags[static_cast<std::size_t>(level >= Debug && level <= Emer ? level : Info)];
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
    void addSource(std::initializer_list<std::wstring_view> pieces);

    std::string m_text;
};

} // namespace orvane_com::zun::logger
