#pragma once

#include <zun/Api.h>
#include <zun/text/AString.h>

#include <nl_types.h>

/// A message catalog of the system, see catopen(3); its messages are UTF-8 and in set 1. What fails is logged
/// under "RcFile". Several threads may fetch messages from one open catalog.
class ZUN_API AResourceFile {
public:
    AResourceFile() = default;
    ~AResourceFile();
    AResourceFile(AResourceFile const&) = delete;
    AResourceFile& operator=(AResourceFile const&) = delete;

    /// Closes the catalog that is open, then opens the one at `path`; a name without a slash is looked for in
    /// NLSPATH, in the language of LC_MESSAGES. `flags` are not used. False when it cannot be opened.
    bool openExisting(wchar_t const* path, unsigned short flags);

    /// Fetches the message into `out` and returns that text. A message that is missing or not UTF-8 gives
    /// "<id>".
    wchar_t const* getString(int id, AString* out) const;

    void close();

private:
    // NOLINTNEXTLINE(performance-no-int-to-ptr): the system's own mark of failure
    static inline nl_catd const closed = reinterpret_cast<nl_catd>(-1);

    nl_catd m_catalog = closed;
};
