#include <tests/allocation/FailingAllocations.h>
#include <tests/support/Allocations.h>
#include <tests/support/LoggerFixture.h>
#include <zun/binary/ABuffer.h>
#include <zun/linux/log.h>

#include <gmock/gmock.h>

#include <cerrno>
#include <filesystem>
#include <map>

using namespace orvane_com::zun::logger;
using testing::AnyOf;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class DiagnosticsAllocation : public AllocationTest {
protected:
    /// The logger gives back the room that it keeps for lines.
    void giveBackRoom() {
        logInfo(L"Test", std::wstring(70'000, L'x').c_str());
        log.takeLines();
    }

    /// The report makes one line, whole or not at all.
    template <typename Report>
    void failReport(Report const& report, std::string const& line) {
        auto const run = [&]() noexcept {
            errno = EISDIR;
            report();
            return errno == EISDIR;
        };
        auto const check = [&](bool) { EXPECT_THAT(log.takeLines(), AnyOf(IsEmpty(), ElementsAre(line))); };
        failEach(run, check, [this] { giveBackRoom(); });
    }

    ILogger& logger = *ILogger::GetLogger();
};

TEST_F(DiagnosticsAllocation, ALineIsWrittenWholeOrLost) {
    std::string const name(2000, 'n');
    std::wstring const wide(name.begin(), name.end());
    failReport([&] { logInfo(L"Group", wide.c_str()); }, "[Group] [I] " + name);
    failReport([&] { logger.logMessage(Info, name); }, name);
    failReport([&] { logger.logMessage(Warn, Agent, 0x4003, wide.c_str()); },
               "[Agent]  [W] Failed to open file " + name);
}

TEST_F(DiagnosticsAllocation, AnErrorNeedsNoMemory) {
    ATrace const trace(L"Test", L"what goes on", true, false);
    logInfo(L"Test", std::wstring(1000, L'x').c_str()); // what the line's room grows to
    log.takeLines();
    ABuffer buffer;
    {
        AllocationFailure const failure(1, AllocationFailure::Extent::allFromThere);
        errno = EISDIR;
        logErrno(L"Group");
        EXPECT_EQ(errno, EISDIR);
        EXPECT_FALSE(AllocationFailure::happened());
        EXPECT_FALSE(buffer.tryAllocate(1000));
    }
    EXPECT_THAT(log.takeLines(),
                ElementsAre("[Group] [E] Error trace:", "[Test] [E]  [what goes on]->",
                            "[Group] [E]   Is a directory",
                            "[Buffer] [E] Error trace:", "[Test] [E]  [what goes on]->",
                            "[Buffer] [E]   Exception std::bad_alloc trying to allocate 1000 bytes"));
}

TEST_F(DiagnosticsAllocation, AReportWithoutRoomForALoggerIsLost) {
    ILogger::FreeLogger();
    AllocationFailure const failure(1, AllocationFailure::Extent::allFromThere);
    EXPECT_NO_THROW(logError(L"Group", L"error"));
    EXPECT_TRUE(AllocationFailure::happened());
}

TEST_F(DiagnosticsAllocation, ATraceIsOpenOrNot) {
    failEach([] {
        AnInfoTrace const outer(L"Group", L"a trace with a long message");
        ADetailTrace inner(L"Group", L"another trace");
        inner.set(L"a message that is longer than the one before", true);
        logError(L"Group", L"error");
        return true;
    });
}

TEST_F(DiagnosticsAllocation, AFileIsAttachedOrNot) {
    std::wstring const file = path("deep/down/file.log");
    failEach([&]() noexcept { return logger.attach(file); },
             [&](bool done) { EXPECT_EQ(logger.detach(file), done); }, [&] { logger.detach(file); });
}

TEST_F(DiagnosticsAllocation, APolicyIsTakenOrNot) {
    std::wstring const no = L"0";
    std::wstring const yes = L"1";
    std::wstring const size = L"2000000";
    auto const check = [&](bool done) {
        EXPECT_EQ(logger.isDetailLoggingEnabled(), !done);
        logger.setMinLogLevel(Debug);
    };
    failEach([&]() noexcept { return logger.EnforcePolicy(yes, no, no, size); }, check,
             [&] { logger.EnforcePolicy(yes, yes, yes, size); });
}

using RotationAllocation = LoggerFixture;

TEST_F(RotationAllocation, LosesNoGeneration) {
    std::vector<std::string> const names{"log", "log_backup_1.log", "log_backup_2.log", "log_backup_3.log"};
    logger().setMaxLogFileSize(0);
    logger().setNumberOfBackupLogs(9);
    ASSERT_TRUE(attach("log"));
    auto const prepare = [&] {
        for (auto const& entry : std::filesystem::directory_iterator(directory.path()))
            std::filesystem::remove(entry);
        for (std::string const& name : names)
            writeFile(path(name), name + "\r\n");
    };
    auto const run = []() noexcept {
        logInfo(L"Group", L"a line behind the rotation");
        return true;
    };
    auto const check = [&](bool) {
        std::map<std::string, int> found;
        for (auto const& entry : std::filesystem::directory_iterator(directory.path()))
            for (std::string const& line : readLogLines(entry.path()))
                ++found[line];
        for (std::string const& name : names)
            EXPECT_EQ(found[name], 1) << name;
    };
    failEachAllocation(run, check, prepare);
}

} // namespace
