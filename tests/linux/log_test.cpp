#include <tests/support/Allocations.h>
#include <tests/support/LogCapture.h>
#include <zun/linux/log.h>

#include <gmock/gmock.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <thread>

using namespace orvane_com::zun::logger;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

TEST(LogTest, EachFunctionHasItsLevelAndText) {
    LogCapture log;
    logMessage(Warn, L"A", L"m");
    logDetail(L"A", L"m");
    logInfo(L"A", L"m");
    logErrorNoStack(L"A", L"m");
    logError(L"A", L"m");
    logInternalError(L"A", L"m");
    logResult(L"A", L"m");
    EXPECT_FALSE(logDetailListContains("A"));
    EXPECT_THAT(log.takeLines(), ElementsAre("[A] [W] m", "[A] [D] m", "[A] [I] m", "[A] [E] m",
                                             "[A] [E] Error trace:", "[A] [E]   m",
                                             "[A] [E] internal error: m", "[A] [D] =m"));
}

TEST(LogTest, ErrnoIsReportedAndKept) {
    TemporaryDirectory directory;
    writeFile(directory.file("file"), "");
    ILogger::FreeLogger();
    errno = EDOM;
    setupLog(directory.wideFile("file/agent.log").c_str(), L"", false, false);
    EXPECT_EQ(errno, EDOM);
    LogCapture log;
    errno = ENOENT;
    logErrno(L"A");
    EXPECT_EQ(errno, ENOENT);
    EXPECT_TRUE(logErrnoIf(L"A", true));
    EXPECT_FALSE(logErrnoIf(L"A", false));
    EXPECT_THAT(log.takeLines(), ElementsAre("[A] [E] Error trace:", "[A] [E]   No such file or directory",
                                             "[A] [E] Error trace:", "[A] [E]   No such file or directory"));
}

TEST(LogTest, AnErrorIsExplainedByTheThreadsOpenTraces) {
    LogCapture log;
    AnInfoTrace const outer(L"A", L"outer");
    { ADetailTrace const closed(L"X", L"closed"); }
    ADetailTrace inner(L"B", L"inner");
    inner.set(L"changed", false);
    std::thread([] {
        ATrace const silent;
        logError(L"T", L"elsewhere");
    }).join();
    logError(L"C", L"m");
    inner.set(nullptr, true);
    EXPECT_THAT(log.takeLines(), ElementsAre("[A] [I] outer", "[X] [D] closed", "[B] [D] inner",
                                             "[T] [E] Error trace:", "[] [E]  []->", "[T] [E]   elsewhere",
                                             "[C] [E] Error trace:", "[A] [E]  [outer]->",
                                             "[B] [E]  [changed]->", "[C] [E]   m", "[B] [D] (null)"));
}

TEST(LogTest, TracesLeftOpenOnTheHeapEndWithTheirThread) {
    LogCapture log;
    static int ended = 0;
    struct Counted : ADetailTrace {
        Counted() : ADetailTrace(L"A", L"left open") {}
        ~Counted() override { ++ended; }
    };
    std::thread([] {
        new Counted;
        new Counted;
    }).join();
    EXPECT_EQ(ended, 2);
}

TEST(LogTest, AMissingTextEndsTheProcess) {
    LogCapture log;
    std::string const assertion = "\\.\\./linux/log.*118.*logGroup && message";
    EXPECT_DEATH(logDetail(nullptr, L"m"), assertion);
    EXPECT_DEATH(logError(L"A", nullptr), assertion);
    setLogging(false);
    EXPECT_DEATH(logResult(L"A", nullptr), assertion) << "at any level";
}

TEST(LogTest, ReportsBelowTheMinimumLevelAllocateNothing) {
    LogCapture log;
    setLogLevelDetailed(false);
    EXPECT_FALSE(isDetailLoggingEnabled());
    std::wstring const message(1000, L'x');
    long const before = allocationCount();
    logDetail(L"a group with a long name", message.c_str());
    logResult(L"a group with a long name", message.c_str());
    EXPECT_EQ(allocationCount(), before);
    setLogging(false);
    setLogging(true);
    logInternalError(L"a group with a long name", message.c_str());
    EXPECT_EQ(allocationCount(), before);
    std::thread([&message] {
        long const first = allocationCount();
        logError(L"a group with a long name", message.c_str());
        logErrno(L"a group with a long name");
        EXPECT_EQ(allocationCount(), first);
    }).join();
    EXPECT_THAT(log.takeLines(), IsEmpty());
    setLogLevelDetailed(true);
    EXPECT_TRUE(isDetailLoggingEnabled());
}

TEST(LogTest, SizeAndBackupsArePassedOn) {
    LogCapture log;
    TemporaryDirectory directory;
    ILogger::GetLogger()->attach(directory.wideFile("agent.log"));
    setMaxRollovers(0);
    setLogFileSize(0);
    for (int i = 0; i < 3; ++i)
        logInfo(L"A", L"rotates each time");
    EXPECT_TRUE(std::filesystem::exists(directory.file("agent_backup_1.log")));
    EXPECT_FALSE(std::filesystem::exists(directory.file("agent_backup_2.log")));
    setLogFileSize(1);
    std::string const before = readFile(directory.file("agent_backup_1.log"));
    logInfo(L"A", std::wstring(100 * 1024, L'x').c_str());
    logInfo(L"A", L"below a limit of 1024 KiB");
    EXPECT_EQ(readFile(directory.file("agent_backup_1.log")), before);
}

TEST(LogTest, TheMainFunctionIsWrapped) {
    TemporaryDirectory directory;
    std::wstring const path = directory.wideFile("agent.log");
    ILogger::FreeLogger();
    static char name[] = "program";
    char* arguments[] = {name, nullptr};
    int const result = runMainWithLogging(
        [](int count, char** values) {
            logError(L"A", L"inside");
            return count + (std::strcmp(values[0], "program") == 0 ? 41 : 0);
        },
        1, arguments, path.c_str(), nullptr, false);
    EXPECT_EQ(result, 42);
    EXPECT_THROW(runMainWithLogging([](int, char**) -> int { throw std::runtime_error("out"); }, 1, arguments,
                                    path.c_str(), nullptr, true),
                 std::runtime_error);
    EXPECT_TRUE(setupMainThreadForLogging([] { logInfo(L"A", L"body"); }));
    std::string const all = readFile(directory.file("agent.log"));
    std::size_t position = 0;
    for (std::string const expected :
         {"[A] [E] Error trace:", "[Log] [E]  [Main thread]->", "[A] [E]   inside", "[Log] [I] Exit program",
          "[A] [I] body", "[Log] [I] Exit program"}) {
        position = all.find(expected, position);
        ASSERT_NE(position, std::string::npos) << expected << " in\n" << all;
        position += expected.size();
    }
    EXPECT_EQ(all.find("Exit program", position), std::string::npos);
}

TEST(LogTest, AProgramMayExitInsideItsTraces) {
    EXPECT_EXIT(
        {
            ADetailTrace const open(L"A", L"open");
            std::exit(7);
        },
        testing::ExitedWithCode(7), "");
}

} // namespace
