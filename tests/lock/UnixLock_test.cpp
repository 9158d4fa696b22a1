#include <tests/support/Crowd.h>
#include <tests/support/LogCapture.h>
#include <tests/support/OpenDescriptors.h>
#include <tests/support/PrivateRoot.h>
#include <zun/lock/InterProcessLock.h>
#include <zun/lock/UnixLock.h>
#include <zun/logger/ILogger.h>

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <random>
#include <sys/ipc.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/sem.h>
#include <thread>
#include <unistd.h>

using namespace orvane_com::zun::lock;
using std::filesystem::exists;
using testing::ElementsAre;

namespace {

std::string const lockDirectory = "/Library/Orvane/zun/scratch/";
std::string const lockFile = lockDirectory + "agent";
constexpr char const* hadEnded = "it had ended before";
std::string const timeout = "Lock - Timeout occured , failed to acquire the lock";

key_t keyOf(std::string const& path) {
    return ftok(path.c_str(), 3737);
}

/// The set of the lock "agent".
int agentsSet() {
    return semget(keyOf(lockFile), 3, 0);
}

/// Gives a test a lock directory of its own: the process's root is a temporary directory meanwhile.
class UnixLockTest : public testing::Test {
protected:
    UnixLockTest() {
        if (m_root.isEntered())
            std::filesystem::create_directories(lockDirectory);
    }
    ~UnixLockTest() override { munmap(m_seen, inodes); }
    void SetUp() override {
        if (!m_root.isEntered())
            GTEST_SKIP() << "only the super-user may have " << lockDirectory
                         << " in a root directory of its own";
    }

    /// Writer flag, holders and references.
    static std::vector<int> counts() {
        int const set = agentsSet();
        return {semctl(set, 0, GETVAL), semctl(set, 1, GETVAL), semctl(set, 2, GETVAL)};
    }

    /// Returns once so many processes wait for a writer to leave.
    static void awaitWaiters(int count) {
        while (semctl(agentsSet(), 0, GETZCNT) < count)
            std::this_thread::yield();
    }

    /// To be called by every process that uses the lock: its file, and so its key, changes whenever it is
    /// made anew.
    void noteKey() const { m_seen[keyOf(lockFile) & (inodes - 1)] = true; }

    void expectNothingLeft() const {
        EXPECT_FALSE(exists(lockFile));
        for (key_t inode = 0; inode < inodes; ++inode)
            EXPECT_FALSE(m_seen[inode] && semget((keyOf("/") & ~(inodes - 1)) | inode, 3, 0) != -1);
    }

    /// What was logged since the last call, without the lock's group and the headings of errors.
    static std::vector<std::string> takeLines(LogCapture& log) {
        std::vector<std::string> lines = log.takeLines();
        std::erase(lines, "[IPLock] [E] Error trace:");
        for (std::string& line : lines)
            line.erase(0, line.starts_with("[IPLock] ") ? 9 : 0);
        return lines;
    }

private:
    static constexpr key_t inodes = 0x10000;

    PrivateRoot const m_root;
    bool* const m_seen =
        static_cast<bool*>(mmap(nullptr, inodes, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANON, -1, 0));
};

TEST_F(UnixLockTest, ObjectsOnANameShareOneSetWhileThereAreAny) {
    LogCapture log;
    {
        UnixLock first("agent");
        {
            UnixLock second("agent");
            EXPECT_TRUE(first.tryReadLock() && second.readLock(0));
            EXPECT_THAT(counts(), ElementsAre(0, 2, 2));
            EXPECT_FALSE(second.tryWriteLock());
            EXPECT_TRUE(first.readUnlock() && second.readUnlock());
            EXPECT_TRUE(second.writeLock(0));
            EXPECT_THAT(counts(), ElementsAre(1, 1, 2));
            EXPECT_FALSE(first.tryReadLock());
            EXPECT_TRUE(first.writeUnlock()) << "holds know no owner";
            EXPECT_TRUE(first.tryWriteLock() && first.writeUnlock());
        }
        std::string const reads = "[D] readLock - providing read lock";
        std::string const hasRead = "[D] readUnLock - unlocking the read lock successful";
        std::string const writes = "[D] writeLock - providing write lock";
        std::string const hasWritten = "[D] writeUnLock - unlocking the write lock successful";
        EXPECT_THAT(takeLines(log), ElementsAre("[D] Semaphore already exist.", reads, reads,
                                                "[E]   write" + timeout, hasRead, hasRead, writes,
                                                "[E]   read" + timeout, hasWritten, writes, hasWritten));
        UnixLock const other("other");
        EXPECT_THAT(counts(), ElementsAre(0, 0, 1));
        noteKey();
    }
    expectNothingLeft();
}

TEST_F(UnixLockTest, ACleanedSetFailsItsUsersAndItsSuccessorStays) {
    LogCapture log;
    auto lock = std::make_unique<UnixLock>("agent");
    UnixLock::cleanSemaphore("agent");
    EXPECT_FALSE(exists(lockFile));
    UnixLock const successor("agent");
    EXPECT_FALSE(lock->readLock(0) || lock->writeLock(0) || lock->readUnlock() || lock->writeUnlock());
    lock.reset();
    std::string const notDecreased = "[E]   writeUnLock - decreasing the semaphore value failed";
    EXPECT_THAT(takeLines(log),
                ElementsAre("[I] read" + timeout, "[E]   write" + timeout, notDecreased, notDecreased,
                            "[E]   Failed to decrease the refrence count " + lockFile));
    EXPECT_THAT(counts(), ElementsAre(0, 0, 1));
    semctl(agentsSet(), 0, IPC_RMID);
    lock = std::make_unique<UnixLock>("agent"); // on the same file
    lock.reset();
    EXPECT_FALSE(exists(lockFile));
    {
        UnixLock const another("agent");
        semctl(agentsSet(), 0, IPC_RMID);
    }
    EXPECT_TRUE(exists(lockFile)) << "who finds its set gone leaves the file alone";
}

TEST_F(UnixLockTest, WithoutTheLockDirectoryCleansInTheFallbackDirectory) {
    std::filesystem::create_directory("/tmp");
    writeFile("/tmp/agent", "");
    key_t const key = keyOf("/tmp/agent");
    ASSERT_NE(semget(key, 3, IPC_CREAT | 0600), -1);
    UnixLock::cleanSemaphore("agent");
    EXPECT_NE(semget(key, 3, 0), -1);
    std::filesystem::remove(lockDirectory);
    InterProcessWriteLock::cleanSemaphore("agent");
    EXPECT_EQ(semget(key, 3, 0), -1);
    EXPECT_FALSE(exists("/tmp/agent"));
}

TEST_F(UnixLockTest, AFailureToSetUpIsLoggedAndThrown) {
    LogCapture log;
    EXPECT_THROW(UnixLock("missing/agent"), std::exception);
    InterProcessReadLock broken("missing/agent");
    EXPECT_FALSE(broken.isMade() || broken.tryLock() || broken.lock(0) || broken.unlock());
    writeFile(lockFile, "");
    key_t const key = keyOf(lockFile);
    int const tooSmall = semget(key, 1, IPC_CREAT | 0600);
    EXPECT_THROW(UnixLock("agent"), std::exception);
    semctl(tooSmall, 0, IPC_RMID);
    int const full = semget(key, 3, IPC_CREAT | 0600);
    sembuf toTheBrim{2, 15999, 0};
    ASSERT_EQ(semop(full, &toTheBrim, 1), 0);
    {
        UnixLock const last("agent");
        EXPECT_THROW(UnixLock("agent"), std::exception);
    }
    semctl(full, 0, IPC_RMID);
    std::string const failed = "[E]   Failed to ";
    std::string const noFile = failed + "create the file  " + lockDirectory + "missing/agent";
    std::string const noSet = failed + "create the semaphore due to File exists first parameter is ";
    std::string const noReference = failed + "increase the refrence count due to " + std::strerror(ERANGE);
    std::string const exists = "[D] Semaphore already exist.";
    EXPECT_THAT(takeLines(log), ElementsAre(noFile, noFile, exists, noSet + std::to_string(key), exists,
                                            exists, noReference));
}

TEST_F(UnixLockTest, GuardsReleaseWhatTheyHold) {
    {
        InterProcessReadLock reader("agent");
        EXPECT_TRUE(reader.isMade() && reader.unlock()) << "nothing to do";
        EXPECT_TRUE(reader.tryLock());
        InterProcessWriteLock writer("agent");
        EXPECT_FALSE(writer.tryLock());
        EXPECT_TRUE(reader.unlock() && writer.lock(0));
        EXPECT_FALSE(reader.tryLock());
        UnixLock::cleanSemaphore("agent");
        EXPECT_FALSE(writer.unlock());
        EXPECT_FALSE(writer.unlock()) << "still held";
    }
    EXPECT_FALSE(exists(lockFile));
    UnixLock const observer("agent");
    { EXPECT_TRUE(InterProcessWriteLock("agent").lock(0)); }
    { EXPECT_TRUE(InterProcessReadLock("agent").lock(0)); }
    EXPECT_THAT(counts(), ElementsAre(0, 0, 1));
}

TEST_F(UnixLockTest, AForkedChildLeavesTheParentsHoldAlone) {
    auto guard = std::make_unique<InterProcessWriteLock>("agent");
    ASSERT_TRUE(guard->lock(0));
    ChildProcess child([&guard] {
        bool const does = guard->unlock() || guard->tryLock() || guard->lock(0);
        guard.reset();
        return !does && counts() == std::vector<int>{1, 1, 1};
    });
    EXPECT_TRUE(child.join());
    EXPECT_THAT(counts(), ElementsAre(1, 1, 1));
    EXPECT_TRUE(exists(lockFile));
}

TEST_F(UnixLockTest, EndsWithoutAFreeDescriptor) {
    { UnixLock const seen("seen"); } // a sanitizer that sees the type first without descriptors misjudges it
    auto lock = std::make_unique<UnixLock>("agent");
    noteKey();
    rlimit limit{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
    rlimit const none{0, limit.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    lock.reset();
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
    expectNothingLeft();
}

TEST_F(UnixLockTest, AProcessThatCannotLogStopsNobody) {
    using orvane_com::zun::logger::ILogger;
    UnixLock const first("agent");
    ChildProcess blocked([] {
        int ends[2];
        if (pipe(ends) != 0 || dup2(ends[1], STDOUT_FILENO) == -1)
            return false;
        fcntl(ends[1], F_SETFL, O_NONBLOCK);
        while (write(ends[1], "full", 4) != -1)
            ;
        fcntl(ends[1], F_SETFL, 0);
        ILogger::GetLogger()->Start();
        ILogger::GetLogger()->setMinLogLevel(orvane_com::zun::logger::Debug);
        UnixLock const second("agent"); // which says that the set exists
        return false;
    });
    while (counts()[2] < 2)
        std::this_thread::yield();
    { UnixLock const third("agent"); }
    EXPECT_THAT(counts(), ElementsAre(0, 0, 2));
    EXPECT_TRUE(blocked.kill()) << hadEnded;
}

/// Children that were forked while the lock file was locked have its descriptor, too.
TEST_F(UnixLockTest, WhatAThreadForksMeanwhileKeepsNoLockFile) {
    std::vector<ChildProcess> children;
    std::atomic<bool> done = false;
    std::thread forking([&] {
        for (int count = 0; count < 100 && !done; ++count)
            children.emplace_back([] { return pause() == 0; });
        done = true;
    });
    while (!done)
        done = !InterProcessReadLock("agent").isMade() || done;
    forking.join();
    EXPECT_EQ(children.size(), 100u);
}

TEST_F(UnixLockTest, ProcessesCountExactlyWhileTheSetComesAndGoes) {
    constexpr int processes = 8;
    constexpr int rounds = 2000;
    int const file = open("/number", O_RDWR | O_CREAT, 0600);
    auto const addOne = [file] {
        int number = 0;
        ssize_t const size = pread(file, &number, sizeof number, 0);
        ++number;
        return size != -1 && pwrite(file, &number, sizeof number, 0) == sizeof number;
    };
    runInProcesses(processes, [&](int) {
        int const descriptors = openDescriptors();
        for (int round = 0; round < rounds; ++round) {
            InterProcessWriteLock lock("agent");
            if (!lock.lock(0) || !addOne())
                return false;
            noteKey();
        }
        return openDescriptors() == descriptors;
    });
    int number = 0;
    EXPECT_EQ(pread(file, &number, sizeof number, 0), ssize_t{sizeof number});
    EXPECT_EQ(number, processes * rounds);
    close(file);
    expectNothingLeft();
}

TEST_F(UnixLockTest, KilledProcessesLeaveNeitherHoldNorReference) {
    auto const work = [this] {
        for (int round = 0;; ++round) {
            UnixLock lock("agent");
            noteKey();
            if (!(round % 3 == 0 ? lock.writeLock(0) && lock.writeUnlock()
                                 : lock.readLock(0) && lock.readUnlock()))
                return false;
        }
    };
    std::vector<ChildProcess> processes;
    for (int process = 0; process < 4; ++process)
        processes.emplace_back(work);
    std::mt19937 random(1);
    for (int round = 0; round < 200; ++round) {
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 2000));
        ChildProcess& victim = processes[random() % processes.size()];
        EXPECT_TRUE(victim.kill()) << hadEnded;
        victim = ChildProcess(work);
    }
    for (ChildProcess& process : processes)
        EXPECT_TRUE(process.kill()) << hadEnded;
    {
        UnixLock const lock("agent");
        EXPECT_THAT(counts(), ElementsAre(0, 0, 1));
    }
    expectNothingLeft();
}

TEST_F(UnixLockTest, NeitherKillsNorSignalsComeBetweenAWaitAndItsLock) {
    UnixLock const lock("agent");
    ChildProcess holder([] {
        UnixLock held("agent");
        return held.writeLock(0) && pause() == 0;
    });
    while (counts()[0] == 0)
        std::this_thread::yield();
    ChildProcess waiting([] { return InterProcessWriteLock("agent").lock(0); });
    awaitWaiters(1);
    ChildProcess next([] { return InterProcessReadLock("agent").lock(0); });
    awaitWaiters(2);
    kill(next.id(), SIGSTOP); // which ends the system call that waits; see signal(7)
    EXPECT_EQ(waitpid(next.id(), nullptr, WUNTRACED), next.id());
    kill(next.id(), SIGCONT);
    EXPECT_TRUE(waiting.kill()) << hadEnded;
    EXPECT_TRUE(holder.kill()) << hadEnded;
    EXPECT_TRUE(next.join());
    EXPECT_THAT(counts(), ElementsAre(0, 0, 1));
}

} // namespace
