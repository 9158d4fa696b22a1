#include <tests/support/Crowd.h>
#include <tests/support/LoggerFixture.h>

#include <gmock/gmock.h>

#include <cerrno>
#include <chrono>
#include <clocale>
#include <ctime>
#include <iostream>
#include <pthread.h>
#include <sstream>
#include <unistd.h>

using namespace orvane_com::zun::logger;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::SizeIs;

namespace {

std::string const stamp = "[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}[.][0-9]{3}";

std::string prefix() {
    return stamp + " \\[" + std::to_string(getpid()) + "\\]  \\(" +
           std::to_string((unsigned long)pthread_self()) + "\\) ";
}

class ILoggerTest : public LoggerFixture {};

TEST_F(ILoggerTest, LineLayout) {
    ASSERT_TRUE(attach("agent.log"));
    logger().logMessage(Info, std::wstring(L"plain"));
    logger().logMessage(Warn, std::string("narrow \xC3\xA9 \xFF!"));
    logger().logMessage(Info, L"Agent", L"grouped");
    logger().logMessage(Err, L"TenLetters", L"");
    logger().logMessage(Crit, L"ElevenChars", L"a\nb\U0001F600");
    std::string const all = readFile(path("agent.log"));
    EXPECT_THAT(all, MatchesRegex(prefix() + "plain\r\n" + prefix() + "narrow \xC3\xA9 \xEF\xBF\xBD!\r\n" +
                                  prefix() + "     \\[Agent\\] \\[I\\] grouped\r\n" + prefix() +
                                  "\\[TenLetters\\] \\[E\\] \r\n" + prefix() +
                                  "\\[ElevenChars\\] \\[C\\] a\nb\xF0\x9F\x98\x80\r\n"));
}

TEST_F(ILoggerTest, TimeStampIsLocalTime) {
    setenv("TZ", "XYZ-5:30", 1);
    tzset();
    attach("agent.log");
    using Clock = std::chrono::system_clock; // time(2) may lag behind it
    std::time_t const before = Clock::to_time_t(Clock::now());
    logger().logMessage(Info, std::wstring(L"x"));
    std::time_t const after = Clock::to_time_t(Clock::now());
    std::tm written{};
    ASSERT_NE(strptime(readFile(path("agent.log")).c_str(), "%Y-%m-%d %H:%M:%S", &written), nullptr);
    written.tm_isdst = -1;
    std::time_t const time = std::mktime(&written);
    EXPECT_LE(before, time);
    EXPECT_LE(time, after);
}

TEST_F(ILoggerTest, LevelsAreTaggedAndFilteredByNumber) {
    attach("agent.log");
    logger().setMinLogLevel(Debug);
    for (int level = -1; level <= 7; ++level)
        logger().logMessage(static_cast<LogLevel>(level), L"g", L"m");
    std::vector<std::string> tags;
    for (std::string const& line : lines("agent.log"))
        tags.push_back(line.substr(line.find("[g]") + 3));
    EXPECT_THAT(tags,
                ElementsAre(" [D] m", " [I] m", " [N] m", " [W] m", " [E] m", " [C] m", " [X] m", " [I] m"));

    logger().setMinLogLevel(Crit);
    logger().logMessage(Err, L"g", L"dropped");
    logger().logMessage(static_cast<LogLevel>(7), L"g", L"kept");
    EXPECT_THAT(lines("agent.log"), SizeIs(9));
    EXPECT_FALSE(logger().isDetailLoggingEnabled());
    logger().setMinLogLevel(Debug);
    EXPECT_TRUE(logger().isDetailLoggingEnabled());
}

TEST_F(ILoggerTest, NothingIsWrittenUnlessStarted) {
    ILogger::FreeLogger();
    attach("agent.log");
    EXPECT_FALSE(logger().CheckSubsystem());
    logger().logMessage(Emer, L"g", L"before");
    EXPECT_EQ(readFile(path("agent.log")), "");
    EXPECT_TRUE(logger().Start());
    EXPECT_TRUE(logger().CheckSubsystem());
    EXPECT_TRUE(logger().Stop());
    EXPECT_TRUE(logger().Stop());
    logger().logMessage(Emer, L"g", L"after");
    EXPECT_THAT(lines("agent.log"), ElementsAre(EndsWith(")  [Management]  [I] Stopping Logger subsystem")));
    EXPECT_FALSE(logger().CheckSubsystem());
}

TEST_F(ILoggerTest, FilesAreAttachedByPath) {
    EXPECT_TRUE(attach("deep/er/agent.log"));
    EXPECT_TRUE(attach("second.log"));
    EXPECT_TRUE(attach("second.log"));
    logger().logMessage(Info, L"g", L"both");
    EXPECT_TRUE(logger().detach(directory.wideFile("second.log")));
    EXPECT_FALSE(logger().detach(directory.wideFile("second.log")));
    logger().logMessage(Info, L"g", L"first only");
    EXPECT_THAT(lines("deep/er/agent.log"), SizeIs(2));
    EXPECT_THAT(lines("second.log"), SizeIs(1));

    writeFile(path("file"), "");
    EXPECT_FALSE(attach("file/agent.log"));
    EXPECT_FALSE(attach("deep"));
    EXPECT_TRUE(logger().attach(directory.wideFile("") + L"\u00FCmlaut \u4E2D.log"));
    EXPECT_EQ(access(path("\xC3\xBCmlaut \xE4\xB8\xAD.log").c_str(), F_OK), 0);
}

TEST_F(ILoggerTest, StandardOutputServesWhenNoFileIsAttached) {
    std::setlocale(LC_ALL, "C");
    testing::internal::CaptureStdout();
    logger().logMessage(Info, L"g", L"\u4E2D");
    std::printf("between\n");
    std::ios::sync_with_stdio(false);
    logger().logMessage(Info, L"g", L"second");
    std::wstringbuf programsOwn;
    std::wstreambuf* const before = std::wcout.rdbuf(&programsOwn);
    logger().logMessage(Info, L"g", L"third \u4E2D");
    std::wcout.rdbuf(before);
    EXPECT_THAT(programsOwn.str(), EndsWith(L"[g] [I] third \u4E2D\n"));
    attach("agent.log");
    logger().logMessage(Info, L"g", L"to the file");
    EXPECT_THAT(testing::internal::GetCapturedStdout(),
                MatchesRegex(prefix() + "         \\[g\\] \\[I\\] \xE4\xB8\xAD\n" + "between\n" + prefix() +
                             "         \\[g\\] \\[I\\] second\n"));
}

TEST_F(ILoggerTest, PolicyIsReadFromTexts) {
    attach("agent.log");
    auto const logsAt = [this](LogLevel level) {
        std::size_t const before = readFile(path("agent.log")).size();
        logger().logMessage(level, L"g", L"m");
        return readFile(path("agent.log")).size() != before;
    };
    EXPECT_TRUE(logger().EnforcePolicy(L"1", L"1", L"0", L"2048"));
    EXPECT_TRUE(logsAt(Debug));
    logger().EnforcePolicy(L" ", L"0", L"", L"");
    EXPECT_FALSE(logsAt(Debug));
    EXPECT_TRUE(logsAt(Info));
    logger().EnforcePolicy(L"true", L"2", L"", L"");
    EXPECT_FALSE(logsAt(Emer));
    logger().EnforcePolicy(L"7", L"", L"", L"");
    EXPECT_TRUE(logsAt(Debug));

    // A size that is no number is 0: with rotation on, whatever is there rotates.
    EXPECT_EQ(access(path("agent_backup_1.log").c_str(), F_OK), -1);
    logger().EnforcePolicy(L"1", L"1", L"1", L"much");
    logger().logMessage(Info, L"g", L"first");
    EXPECT_EQ(access(path("agent_backup_1.log").c_str(), F_OK), 0);
    EXPECT_THAT(lines("agent.log"), ElementsAre(EndsWith("first")));
    EXPECT_TRUE(logger().EnforcePolicy());
}

TEST_F(ILoggerTest, ErrnoIsLeftAlone) {
    attach("agent.log");
    rmdir(directory.path().c_str());
    unlink(path("agent.log").c_str());
    errno = EDOM;
    logger().logMessage(Info, L"g", L"m");
    EXPECT_EQ(errno, EDOM);
}

TEST_F(ILoggerTest, ThreadsNeverShareALine) {
    attach("agent.log");
    constexpr int threads = 8;
    constexpr int messages = 500;
    runInThreads(threads, [](int thread) {
        for (int message = 0; message < messages; ++message)
            logger().logMessage(Info, L"thread" + std::to_wstring(thread), std::to_wstring(message));
    });
    std::vector<int> next(threads, 0);
    for (std::string const& line : lines("agent.log")) {
        std::size_t const group = line.find("[thread");
        ASSERT_NE(group, std::string::npos) << line;
        auto const thread = static_cast<std::size_t>(line[group + 7] - '0');
        EXPECT_THAT(line, EndsWith("] [I] " + std::to_string(next.at(thread)++)));
    }
    EXPECT_THAT(next, testing::Each(messages));
}

} // namespace
