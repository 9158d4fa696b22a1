#include <tests/support/Crowd.h>
#include <tests/support/LoggerFixture.h>

#include <gmock/gmock.h>

#include <chrono>
#include <fcntl.h>
#include <filesystem>
#include <map>
#include <random>
#include <sys/file.h>
#include <thread>
#include <unistd.h>

using namespace orvane_com::zun::logger;
using testing::EndsWith;
using testing::HasSubstr;

namespace {

class LogProcessesTest : public LoggerFixture {
protected:
    /// How often each message stands in the live file and all backups.
    std::map<std::string, int> countMessages() const {
        std::map<std::string, int> counts;
        for (auto const& entry : std::filesystem::directory_iterator(directory.path()))
            for (std::string const& line : readLogLines(entry.path())) {
                std::size_t const message = line.find("] [I] ");
                if (message != std::string::npos)
                    ++counts[line.substr(message + 6)];
                else
                    EXPECT_THAT(line, EndsWith("] Rotating log files"));
            }
        return counts;
    }
};

TEST_F(LogProcessesTest, ProcessesShareOneRotatingFile) {
    constexpr int processes = 4;
    constexpr int threads = 2;
    constexpr int messages = 1500;
    std::wstring const filling(200, L'.');
    runInProcesses(processes, [&](int process) {
        attach("agent.log");
        logger().setMaxLogFileSize(16);
        logger().setNumberOfBackupLogs(100000);
        runInThreads(threads, [&](int thread) {
            std::wstring const name = std::to_wstring(process) + L"/" + std::to_wstring(thread) + L"/";
            for (int message = 0; message < messages; ++message)
                logger().logMessage(Info, L"g", name + std::to_wstring(message) + filling);
        });
        return true;
    });
    std::map<std::string, int> const counts = countMessages();
    EXPECT_EQ(counts.size(), std::size_t{processes * threads * messages});
    for (auto const& [message, count] : counts)
        EXPECT_EQ(count, 1) << message;
    EXPECT_TRUE(std::filesystem::exists(path("agent_backup_5.log"))) << "the file was meant to rotate";
}

TEST_F(LogProcessesTest, AChildsLinesHaveItsOwnNumber) {
    attach("agent.log");
    logger().logMessage(Info, L"g", L"parent");
    ChildProcess child([] {
        logger().logMessage(Info, L"g", L"child");
        return true;
    });
    std::string const number = " [" + std::to_string(child.id()) + "] ";
    EXPECT_TRUE(child.join());
    EXPECT_THAT(lines("agent.log").back(), HasSubstr(number));
}

TEST_F(LogProcessesTest, KilledProcessesLeaveWholeLines) {
    constexpr int processes = 300;
    std::mt19937 random(1);
    std::uniform_int_distribution<int> microseconds(0, 4000);
    for (int process = 0; process < processes; ++process) {
        ChildProcess child([this] {
            attach("agent.log");
            for (long message = 0;; ++message)
                logger().logMessage(Info, L"g", std::wstring(100, L'a' + wchar_t(message % 26)) + L'!');
            return false;
        });
        std::this_thread::sleep_for(std::chrono::microseconds(microseconds(random)));
        EXPECT_TRUE(child.kill()) << "it had ended before";
    }
    // A write is not atomic against a kill where it crosses a page of the page cache.
    long const page = sysconf(_SC_PAGESIZE);
    long torn = 0;
    std::size_t whole = 0;
    for (auto const& entry : std::filesystem::directory_iterator(directory.path())) {
        std::string const all = readFile(entry.path());
        std::size_t begin = 0;
        for (std::size_t end; (end = all.find("\r\n", begin)) != std::string::npos; begin = end + 2) {
            std::string const line = all.substr(begin, end - begin);
            bool const isWhole = line.size() > 101 && line.back() == '!' &&
                                 line.find('!') == line.size() - 1 && line.compare(0, 2, "20") == 0;
            bool const isNote = line.find("Rotating log files") != std::string::npos;
            if (isWhole)
                ++whole;
            else if (!isNote) {
                ++torn;
                EXPECT_NE(begin / static_cast<std::size_t>(page), end / static_cast<std::size_t>(page))
                    << line;
            }
        }
    }
    EXPECT_GT(whole, std::size_t{processes});
    EXPECT_LE(torn, processes);
}

TEST_F(LogProcessesTest, ARotatorThatIsStoppedHoldsNobodyUp) {
    attach("agent.log");
    logger().setMaxLogFileSize(0);
    writeFile(path("agent.log"), "x\r\n");
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    ChildProcess child([&] {
        int const locked = open(path("agent.log.lock").c_str(), O_RDWR | O_CREAT, 0600);
        if (flock(locked, LOCK_EX) == 0 && write(ready[1], "x", 1) == 1)
            pause();
        return false;
    });
    char byte = 0;
    ASSERT_EQ(read(ready[0], &byte, 1), 1);
    logger().logMessage(Info, L"g", L"goes on");
    EXPECT_TRUE(child.kill()) << "it had ended before";
    close(ready[0]);
    close(ready[1]);
    auto const written = lines("agent.log");
    ASSERT_EQ(written.size(), 2u);
    EXPECT_THAT(written[1], EndsWith("goes on"));
}

} // namespace
