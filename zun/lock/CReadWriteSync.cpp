#include <zun/lock/CReadWriteSync.h>

// All that a hold costs while nobody waits is one atomic operation on m_state:
//
//   writerActive    a writer holds the lock
//   writersWaiting  m_waitingWriters is not 0
//   stage           flips when waiting readers get the lock
//   the low bits    read holds and waiting readers
//
// A "writer stage" is the time in which one of the two writer bits is set. The bits, the stage and the two
// counters change under m_mutex, except that a writer comes to, or leaves, an otherwise untouched lock by one
// exchange.
//
// - Readers count themselves first and look at what they found: no writer bit, and they hold the lock.
// Otherwise
//   they wait until the stage has flipped. The writer that flips it, in clearing the last writer bit, thereby
//   makes holders of exactly those who came in its stage: a reader counts and learns the stage in one
//   operation. One bit tells stages apart, for the next one cannot end before they have left.
// - A writer that begins a stage by waiting finds in the same operation how many hold the lock: m_departing.
// Each of
//   those sees a writer bit when it leaves and counts itself off m_departing under the mutex; readers that
//   come later are not among them. A writer goes in at m_departing 0 with writerActive clear. A stage that a
//   writer begins by going in at once has nobody departing.
// - No wake-up is lost: what a waiter waits for, m_departing, writerActive and stage, comes about under the
// mutex,
//   and is signalled under it. An exchange that leaves a lock which somebody waits for fails.
// - Nobody touches the object after an atomic operation or an unlocking of the mutex that another one may go
// on: a
//   reader seen by a writer leaves under the mutex, and so does a writer seen by anybody.
// - Every operation on m_state is a read-modify-write, so that an acquiring one sees what was done in all
// holds
//   released before it.

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
