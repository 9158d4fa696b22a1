#pragma once

#include <zun/logger/LogFile.h>
#include <zun/logger/LogLine.h>

#include <cstdint>
#include <initializer_list>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace orvane_com::zun::logger {

/// The attached log files, in the order of their paths. Used under the logger's lock.
class LogFiles {
public:
    bool isEmpty() const { return m_files.empty(); }

    /// False when the path cannot be opened. One that is attached stays as it is.
    bool attach(std::wstring const& path);

    /// False when the path is not attached.
    bool detach(std::wstring const& path);

    /// True when each path names its open file, and none of these is over the limit, in bytes.
    bool areGood(std::int64_t limit) const;

    struct Rotation {
        std::int64_t limit; // in bytes
        std::int32_t backups;
        bool isNoted;
    };

    /// Rotates the files that are over the limit.
    void rotate(Rotation const& rotation);

    /// Opens the files anew whose path is gone or names another file.
    void repair();

    /// Appends to every file; those that fail are opened anew and tried once more.
    void append(std::string_view lines);

private:
    std::vector<std::wstring> pathsOf(std::initializer_list<LogFile::Condition> conditions) const;
    void reopen(std::vector<std::wstring> const& paths);

    std::map<std::wstring, LogFile> m_files;
};

} // namespace orvane_com::zun::logger
