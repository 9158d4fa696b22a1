#include <zun/lock/InterProcessLock.h>
#include <zun/lock/UnixLock.h>

#include <gmock/gmock.h>

#include <array>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <random>
#include <sys/ipc.h>
#include <sys/mman.h>
#include <sys/sem.h>
#include <sys/wait.h>
#include <tests/lock/LockFixture.h>
#include <thread>
#include <unistd.h>

using namespace orvane_com::zun::lock;
using testing::ElementsAre;

namespace {

constexpr unsigned short writerFlag = 0;

/// Notes, for all processes, the keys that a name's sets have had: a lock file made anew may have another
/// one.
class SeenKeys {
public:
    SeenKeys()
        : m_seen(
              static_cast<bool*>(mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANON, -1, 0))) {
    }
    ~SeenKeys() { munmap(m_seen, size); }

    void note(std::string const& lockFile) const { m_seen[ftok(lockFile.c_str(), 3737) & 0xffff] = true; }

    int countSets(std::string const& anyFile) const {
        int sets = 0;
        for (key_t inode = 0; inode < size; ++inode)
            if (m_seen[inode])
                sets += semget((ftok(anyFile.c_str(), 3737) & ~0xffff) | inode, 0, 0) != -1;
        return sets;
    }

private:
    static constexpr int size = 0x10000;
    bool* const m_seen;
};

class LockProcessesTest : public LockFixture {
protected:
    /// Fails the test when anything of the lock is left in the system.
    void expectNothingLeft() const {
        EXPECT_FALSE(std::filesystem::exists(lockFile()));
        EXPECT_EQ(keys.countSets(lockDirectory), 0);
    }

    SeenKeys keys;
};

int countDescriptors() {
    int open = 0;
    for (int descriptor = 0; descriptor < 1024; ++descriptor)
        open += fcntl(descriptor, F_GETFD) != -1;
    return open;
}

TEST_F(LockProcessesTest, CountsExactlyWhileTheSetComesAndGoes) {
    constexpr int processes = 8;
    constexpr int rounds = 2000;
    int const number = open("/number", O_RDWR | O_CREAT, 0600);
    std::vector<pid_t> children;
    for (int process = 0; process < processes; ++process)
        children.push_back(start([&] {
            int const descriptors = countDescriptors();
            for (int round = 0; round < rounds; ++round) {
                InterProcessWriteLock lock("agent");
                if (!lock.lock(0))
                    return false;
                keys.note(lockFile());
                int value = 0;
                pread(number, &value, sizeof value, 0);
                ++value;
                if (pwrite(number, &value, sizeof value, 0) != sizeof value)
                    return false;
            }
            return countDescriptors() == descriptors;
        }));
    for (pid_t const child : children)
        EXPECT_TRUE(join(child));
    int value = 0;
    EXPECT_EQ(pread(number, &value, sizeof value, 0), ssize_t{sizeof value});
    EXPECT_EQ(value, processes * rounds);
    close(number);
    expectNothingLeft();
}

TEST_F(LockProcessesTest, KilledProcessesLeaveNeitherHoldNorReference) {
    auto const work = [this] {
        for (int round = 0;; ++round) {
            UnixLock lock("agent");
            keys.note(lockFile());
            if (round % 3 == 0)
                lock.writeLock(0) && lock.writeUnlock();
            else
                lock.readLock(0) && lock.readUnlock();
        }
        return false;
    };
    std::array<pid_t, 4> processes;
    for (pid_t& process : processes)
        process = start(work);
    std::mt19937 random(1);
    for (int round = 0; round < 200; ++round) {
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 2000));
        pid_t& victim = processes[random() % processes.size()];
        kill(victim);
        victim = start(work);
    }
    for (pid_t const process : processes)
        kill(process);
    {
        UnixLock const lock("agent");
        EXPECT_THAT(counts(), ElementsAre(0, 0, 1));
    }
    expectNothingLeft();
}

TEST_F(LockProcessesTest, TheNextProcessGetsTheLockOfAKilledOne) {
    UnixLock const lock("agent");
    auto const write = [] { return InterProcessWriteLock("agent").lock(0); };
    pid_t const holder = start([] {
        UnixLock held("agent");
        held.writeLock(0);
        pause();
        return false;
    });
    while (counts()[writerFlag] == 0)
        std::this_thread::yield();
    pid_t const waiting = start(write);
    waitForWaiters(writerFlag, 1);
    pid_t const next = start(write);
    waitForWaiters(writerFlag, 2);
    kill(waiting);
    kill(holder);
    EXPECT_TRUE(join(next));
    EXPECT_THAT(counts(), ElementsAre(0, 0, 1));
}

TEST_F(LockProcessesTest, ASignalDoesNotEndAWait) {
    UnixLock lock("agent");
    ASSERT_TRUE(lock.writeLock(0));
    pid_t const waiting = start([] { return InterProcessReadLock("agent").lock(0); });
    waitForWaiters(writerFlag, 1);
    ::kill(waiting, SIGSTOP);
    int status = 0;
    ASSERT_EQ(waitpid(waiting, &status, WUNTRACED), waiting);
    EXPECT_TRUE(WIFSTOPPED(status));
    ::kill(waiting, SIGCONT);
    EXPECT_TRUE(lock.writeUnlock());
    EXPECT_TRUE(join(waiting));
}

} // namespace
