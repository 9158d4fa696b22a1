#include <tests/support/LoggerFixture.h>

#include <gmock/gmock.h>

#include <filesystem>
#include <limits>
#include <set>
#include <sys/stat.h>

using namespace orvane_com::zun::logger;
using testing::ElementsAre;
using testing::EndsWith;
using testing::MatchesRegex;
using testing::SizeIs;
using testing::UnorderedElementsAre;

namespace {

class LogRotationTest : public LoggerFixture {
protected:
    LogRotationTest() { logger().setMaxLogFileSize(1); }

    void log(std::wstring const& message) { logger().logMessage(Info, L"g", message); }

    /// Every file below the directory.
    std::set<std::string> files() const {
        std::set<std::string> names;
        for (auto const& entry : std::filesystem::recursive_directory_iterator(directory.path()))
            if (entry.is_regular_file())
                names.insert(std::filesystem::relative(entry.path(), directory.path()));
        return names;
    }
};

TEST_F(LogRotationTest, AFileOverTheLimitBecomesTheFirstBackup) {
    writeFile(path("agent.log"), std::string(1022, 'x') + "\r\n");
    attach("agent.log");
    attach("other.log");
    log(L"at the limit");
    EXPECT_THAT(files(), UnorderedElementsAre("agent.log", "other.log"));
    log(L"over it");
    EXPECT_THAT(lines("agent.log"), ElementsAre(EndsWith("over it")));
    std::string const note = "[-0-9:. ]+ \\[[0-9]+\\] Rotating log files";
    EXPECT_THAT(lines("agent_backup_1.log"),
                ElementsAre(std::string(1022, 'x'), EndsWith("at the limit"), MatchesRegex(note)));
    EXPECT_THAT(lines("other.log"),
                ElementsAre(EndsWith("at the limit"), MatchesRegex(note), EndsWith("over it")));
}

TEST_F(LogRotationTest, GenerationsShiftAndTheOldestIsDropped) {
    logger().setNumberOfBackupLogs(3);
    // What looks like a generation, but is none that a rotation makes, stays where it is.
    for (char const* const name :
         {"agent_backup_03.log", "agent_backup_x.log", "agent_backup_2.log.old", "agent_backup_9.log"})
        writeFile(path(name), "mine");
    attach("agent.log");
    std::wstring const large(2000, L'x');
    for (wchar_t const digit : L"12345")
        if (digit)
            log(large + digit);
    EXPECT_THAT(lines("agent.log"), ElementsAre(EndsWith("x5")));
    for (int generation = 1; generation <= 3; ++generation) {
        auto const backup = lines("agent_backup_" + std::to_string(generation) + ".log");
        ASSERT_THAT(backup, SizeIs(2));
        EXPECT_THAT(backup[0], EndsWith("x" + std::to_string(5 - generation)));
    }
    EXPECT_THAT(files(),
                UnorderedElementsAre("agent.log", "agent_backup_1.log", "agent_backup_2.log",
                                     "agent_backup_3.log", "agent_backup_03.log", "agent_backup_x.log",
                                     "agent_backup_2.log.old", "agent_backup_9.log"));
    // A gap is closed by the next rotation; a number without bounds costs no more than the files there are.
    std::filesystem::remove(path("agent_backup_1.log"));
    logger().setNumberOfBackupLogs(std::numeric_limits<std::int32_t>::max());
    log(large + L"6");
    EXPECT_THAT(lines("agent_backup_1.log")[0], EndsWith("x5"));
    EXPECT_THAT(lines("agent_backup_3.log")[0], EndsWith("x3"));
    EXPECT_THAT(lines("agent_backup_4.log")[0], EndsWith("x2"));
    EXPECT_EQ(readFile(path("agent_backup_10.log")), "mine");
}

TEST_F(LogRotationTest, WithoutBackupsTheFileGrowsOn) {
    logger().setNumberOfBackupLogs(0);
    attach("agent.log");
    for (int i = 0; i < 3; ++i)
        log(std::wstring(2000, L'x'));
    EXPECT_THAT(lines("agent.log"), SizeIs(5));
    EXPECT_THAT(files(), UnorderedElementsAre("agent.log"));

    logger().setNumberOfBackupLogs(5);
    logger().EnforcePolicy(L"1", L"0", L"0", L"0");
    log(L"rotation is off");
    EXPECT_THAT(files(), UnorderedElementsAre("agent.log"));
    logger().EnforcePolicy(L"0", L"0", L"1", L"0");
    EXPECT_TRUE(logger().logRotate());
    EXPECT_THAT(lines("agent_backup_1.log"), SizeIs(6)) << "no note while logging is off";
}

TEST_F(LogRotationTest, NamesSplitAtTheFirstDotOfThePath) {
    ASSERT_EQ(directory.path().find('.'), std::string::npos);
    attach("agentlog");
    attach("sub [a]*/agent.tar.log");
    attach("app.d/agent.log");
    for (int i = 0; i < 2; ++i)
        log(std::wstring(2000, L'x'));
    // The last one's backup would stand in a directory that does not exist: the file goes on.
    EXPECT_THAT(files(), UnorderedElementsAre("agentlog", "agentlog_backup_1.log", "sub [a]*/agent.tar.log",
                                              "sub [a]*/agent_backup_1.tar.log", "app.d/agent.log"));
    EXPECT_THAT(lines("app.d/agent.log"), SizeIs(testing::Ge(3u)));
}

TEST_F(LogRotationTest, ADeletedOrReplacedFileIsFollowed) {
    attach("logs/agent.log");
    log(L"one");
    std::filesystem::remove_all(path("logs"));
    log(L"two");
    EXPECT_THAT(lines("logs/agent.log"), ElementsAre(EndsWith("two")));
    std::filesystem::rename(path("logs/agent.log"), path("logs/moved"));
    ASSERT_EQ(mkfifo(path("logs/agent.log").c_str(), 0600), 0);
    log(L"three, while there is no file to open");
    std::filesystem::remove(path("logs/agent.log"));
    writeFile(path("logs/agent.log"), "theirs\r\n");
    log(L"four");
    EXPECT_THAT(lines("logs/agent.log"), ElementsAre("theirs", EndsWith("four")));
    EXPECT_THAT(lines("logs/moved"), ElementsAre(EndsWith("two"), EndsWith("to open")));
}

} // namespace
