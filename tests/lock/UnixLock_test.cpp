#include <zun/lock/InterProcessLock.h>
#include <zun/lock/UnixLock.h>

#include <gmock/gmock.h>

#include <filesystem>
#include <memory>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <tests/lock/LockFixture.h>
#include <tests/support/LogCapture.h>
#include <unistd.h>

using namespace orvane_com::zun::lock;
using std::filesystem::exists;
using testing::ElementsAre;

namespace {

class UnixLockTest : public LockFixture {
protected:
    /// What was logged since the last call, without the headings of errors.
    std::vector<std::string> takeLog() {
        std::vector<std::string> lines = m_log.takeLines();
        std::erase(lines, "[IPLock] [E] Error trace:");
        return lines;
    }

    static key_t makeLockFile() {
        writeFile(lockFile(), "");
        return ftok(lockFile().c_str(), 3737);
    }

private:
    LogCapture m_log;
};

TEST_F(UnixLockTest, ObjectsOnANameShareOneSetWhileThereAreAny) {
    {
        UnixLock first("agent");
        {
            UnixLock second("agent");
            EXPECT_TRUE(first.tryReadLock());
            EXPECT_TRUE(second.readLock(0));
            EXPECT_THAT(counts(), ElementsAre(0, 2, 2));
            EXPECT_FALSE(second.tryWriteLock());
            EXPECT_TRUE(first.readUnlock());
            EXPECT_TRUE(second.readUnlock());
            EXPECT_THAT(takeLog(),
                        ElementsAre("[IPLock] [D] Semaphore already exist.",
                                    "[IPLock] [D] readLock - providing read lock",
                                    "[IPLock] [D] readLock - providing read lock",
                                    "[IPLock] [E]   writeLock - Timeout occured , failed to acquire the lock",
                                    "[IPLock] [D] readUnLock - unlocking the read lock successful",
                                    "[IPLock] [D] readUnLock - unlocking the read lock successful"));
            EXPECT_TRUE(second.writeLock(0));
            EXPECT_THAT(counts(), ElementsAre(1, 1, 2));
            EXPECT_FALSE(first.tryReadLock());
            EXPECT_TRUE(first.writeUnlock()) << "holds know no owner";
            EXPECT_TRUE(first.tryWriteLock());
            EXPECT_TRUE(first.writeUnlock());
            EXPECT_THAT(takeLog(),
                        ElementsAre("[IPLock] [D] writeLock - providing write lock",
                                    "[IPLock] [E]   readLock - Timeout occured , failed to acquire the lock",
                                    "[IPLock] [D] writeUnLock - unlocking the write lock successful",
                                    "[IPLock] [D] writeLock - providing write lock",
                                    "[IPLock] [D] writeUnLock - unlocking the write lock successful"));
        }
        EXPECT_THAT(counts(), ElementsAre(0, 0, 1));
        UnixLock const other("other");
        EXPECT_THAT(counts(), ElementsAre(0, 0, 1));
    }
    EXPECT_FALSE(exists(lockFile()));
    EXPECT_THAT(takeLog(), ElementsAre());
}

TEST_F(UnixLockTest, OperationsOnACleanedSetFailAndItsSuccessorStays) {
    auto lock = std::make_unique<UnixLock>("agent");
    UnixLock::cleanSemaphore("agent");
    EXPECT_FALSE(exists(lockFile()));
    UnixLock successor("agent");
    EXPECT_FALSE(lock->readLock(0));
    EXPECT_FALSE(lock->writeLock(0));
    EXPECT_FALSE(lock->readUnlock());
    EXPECT_FALSE(lock->writeUnlock());
    lock.reset();
    EXPECT_THAT(takeLog(),
                ElementsAre("[IPLock] [I] readLock - Timeout occured , failed to acquire the lock",
                            "[IPLock] [E]   writeLock - Timeout occured , failed to acquire the lock",
                            "[IPLock] [E]   writeUnLock - decreasing the semaphore value failed",
                            "[IPLock] [E]   writeUnLock - decreasing the semaphore value failed",
                            "[IPLock] [E]   Failed to decrease the refrence count " + lockFile()));
    EXPECT_THAT(counts(), ElementsAre(0, 0, 1));
}

TEST_F(UnixLockTest, CleansWithoutTheLockDirectoryInTheFallbackDirectory) {
    key_t const key = makeLockFile();
    ASSERT_NE(semget(key, 3, IPC_CREAT | 0600), -1);
    std::filesystem::create_directory("/tmp");
    std::filesystem::rename(lockFile(), "/tmp/agent"); // which keeps the key
    UnixLock::cleanSemaphore("agent");
    EXPECT_NE(semget(key, 3, 0), -1);
    std::filesystem::remove(lockDirectory);
    InterProcessWriteLock::cleanSemaphore("agent");
    EXPECT_EQ(semget(key, 3, 0), -1);
    EXPECT_FALSE(exists("/tmp/agent"));
    EXPECT_THAT(takeLog(), ElementsAre());
}

TEST_F(UnixLockTest, ASetOfAnotherUserIsReplaced) {
    key_t const key = makeLockFile();
    ASSERT_TRUE(join(start([key] { return setuid(65534) == 0 && semget(key, 3, IPC_CREAT | 0600) != -1; })));
    int const foreign = findSet();
    UnixLock lock("agent");
    EXPECT_NE(findSet(), foreign);
    EXPECT_TRUE(lock.tryWriteLock());
    UnixLock const another("agent");
    EXPECT_THAT(takeLog(),
                ElementsAre("[IPLock] [D] Semaphore already exist.",
                            "[IPLock] [E]   A non-root instance of this semaphore encountered so deleting it",
                            "[IPLock] [D] writeLock - providing write lock",
                            "[IPLock] [D] Semaphore already exist."));
}

TEST_F(UnixLockTest, AFailureToSetUpIsLoggedAndThrown) {
    EXPECT_THROW(UnixLock("missing/agent"), std::exception);
    key_t const key = makeLockFile();
    int const tooSmall = semget(key, 1, IPC_CREAT | 0600);
    EXPECT_THROW(UnixLock("agent"), std::exception);
    semctl(tooSmall, 0, IPC_RMID);
    int const full = semget(key, 3, IPC_CREAT | 0600);
    ASSERT_TRUE(join(start([full] {
        sembuf toTheBrim{2, 32767, 0};
        return semop(full, &toTheBrim, 1) == 0;
    })));
    EXPECT_THROW(UnixLock("agent"), std::exception);
    semctl(full, 0, IPC_RMID);
    EXPECT_THAT(
        takeLog(),
        ElementsAre("[IPLock] [E]   Failed to create the file  " + lockDirectory + "missing/agent",
                    "[IPLock] [D] Semaphore already exist.",
                    "[IPLock] [E]   Failed to create the semaphore due to File exists first parameter is " +
                        std::to_string(key),
                    "[IPLock] [D] Semaphore already exist.",
                    "[IPLock] [E]   Failed to increase the refrence count due to " +
                        std::string(strerror(ERANGE))));
}

TEST_F(UnixLockTest, GuardsReleaseWhatTheyHold) {
    {
        InterProcessReadLock reader("agent");
        EXPECT_TRUE(reader.unlock()) << "nothing to do";
        EXPECT_TRUE(reader.tryLock());
        InterProcessWriteLock writer("agent");
        EXPECT_FALSE(writer.tryLock());
        EXPECT_TRUE(reader.unlock());
        EXPECT_TRUE(writer.lock(0));
        EXPECT_FALSE(reader.tryLock());
        UnixLock::cleanSemaphore("agent");
        EXPECT_FALSE(writer.unlock());
        EXPECT_FALSE(writer.unlock()) << "still held";
    }
    {
        UnixLock const observer("agent");
        { EXPECT_TRUE(InterProcessWriteLock("agent").lock(0)); }
        { EXPECT_TRUE(InterProcessReadLock("agent").lock(0)); }
        EXPECT_THAT(counts(), ElementsAre(0, 0, 1));
    }
    InterProcessReadLock broken("missing/agent");
    EXPECT_FALSE(broken.tryLock());
    EXPECT_FALSE(broken.lock(0));
    EXPECT_FALSE(broken.unlock());
}

} // namespace
