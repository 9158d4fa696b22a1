#include <zun/lock/CReadWriteSync.h>

// While nobody has to wait, taking or giving back a hold is one atomic operation on m_state:
//
//   writerActive    a writer holds the lock
//   writersWaiting  m_waitingWriters is not 0
//   stage           flips when waiting readers get the lock
//   the low bits    how many readers hold the lock or wait for it
//
// All but the low bits, and the two counters, change under m_mutex only, except that a writer takes a lock
// that nobody holds, and leaves one that nobody waits for, by one exchange.
//
// - A reader counts itself and looks at what it found in the same operation. Without a writer bit it holds
//   the lock. Otherwise it waits for the stage to flip: the last writer flips it and clears its bit in one
//   operation, which makes holders of exactly the readers counted until then. One bit tells the stages apart,
//   because the next flip takes a writer, which gets in only when those readers have left.
// - The first writer that has to wait finds, in the operation that sets its bit, how many readers hold the
//   lock: m_departing. When they leave they see the bit and count themselves off under the mutex; readers
//   that come later wait and are not among them. A writer may go in when m_departing is 0 and no writer is
//   active.
// - No wake-up is lost: what a thread waits for becomes true under the mutex, followed by the signal, and the
//   exchange that leaves the lock fails when anybody waits.
// - The object may be destroyed once nobody is inside: an unlock ends with the operation that lets others go
//   on. Where that is the unlocking of the mutex, they are inside and have yet to lock it.
// - m_state changes by read-modify-write operations only, so that one that acquires sees all that was done
//   under the holds given back before it.

namespace {

constexpr std::uint32_t writerActive = 1U << 31;
constexpr std::uint32_t writersWaiting = 1U << 30;
constexpr std::uint32_t stage = 1U << 29;
constexpr std::uint32_t writers = writerActive | writersWaiting;
constexpr std::uint32_t readers = stage - 1;

} // namespace

void CReadWriteSync::ReadLock() noexcept {
    std::uint32_t const found = m_state.fetch_add(1, std::memory_order_acquire);
    if ((found & writers) == 0)
        return;
    std::unique_lock lock(m_mutex);
    m_readersMayGo.wait(lock,
                        [&] { return ((m_state.load(std::memory_order_relaxed) ^ found) & stage) != 0; });
}

void CReadWriteSync::ReadUnlock() noexcept {
    std::uint32_t const found = m_state.fetch_sub(1, std::memory_order_release);
    if ((found & writers) == 0)
        return;
    std::lock_guard const lock(m_mutex);
    if (--m_departing == 0)
        m_writerMayGo.notify_one();
}

void CReadWriteSync::WriteLock() noexcept {
    std::uint32_t unlocked = m_state.load(std::memory_order_relaxed) & stage;
    if (m_state.compare_exchange_strong(unlocked, unlocked | writerActive, std::memory_order_acquire,
                                        std::memory_order_relaxed))
        return;
    std::unique_lock lock(m_mutex);
    ++m_waitingWriters;
    std::uint32_t const found = m_state.fetch_or(writersWaiting, std::memory_order_acquire);
    if ((found & writers) == 0)
        m_departing = found & readers;
    m_writerMayGo.wait(lock, [&] {
        return m_departing == 0 && (m_state.load(std::memory_order_relaxed) & writerActive) == 0;
    });
    if (--m_waitingWriters == 0)
        m_state.fetch_xor(writersWaiting | writerActive, std::memory_order_relaxed);
    else
        m_state.fetch_or(writerActive, std::memory_order_relaxed);
}

void CReadWriteSync::WriteUnlock() noexcept {
    std::uint32_t held = (m_state.load(std::memory_order_relaxed) & stage) | writerActive;
    if (m_state.compare_exchange_strong(held, held & stage, std::memory_order_release,
                                        std::memory_order_relaxed))
        return;
    std::lock_guard const lock(m_mutex);
    if (m_waitingWriters > 0) {
        m_state.fetch_xor(writerActive, std::memory_order_release);
        m_writerMayGo.notify_one();
    } else {
        m_state.fetch_xor(writerActive | stage, std::memory_order_release);
        m_readersMayGo.notify_all();
    }
}

void CReadWriteSyncAuto::ReadLock() noexcept {
    m_sync.ReadLock();
    m_locked = true;
    m_isWrite = false;
}

void CReadWriteSyncAuto::WriteLock() noexcept {
    m_sync.WriteLock();
    m_locked = true;
    m_isWrite = true;
}

void CReadWriteSyncAuto::Unlock() noexcept {
    if (!m_locked)
        return;
    if (m_isWrite)
        m_sync.WriteUnlock();
    else
        m_sync.ReadUnlock();
    m_locked = false;
}
