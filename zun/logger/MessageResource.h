#pragma once

#include <zun/Api.h>

#include <cstdint>
#include <string>

namespace orvane_com::zun::logger {

/// One row of the built-in message table.
class ZUN_API MessageIDPair {
public:
    constexpr MessageIDPair(std::int64_t id, char const* text) : m_id(id), m_text(text) {}
    constexpr std::int64_t getMessageID() const { return m_id; }
    /// ASCII; "%s" marks an argument's place.
    constexpr char const* getDefaultMessage() const { return m_text; }

private:
    std::int64_t m_id;
    char const* m_text;
};

/// A message id, (area << 14) + number, and the way to its text.
///
/// No lock is taken: the logger calls these with its own lock held.
class ZUN_API MessageResource {
public:
    explicit MessageResource(long id);

    /// Opens the table and appends the process's message set directory to NLSPATH, once in a process. False,
    /// with a line in the system's log, when the environment cannot be set; the table then stays closed.
    static bool initialize();

    /// The text with its argument places. False for an unknown id, which empties `text`, and before
    /// initialize, which leaves it as it was.
    bool getRawMessage(std::wstring& text) const;

    /// As getRawMessage, but false always leaves `text` as it was.
    bool getCatalogMessage(std::wstring& text) const;

private:
    static bool isInitialized;

    std::int64_t m_id;
};

} // namespace orvane_com::zun::logger
