#include <zun/linux/log.h>
#include <zun/lock/InterProcessLock.h>
#include <zun/lock/UnixLock.h>

#include <new>
#include <unistd.h>

namespace orvane_com::zun::lock {

template <Hold hold>
InterProcessLock<hold>::InterProcessLock(std::string const& name) : m_process(getpid()) {
    try {
        m_lock = std::make_unique<UnixLock>(name);
    } catch (std::bad_alloc const&) {
        logError(L"IPLock", L"Not enough memory for the lock");
    } catch (...) { // logged by the lock
    }
}

template <Hold hold>
InterProcessLock<hold>::~InterProcessLock() {
    unlock();
}

template <Hold hold>
bool InterProcessLock<hold>::isUsable() const {
    return isMade() && getpid() == m_process;
}

template <Hold hold>
bool InterProcessLock<hold>::tryLock() {
    m_held = isUsable() && (hold == Hold::read ? m_lock->tryReadLock() : m_lock->tryWriteLock());
    return m_held;
}

template <Hold hold>
bool InterProcessLock<hold>::lock(unsigned int timeout) {
    m_held = isUsable() && (hold == Hold::read ? m_lock->readLock(timeout) : m_lock->writeLock(timeout));
    return m_held;
}

template <Hold hold>
bool InterProcessLock<hold>::unlock() {
    if (!isUsable())
        return false;
    if (m_held)
        m_held = !(hold == Hold::read ? m_lock->readUnlock() : m_lock->writeUnlock());
    return !m_held;
}

template <Hold hold>
void InterProcessLock<hold>::cleanSemaphore(std::string const& name) {
    UnixLock::cleanSemaphore(name);
}

template class InterProcessLock<Hold::read>;
template class InterProcessLock<Hold::write>;

} // namespace orvane_com::zun::lock
