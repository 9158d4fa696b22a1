#pragma once

#include <zun/Api.h>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>

/// A reader/writer lock for the threads of one process that prefers writers: once one waits, new readers
/// queue behind it, and a writer that leaves is followed by a waiting writer, or else by all waiting readers
/// together.
///
/// Not recursive: a thread that holds the lock and asks for it again may wait for itself. Owners are not
/// known: any thread may release a hold, and releasing one that nobody has breaks the lock. The object may be
/// destroyed as soon as nobody holds the lock or waits for it, even while the last holder returns from its
/// unlock.
class ZUN_API CReadWriteSync {
public:
    CReadWriteSync() = default;
    CReadWriteSync(CReadWriteSync const&) = delete;
    CReadWriteSync& operator=(CReadWriteSync const&) = delete;

    void ReadLock() noexcept;
    void ReadUnlock() noexcept;
    void WriteLock() noexcept;
    void WriteUnlock() noexcept;

private:
    std::atomic<std::uint32_t> m_state{0};
    std::mutex m_mutex;
    std::condition_variable m_readersMayGo;
    std::condition_variable m_writerMayGo;
    std::uint32_t m_departing = 0;
    std::uint32_t m_waitingWriters = 0;
};

/// Releases at its end what it has locked. One hold at a time, for one thread.
class ZUN_API CReadWriteSyncAuto {
public:
    /// Does not lock yet. The lock must outlive the guard.
    explicit CReadWriteSyncAuto(CReadWriteSync& sync) : m_sync(sync) {}
    ~CReadWriteSyncAuto() { Unlock(); }
    CReadWriteSyncAuto(CReadWriteSyncAuto const&) = delete;
    CReadWriteSyncAuto& operator=(CReadWriteSyncAuto const&) = delete;

    void ReadLock() noexcept;
    void WriteLock() noexcept;

    /// Without a hold it does nothing.
    void Unlock() noexcept;

private:
    CReadWriteSync& m_sync;
    bool m_locked = false;
    bool m_isWrite = false;
};
