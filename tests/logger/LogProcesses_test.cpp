#include <gmock/gmock.h>

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <map>
#include <random>
#include <sys/file.h>
#include <sys/wait.h>
#include <tests/support/LoggerFixture.h>
#include <thread>
#include <unistd.h>

using namespace orvane_com::zun::logger;
using testing::EndsWith;

namespace {

class LogProcessesTest : public LoggerFixture {
protected:
    /// Runs `body` in a process of its own. The parent has no thread but its main one.
    static pid_t start(std::function<void()> const& body) {
        pid_t const process = fork();
        if (process == 0) {
            body();
            _exit(0);
        }
        return process;
    }

    static void join(pid_t process) {
        int status = 0;
        ASSERT_EQ(waitpid(process, &status, 0), process);
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    }

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
    std::vector<pid_t> children;
    for (int process = 0; process < processes; ++process)
        children.push_back(start([&] {
            attach("agent.log");
            logger().setMaxLogFileSize(16);
            logger().setNumberOfBackupLogs(100000);
            std::vector<std::thread> workers;
            for (int thread = 0; thread < threads; ++thread)
                workers.emplace_back([&, thread] {
                    std::wstring const name =
                        std::to_wstring(process) + L"/" + std::to_wstring(thread) + L"/";
                    for (int message = 0; message < messages; ++message)
                        logger().logMessage(Info, L"g", name + std::to_wstring(message) + filling);
                });
            for (std::thread& worker : workers)
                worker.join();
        }));
    for (pid_t const child : children)
        join(child);
    std::map<std::string, int> const counts = countMessages();
    EXPECT_EQ(counts.size(), std::size_t{processes * threads * messages});
    for (auto const& [message, count] : counts)
        EXPECT_EQ(count, 1) << message;
    EXPECT_TRUE(std::filesystem::exists(path("agent_backup_5.log"))) << "the file was meant to rotate";
}

TEST_F(LogProcessesTest, KilledProcessesLeaveWholeLines) {
    constexpr int processes = 300;
    std::mt19937 random(1);
    std::uniform_int_distribution<int> microseconds(0, 4000);
    for (int process = 0; process < processes; ++process) {
        pid_t const child = start([this] {
            attach("agent.log");
            for (long message = 0;; ++message)
                logger().logMessage(Info, L"g", std::wstring(100, L'a' + wchar_t(message % 26)) + L'!');
        });
        std::this_thread::sleep_for(std::chrono::microseconds(microseconds(random)));
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
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
    pid_t const child = start([&] {
        int const locked = open(directory.path().c_str(), O_RDONLY | O_DIRECTORY);
        if (flock(locked, LOCK_EX) == 0 && write(ready[1], "x", 1) == 1)
            pause();
    });
    char byte = 0;
    ASSERT_EQ(read(ready[0], &byte, 1), 1);
    logger().logMessage(Info, L"g", L"goes on");
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    close(ready[0]);
    close(ready[1]);
    auto const written = lines("agent.log");
    ASSERT_EQ(written.size(), 2u);
    EXPECT_THAT(written[1], EndsWith("goes on"));
}

} // namespace
