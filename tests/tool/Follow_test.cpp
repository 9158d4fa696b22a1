#include <tests/support/ChildProcess.h>
#include <tests/support/TemporaryDirectory.h>
#include <tests/tool/Program.h>
#include <zun/logger/ILogger.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <map>
#include <random>
#include <sstream>
#include <thread>

using namespace orvane_com::zun::logger;

namespace {

void writeLines(std::wstring const& log, int id, int lines) {
    ILogger::FreeLogger();
    ILogger& logger = *ILogger::GetLogger();
    logger.setMaxLogFileSize(32);
    logger.setNumberOfBackupLogs(10'000);
    logger.Start();
    logger.attach(log);
    for (int number = 0; number < lines; ++number) {
        logger.logMessage(Info, L"writer",
                          std::to_wstring(id) + L"/" + std::to_wstring(number) + L" " +
                              std::wstring(static_cast<std::size_t>(number % 90), L'x') + L"!");
        std::this_thread::sleep_for(std::chrono::microseconds(500));
    }
}

/// How often each line's number stands in the lines of a text.
std::map<std::string, int> linesOf(std::string const& text) {
    std::map<std::string, int> lines;
    std::istringstream stream(text);
    std::string const tag = "[writer] [I] ";
    for (std::string line; std::getline(stream, line);)
        if (std::size_t const place = line.rfind(tag);
            place != std::string::npos && line.find('!') != std::string::npos)
            ++lines[line.substr(place + tag.size(), line.find(' ', place + tag.size()) - place - tag.size())];
    return lines;
}

/// Four processes log, rotate, and two of them are killed and replaced, while the follower is killed 50
/// times.
TEST(FollowTest, EveryLineComesOnceThroughFiftyKills) {
    TemporaryDirectory const directory;
    std::string const log = directory.file("a.log");
    std::string const output = directory.file("output");
    int const out = open(output.c_str(), O_CREAT | O_WRONLY | O_APPEND | O_CLOEXEC, 0600);
    int const errors =
        open(directory.file("errors").c_str(), O_CREAT | O_WRONLY | O_APPEND | O_CLOEXEC, 0600);
    writeFile(log, "");
    int writers = 0;
    auto const start = [&](int lines) {
        int const id = writers++;
        return ChildProcess([&, id, lines] {
            writeLines(directory.wideFile("a.log"), id, lines);
            return true;
        });
    };
    constexpr int allLines = 1500;
    ChildProcess first = start(allLines);
    ChildProcess second = start(allLines);
    ChildProcess third = start(1'000'000);
    ChildProcess fourth = start(1'000'000);
    std::mt19937 random(1);
    auto const follow = [&] {
        return startProgram({"log", "follow", log, "--state", directory.file("state")}, out, errors);
    };
    pid_t follower = follow();
    for (int round = 0; round < 50; ++round) {
        std::this_thread::sleep_for(std::chrono::milliseconds(random() % 60));
        kill(follower, SIGKILL);
        EXPECT_EQ(statusOf(follower), -SIGKILL);
        follower = follow();
        if (round % 10 == 0) {
            (round % 20 == 0 ? third : fourth) = start(1'000'000);
        }
    }
    third.kill();
    fourth.kill();
    EXPECT_TRUE(first.join() && second.join());

    // What all files hold is what has to come, however long it takes.
    std::string all;
    for (auto const& entry : std::filesystem::directory_iterator(directory.path()))
        if (entry.path().filename().string().starts_with("a") && entry.path().extension() == ".log")
            all += readFile(entry.path()) + "\n";
    std::map<std::string, int> const expected = linesOf(all);
    EXPECT_GE(expected.size(), std::size_t{2 * allLines});
    auto const deadline = std::chrono::steady_clock::now() + std::chrono::minutes(2);
    while (linesOf(readFile(output)).size() < expected.size() && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    kill(follower, SIGKILL);
    statusOf(follower);
    std::map<std::string, int> const found = linesOf(readFile(output));
    std::string wrong;
    for (auto const& [line, count] : expected)
        if (auto const place = found.find(line); place == found.end() || place->second != count)
            wrong += line + (place == found.end() ? " is missing\n" : " came again\n");
    EXPECT_EQ(wrong, "");
    EXPECT_EQ(found.size(), expected.size());
    EXPECT_EQ(readFile(directory.file("errors")), "");
    close(out);
    close(errors);
}

TEST(FollowTest, APipeGetsWhatWasNotConfirmedAgainAndNothingElse) {
    TemporaryDirectory const directory;
    std::string const log = directory.file("a.log");
    auto const line = [](int number) {
        return "2026-11-21 12:00:00.000 [1]  (1)     [writer] [I] 0/" + std::to_string(number) + " !\r\n";
    };
    writeFile(log, line(1));
    for (int number = 1; number <= 3; ++number) {
        int ends[2];
        ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
        pid_t const follower = startProgram(
            {"log", "follow", log, "--json", "--state", directory.file("state")}, ends[1], STDERR_FILENO);
        close(ends[1]);
        char room[1024];
        ssize_t const count = read(ends[0], room, sizeof room);
        EXPECT_THAT(std::string(room, static_cast<std::size_t>(std::max<ssize_t>(count, 0))),
                    testing::HasSubstr("\"message\":\"0/" + std::to_string(number) + " !\"}\n"));
        // Confirmed is what stands in the state without a batch.
        while (readFile(directory.file("state")).find("zun-log-follow 1 0 0 0 0 0 ") != 0)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        kill(follower, SIGKILL);
        statusOf(follower);
        close(ends[0]);
        writeFile(log, readFile(log) + line(number + 1));
    }
}

} // namespace
