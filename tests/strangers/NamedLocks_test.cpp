#include <tests/support/LogCapture.h>
#include <tests/support/PrivateRoot.h>
#include <tests/support/Stranger.h>
#include <zun/lock/InterProcessLock.h>
#include <zun/lock/UnixLock.h>

#include <gmock/gmock.h>

#include <csignal>
#include <fcntl.h>
#include <functional>
#include <optional>
#include <sys/ipc.h>
#include <sys/sem.h>

using namespace orvane_com::zun::lock;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

namespace fs = std::filesystem;

std::string const lockDirectory = "/Library/Orvane/zun/scratch/";
std::string const lockFile = lockDirectory + "agent";

key_t keyOf(std::string const& path) {
    return ftok(path.c_str(), 3737);
}

bool plantSet(key_t key, int semaphores) {
    return semget(key, semaphores, IPC_CREAT | IPC_EXCL | 0600) != -1;
}

/// In a root directory of their own, which the stranger may look around in.
class NamedLocks : public StrangerTest {
protected:
    void SetUp() override {
        StrangerTest::SetUp();
        if (IsSkipped())
            return;
        if (!m_root.emplace().isEntered())
            GTEST_SKIP() << "only the super-user may have a root directory of its own";
        fs::create_directories(lockDirectory);
        fs::create_directory("/tmp");
        fs::permissions("/", fs::perms(0755));
        fs::permissions("/tmp", fs::perms(01777));
        m_log.emplace();
    }
    void TearDown() override { m_log.reset(); }

    std::optional<PrivateRoot> m_root;
    std::optional<LogCapture> m_log;
};

TEST_F(NamedLocks, PlantedSetsAreMadeAnewWhateverTheirSize) {
    for (int const semaphores : {1, 3, 10}) {
        writeFile(lockFile, "");
        key_t const key = keyOf(lockFile);
        m_log->takeLines();
        ASSERT_TRUE(asStranger([&] { return plantSet(key, semaphores); }));
        InterProcessWriteLock lock("agent");
        EXPECT_TRUE(lock.tryLock()) << semaphores;
        EXPECT_FALSE(asStranger([&] { return semget(key, 0, 0600) != -1; }));
        EXPECT_THAT(
            m_log->takeLines(),
            ElementsAre("[IPLock] [D] Semaphore already exist.", "[IPLock] [E] Error trace:",
                        "[IPLock] [E]   A non-root instance of this semaphore encountered so deleting it",
                        "[IPLock] [D] writeLock - providing write lock"));
    }
}

TEST_F(NamedLocks, WhoPlantsSetsAllTheWhileStopsNobody) {
    ChildProcess planter = startStranger([] {
        for (;;)
            plantSet(keyOf(lockFile), 1);
        return false;
    });
    for (int round = 0; round < 300; ++round) {
        InterProcessWriteLock lock("agent");
        ASSERT_TRUE(lock.lock(0)) << round;
    }
    EXPECT_TRUE(planter.kill());
}

/// In a directory that strangers may write, a lock file is the super-user's own.
TEST_F(NamedLocks, PlantedLockFilesAreRefused) {
    writeFile("/secret", "secret");
    fs::permissions("/secret", fs::perms(0644));
    struct {
        std::function<bool()> plant;
        char const* reason;
    } const attacks[] = {
        {[] { return symlink("/secret", lockFile.c_str()) == 0; },
         "a symbolic link on the way belongs to another user"},
        {[] { return symlink("/made", lockFile.c_str()) == 0; },
         "a symbolic link on the way belongs to another user"},
        {[] { return mkfifo(lockFile.c_str(), 0666) == 0; }, "it is no regular file"},
        {[] { return close(open(lockFile.c_str(), O_RDWR | O_CREAT, 0666)) == 0; },
         "it belongs to another user"},
    };
    for (unsigned const rights : {0777u, 01777u})
        for (auto const& [plant, reason] : attacks) {
            SCOPED_TRACE(reason);
            fs::permissions(lockDirectory, fs::perms(rights));
            ASSERT_TRUE(asStranger(plant));
            key_t const key = keyOf(lockFile);
            InterProcessWriteLock lock("agent");
            EXPECT_FALSE(lock.isMade() || lock.tryLock());
            EXPECT_TRUE(key == -1 || semget(key, 3, 0) == -1);
            EXPECT_THAT(m_log->takeLines(), Contains(HasSubstr(reason)));
            fs::remove(lockFile);
        }
    EXPECT_EQ(readFile("/secret"), "secret");
    EXPECT_FALSE(fs::exists("/made"));
}

/// Without the lock directory, sets are cleaned by files in one where anybody may have made them.
TEST_F(NamedLocks, CleaningIsNotLedToOtherSets) {
    fs::remove_all("/Library");
    writeFile("/other", "");
    ASSERT_TRUE(plantSet(keyOf("/other"), 3));
    ASSERT_TRUE(asStranger([] { return symlink("/other", "/tmp/agent") == 0; }));
    UnixLock::cleanSemaphore("agent");
    int const other = semget(keyOf("/other"), 3, 0);
    EXPECT_NE(other, -1);
    semctl(other, 0, IPC_RMID);
}

/// Whom the file is too closed for to write it can use it, for it is only looked at.
TEST_F(NamedLocks, AFileThatMayOnlyBeReadIsGoodEnough) {
    fs::permissions(lockDirectory, fs::perms(0777));
    m_log.reset(); // which the stranger cannot write
    EXPECT_TRUE(asStranger([] {
        close(open(lockFile.c_str(), O_RDONLY | O_CREAT, 0400));
        bool const held = InterProcessReadLock("agent").tryLock();
        return held && !fs::exists(lockFile);
    }));
}

} // namespace
