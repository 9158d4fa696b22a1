#pragma once

#include <zun/platform/file/FileDescriptor.h>
#include <zun/platform/file/Place.h>

#include <optional>
#include <string>

namespace orvane_com::zun::lock {

/// An exclusive advisory lock on a named lock's own file, held between processes and threads alike from
/// lock() to the object's end. The file need not be writable. Log nothing while it is held.
class LockFile {
public:
    /// Of the file that `path` names, which may be missing yet.
    explicit LockFile(std::string const& path) : m_place(file::Place::find(path)) {}
    LockFile(LockFile const&) = delete;
    LockFile& operator=(LockFile const&) = delete;
    /// Leaves errno as it was.
    ~LockFile();

    /// Waits, no longer than 10 s, for the lock on the file that has the name once the lock is had. False,
    /// with errno set and reasonFor it, when that time is over, and when the file is missing, cannot be
    /// opened, or may be a stranger's.
    bool lock();

    bool isHeld() const { return m_file.isOpen(); }

    /// Whether the file that is locked still has the name.
    bool isNamed() const;

private:
    std::optional<file::Place> const m_place;
    file::FileDescriptor m_file;
};

} // namespace orvane_com::zun::lock
