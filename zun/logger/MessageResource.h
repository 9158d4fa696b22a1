#pragma once

#include <zun/Api.h>
#include <zun/logger/MessageIDPair.h>

#include <cstdint>
#include <string>

namespace orvane_com::zun::logger {

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
