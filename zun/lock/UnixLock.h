#pragma once

#include <zun/Api.h>
#include <zun/lock/ILock.h>

#include <string>
#include <sys/types.h>

namespace orvane_com::zun::lock {

/// A reader/writer lock that all processes of the agent share by its name: a System V semaphore set, found
/// through a lock file of that name in /Library/Orvane/zun/scratch/ (see ftok(3), semop(2)). The last object
/// on a name removes set and file. Waiting writers do not stop new readers.
///
/// A hold belongs to the process, not to a thread or an object: threads exclude each other like processes,
/// any of them may release, and an object's end releases nothing. The system gives back what a process held
/// when it ends in whatever way. An object is of no use to a forked child; its end there does nothing.
///
/// ftok makes a key of 16 bits of the file's inode, so two names may, rarely, share one set: their users then
/// exclude each other more than they ask for.
///
/// Any thread may call any operation. All report under the log group "IPLock".
class ZUN_API UnixLock : public ILock {
public:
    /// Only the super-user's sets are shared: one that another user owns or made, or that its owner may
    /// neither read nor alter, is replaced by a new one. Throws std::exception, after an error was logged,
    /// when the lock file or the set cannot be had, in 10 s where others are busy with them, or more than
    /// 16,000 objects would share it; and std::bad_alloc.
    explicit UnixLock(std::string const& name);

    /// Does without a free descriptor. A failure is logged; when the set is gone, a lock file stays.
    ~UnixLock() override;

    UnixLock(UnixLock const&) = delete;
    UnixLock& operator=(UnixLock const&) = delete;

    /// False, logged as an error, when the hold is not to be had at once.
    bool tryReadLock() override;
    bool tryWriteLock() override;

    /// Each waits as long as it takes: the timeout is ignored and signals do not end the wait. False, logged,
    /// when the set is gone. A process that holds the lock for reading and waits to write waits for itself.
    bool readLock(unsigned int timeout) override;
    bool writeLock(unsigned int timeout) override;

    /// For a hold that the process has; without one, the call waits for a hold to take back. False, logged as
    /// an error, when the set is gone.
    bool readUnlock() override;
    bool writeUnlock() override;

    /// Removes a name's set and lock file, whoever uses them; all operations of objects on that set fail from
    /// then on. Looks in /tmp/ when the lock directory is missing. Reports nothing.
    static void cleanSemaphore(std::string const& name);

private:
    bool createSemFile(std::string const& name);

    pid_t const m_process;
    int m_id = -1;
    std::string m_path;
};

} // namespace orvane_com::zun::lock
