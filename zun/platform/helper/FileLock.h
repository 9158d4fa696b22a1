#pragma once

#include <zun/platform/helper/FileDescriptor.h>

#include <string>

namespace orvane_com::zun::helper {

/// An exclusive advisory lock, held between processes and threads alike from the object's making to its end;
/// the system takes it back when its process ends. See flock(2).
class FileLock {
public:
    /// Waits for the lock on the file that `path` names once the lock is had; a missing file is made with
    /// `mode`. Not held, with errno set, when the file cannot be opened.
    FileLock(std::string const& path, unsigned mode);
    FileLock(FileLock const&) = delete;
    FileLock& operator=(FileLock const&) = delete;
    ~FileLock();

    bool isHeld() const { return m_file.isOpen(); }
    int descriptor() const { return m_file.get(); }

private:
    FileDescriptor m_file;
};

} // namespace orvane_com::zun::helper
