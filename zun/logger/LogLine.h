#pragma once

#include <zun/logger/MultiArgs.h>
#include <zun/logger/eComponent.h>

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

namespace orvane_com::zun::logger {

enum LogLevel : std::int32_t;

/// What stands in the level's tag; that of the level Info for one that is none.
constexpr char levelLetter(LogLevel level) {
    constexpr std::string_view letters = "DINWECX";
    auto const place = static_cast<std::size_t>(level);
    return place < letters.size() ? letters[place] : 'I';
}

/// The agent's own name for a value that is no component.
std::wstring_view componentName(eComponent component);

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
