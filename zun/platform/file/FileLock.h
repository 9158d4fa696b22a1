#pragma once

#include <zun/platform/file/FileDescriptor.h>
#include <zun/platform/file/Place.h>

#include <optional>
#include <string>

namespace orvane_com::zun::file {

/// An exclusive lock on a shared file, between processes and threads alike, held from the object's making to
/// its end. It is a lock (flock(2)) on a file of its own, PATH.lock, that only those can open who may write
/// the file itself: made for the hold, removed before the hold ends, taken over from a process that died. All
/// links to the file share one lock. Log nothing while it is held.
class FileLock {
public:
    enum class Wait {
        bounded, ///< 10 seconds
        none
    };

    /// Where no file can be made beside it, the lock is had on the shared file itself. Tells by isHeld; when
    /// the lock is not had, errno is set and reasonFor it.
    explicit FileLock(std::string const& path, Wait wait = Wait::bounded);
    explicit FileLock(Place const& shared, Wait wait = Wait::bounded);
    FileLock(FileLock const&) = delete;
    FileLock& operator=(FileLock const&) = delete;
    /// Leaves errno as it was.
    ~FileLock();

    bool isHeld() const { return m_file.isOpen(); }

    /// Whether it is not had because another process or thread has it, rather than because it cannot be made
    /// or a stranger occupies its name.
    bool isHeldElsewhere() const { return m_isHeldElsewhere; }

private:
    void take(Place const& shared, Wait wait);

    enum class Attempt { succeeded, isHeldElsewhere, isOccupied, failed };

    Attempt attempt(Place const& shared);
    Attempt attemptOn(Place const& place, FileDescriptor file);

    /// The lock's own file; none when the shared file serves.
    std::optional<Place> m_lock;
    FileDescriptor m_file;
    bool m_isHeldElsewhere = false;
};

/// An exclusive lock on the open file itself, waited for up to 10 seconds: for a file that is never replaced
/// and that nobody but those who share it can open. False, with errno set and reasonFor it, when it is not
/// had. Given back by unlockFile or with the last descriptor of the file, children's included.
bool lockFile(FileDescriptor const& file);

/// Before the descriptor is closed: a child that was forked meanwhile has it too, and would keep the lock.
/// Leaves errno as it was.
void unlockFile(FileDescriptor const& file);

} // namespace orvane_com::zun::file
