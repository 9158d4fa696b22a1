#pragma once

#include <zun/platform/file/FileDescriptor.h>
#include <zun/platform/file/FileLock.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <sys/stat.h>

namespace orvane_com::zun::logger {

/// One attached log file: its path and the descriptor that lines are appended through.
class LogFile {
public:
    /// Opens the path, in UTF-8, for appending, with all missing directories. isOpen tells the outcome.
    explicit LogFile(std::string path);

    bool isOpen() const { return m_file.isOpen(); }
    std::string const& path() const { return m_path; }

    /// What one look at the path tells.
    enum class Condition { good, tooLarge, replaced, missing };

    /// `replaced` when the path names another file than the open one, `missing` when it names none. A limit
    /// is in bytes.
    Condition examine(std::int64_t limit) const;

    /// Appends whole lines in one write. False when not all of them could be written.
    bool append(std::string_view lines);

    /// Opens the path anew, with all missing directories. What names another file that cannot be opened
    /// leaves the open one as it is. False when no file is open then.
    bool reopen();

    /// Moves the file into the first of `backups` numbered generations beside it, each older one a generation
    /// on, and opens an empty file in its place, as reopen does.
    bool rotate(std::int32_t backups);

private:
    std::string m_path;
    file::FileDescriptor m_file;
    dev_t m_device = 0;
    ino_t m_inode = 0;
    /// True when a failed append left a part of a line at the file's end.
    bool m_endsInFragment = false;
};

/// The right to rotate the file that a path names, which one process has at a time. It is never waited for,
/// and where its lock cannot be made or a stranger occupies its name, everybody has it.
class RotationRight {
public:
    explicit RotationRight(std::string const& path) : m_lock(path, file::FileLock::Wait::none) {}

    bool isHeld() const { return !m_lock.isHeldElsewhere(); }

private:
    file::FileLock const m_lock;
};

} // namespace orvane_com::zun::logger
