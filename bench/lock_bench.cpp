#include <zun/lock/CReadWriteSync.h>
#include <zun/lock/UnixLock.h>
#include <zun/logger/ILogger.h>

#include <benchmark/benchmark.h>
#include <boost/interprocess/sync/named_sharable_mutex.hpp>
#include <boost/thread/shared_mutex.hpp>

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <pthread.h>
#include <shared_mutex>
#include <string>
#include <sys/file.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <unistd.h>

// In one process: a read hold taken and released, by one thread and by two at once.
// Between processes: a write hold taken and released while nobody else wants one.

namespace {

class PosixLock {
public:
    ~PosixLock() { pthread_rwlock_destroy(&m_lock); }
    // NOLINTBEGIN(readability-identifier-naming): what the standard library's locks are called by
    void lock_shared() { pthread_rwlock_rdlock(&m_lock); }
    void unlock_shared() { pthread_rwlock_unlock(&m_lock); }
    // NOLINTEND(readability-identifier-naming)

private:
    pthread_rwlock_t m_lock = PTHREAD_RWLOCK_INITIALIZER;
};

class ZunLock : public CReadWriteSync {
public:
    // NOLINTBEGIN(readability-identifier-naming): the same
    void lock_shared() { ReadLock(); }
    void unlock_shared() { ReadUnlock(); }
    // NOLINTEND(readability-identifier-naming)
};

template <typename Lock>
void readHold(benchmark::State& state) {
    static Lock lock;
    for (auto _ : state) {
        lock.lock_shared();
        lock.unlock_shared();
    }
}

BENCHMARK_TEMPLATE(readHold, ZunLock)->Name("read_hold/zun")->ThreadRange(1, 2);
BENCHMARK_TEMPLATE(readHold, boost::shared_mutex)->Name("read_hold/boost_shared_mutex")->ThreadRange(1, 2);
BENCHMARK_TEMPLATE(readHold, std::shared_mutex)->Name("read_hold/std_shared_mutex")->ThreadRange(1, 2);
BENCHMARK_TEMPLATE(readHold, PosixLock)->Name("read_hold/pthread_rwlock")->ThreadRange(1, 2);

/// Sees to the directory of the named locks' files and leaves nothing of it behind that was not there before.
class LockDirectory {
public:
    LockDirectory() {
        for (std::filesystem::path path = "/Library/Orvane/zun/scratch"; !exists(path);
             path = path.parent_path())
            m_missing.push_back(path);
        std::error_code notAllowed;
        if (!m_missing.empty())
            create_directories(m_missing.front(), notAllowed);
    }
    ~LockDirectory() {
        std::error_code inUse;
        for (std::filesystem::path const& path : m_missing)
            remove(path, inUse);
    }

private:
    std::vector<std::filesystem::path> m_missing;
};

std::string const uniqueName = "zun_bench_" + std::to_string(getpid());

void writeHoldZun(benchmark::State& state) {
    LockDirectory const directory;
    orvane_com::zun::logger::ILogger::GetLogger()->Start(); // at level Info, as in a service
    try {
        orvane_com::zun::lock::UnixLock lock(uniqueName);
        for (auto _ : state) {
            lock.writeLock(0);
            lock.writeUnlock();
        }
    } catch (std::exception const&) {
        state.SkipWithError("no lock directory");
    }
}

void writeHoldSemop(benchmark::State& state) {
    int const set = semget(IPC_PRIVATE, 3, 0600);
    sembuf reference{2, +1, SEM_UNDO};
    semop(set, &reference, 1);
    sembuf lock[] = {{0, 0, SEM_UNDO}, {1, 0, SEM_UNDO}, {0, +1, SEM_UNDO}, {1, +1, SEM_UNDO}};
    sembuf unlock[] = {{0, -1, SEM_UNDO}, {1, -1, SEM_UNDO}};
    for (auto _ : state) {
        semop(set, lock, 4);
        semop(set, unlock, 2);
    }
    semctl(set, 0, IPC_RMID);
}

void writeHoldFlock(benchmark::State& state) {
    std::string const path = std::filesystem::temp_directory_path() / uniqueName;
    int const file = open(path.c_str(), O_RDWR | O_CREAT, 0600);
    for (auto _ : state) {
        flock(file, LOCK_EX);
        flock(file, LOCK_UN);
    }
    close(file);
    unlink(path.c_str());
}

/// Which the system does not take back from a killed process.
void writeHoldBoost(benchmark::State& state) {
    using boost::interprocess::named_sharable_mutex;
    {
        named_sharable_mutex lock(boost::interprocess::create_only, uniqueName.c_str());
        for (auto _ : state) {
            lock.lock();
            lock.unlock();
        }
    }
    named_sharable_mutex::remove(uniqueName.c_str());
}

BENCHMARK(writeHoldZun)->Name("named_write_hold/zun");
BENCHMARK(writeHoldSemop)->Name("named_write_hold/semop");
BENCHMARK(writeHoldFlock)->Name("named_write_hold/flock");
BENCHMARK(writeHoldBoost)->Name("named_write_hold/boost_named_sharable_mutex");

} // namespace
