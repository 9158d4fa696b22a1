#pragma once

#include <zun/Api.h>
#include <zun/lock/ILock.h>

#include <memory>
#include <string>
#include <sys/types.h>

namespace orvane_com::zun::lock {

enum class Hold { read, write };

/// Owns a UnixLock, remembers whether it holds it and releases it at its end. Nothing is thrown: on a lock
/// that could not be set up, which is logged, every operation fails. So it does in a forked child, where the
/// guard's end does nothing either: the hold is the parent's. One thread at a time may use a guard.
template <Hold hold>
class InterProcessLock {
public:
    explicit InterProcessLock(std::string const& name);
    ~InterProcessLock();
    InterProcessLock(InterProcessLock const&) = delete;
    InterProcessLock& operator=(InterProcessLock const&) = delete;

    /// Whether the lock could be set up: what then fails to lock is held by others.
    bool isMade() const { return m_lock != nullptr; }

    /// Each returns whether the guard holds the lock now, as UnixLock does. Not to be called on a guard that
    /// holds it: the earlier hold would be forgotten.
    bool tryLock();
    bool lock(unsigned int timeout);

    /// True, too, when there is nothing to release.
    bool unlock();

    /// See UnixLock.
    static void cleanSemaphore(std::string const& name);

private:
    bool isUsable() const;

    pid_t const m_process;
    std::unique_ptr<ILock> m_lock;
    bool m_held = false;
};

extern template class ZUN_API InterProcessLock<Hold::read>;
extern template class ZUN_API InterProcessLock<Hold::write>;

class ZUN_API InterProcessReadLock : public InterProcessLock<Hold::read> {
public:
    using InterProcessLock::InterProcessLock;
};

class ZUN_API InterProcessWriteLock : public InterProcessLock<Hold::write> {
public:
    using InterProcessLock::InterProcessLock;
};

} // namespace orvane_com::zun::lock
