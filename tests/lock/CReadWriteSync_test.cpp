#include <tests/support/Crowd.h>
#include <tests/support/TemporaryDirectory.h>
#include <zun/lock/CReadWriteSync.h>

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <latch>
#include <memory>

#ifdef __APPLE__
#include <mach/mach.h>
#include <pthread.h>
#else
#include <unistd.h>
#endif

namespace {

/// Whether the thread sleeps or is gone.
#ifdef __APPLE__
using ThreadId = mach_port_t;

ThreadId currentThread() {
    return pthread_mach_thread_np(pthread_self());
}

bool isAsleep(ThreadId thread) {
    thread_basic_info info{};
    mach_msg_type_number_t count = THREAD_BASIC_INFO_COUNT;
    return thread_info(thread, THREAD_BASIC_INFO, reinterpret_cast<thread_info_t>(&info), &count) !=
               KERN_SUCCESS ||
           info.run_state == TH_STATE_WAITING;
}
#else
using ThreadId = pid_t;

ThreadId currentThread() {
    return gettid();
}

bool isAsleep(ThreadId thread) {
    std::string const state = readFile("/proc/self/task/" + std::to_string(thread) + "/stat");
    std::size_t const name = state.rfind(") ");
    return name == std::string::npos || state[name + 2] == 'S';
}
#endif

/// Starts a thread and returns once it waits for something.
std::thread startWaiting(std::function<void()> const& body) {
    std::atomic<ThreadId> id{0};
    std::thread thread([&id, body] {
        id = currentThread();
        body();
    });
    while (id == 0 || !isAsleep(id))
        std::this_thread::yield();
    return thread;
}

TEST(CReadWriteSync, ServesWaitingWritersFirstAndThenAllReadersTogether) {
    CReadWriteSync sync;
    int writersServed = 0;
    std::latch bothRead(2);
    auto const write = [&] {
        sync.WriteLock();
        ++writersServed;
        sync.WriteUnlock();
    };
    auto const read = [&] {
        sync.ReadLock();
        EXPECT_EQ(writersServed, 2);
        bothRead.arrive_and_wait();
        sync.ReadUnlock();
    };
    sync.ReadLock();
    sync.ReadLock();
    std::vector<std::thread> threads;
    for (std::function<void()> const& body : {std::function<void()>(write), {read}, {read}, {write}})
        threads.push_back(startWaiting(body));
    sync.ReadUnlock();
    sync.ReadUnlock();
    for (std::thread& thread : threads)
        thread.join();
}

TEST(CReadWriteSync, ExcludesAndLosesNoWakeUp) {
    constexpr int threads = 8;
    constexpr int rounds = 5000;
    CReadWriteSync sync;
    long written = 0;
    long writtenToo = 0;
    std::atomic<int> torn = 0;
    runInThreads(threads, [&](int worker) {
        CReadWriteSyncAuto guard(sync);
        for (int round = 0; round < rounds; ++round) {
            if ((worker + round) % 4 == 0) {
                guard.WriteLock();
                ++written;
                ++writtenToo;
            } else {
                guard.ReadLock();
                torn += written != writtenToo;
            }
            if (round % 16 == 0)
                std::this_thread::yield(); // others run into the lock
            guard.Unlock();
        }
    });
    EXPECT_EQ(written, threads * rounds / 4);
    EXPECT_EQ(torn, 0);
}

TEST(CReadWriteSync, MayBeDestroyedWhileTheLastHolderReturns) {
    for (int round = 0; round < 100; ++round) {
        auto sync = std::make_unique<CReadWriteSync>();
        bool done = false;
        std::thread writer([&done, lock = sync.get()] {
            lock->WriteLock();
            done = true;
            lock->WriteUnlock();
        });
        for (bool seen = false; !seen; std::this_thread::yield()) {
            sync->ReadLock();
            seen = done;
            sync->ReadUnlock();
        }
        sync = std::make_unique<CReadWriteSync>();
        sync->ReadLock();
        std::thread reader([lock = sync.get()] { lock->ReadUnlock(); });
        sync->WriteLock();
        sync->WriteUnlock();
        sync.reset();
        writer.join();
        reader.join();
    }
}

TEST(CReadWriteSyncAuto, ReleasesWhatItHolds) {
    CReadWriteSync sync;
    { CReadWriteSyncAuto const idle(sync); }
    {
        CReadWriteSyncAuto guard(sync);
        guard.ReadLock();
        CReadWriteSyncAuto second(sync);
        second.ReadLock();
    }
    {
        CReadWriteSyncAuto guard(sync);
        guard.WriteLock();
        guard.Unlock();
        guard.Unlock();
        guard.WriteLock();
    }
    sync.WriteLock();
    sync.WriteUnlock();
}

} // namespace
