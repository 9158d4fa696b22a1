#include <tests/support/LoggerFixture.h>
#include <tests/support/Stranger.h>
#include <zun/platform/helper/CommonHelper.h>

#include <gtest/gtest.h>

#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <sys/file.h>
#include <sys/stat.h>

namespace fs = std::filesystem;
using orvane_com::zun::helper::toWide;
using orvane_com::zun::logger::ILogger;

/// The super-user logs where a stranger was first.
class LogAmongStrangers : public StrangerTest {
protected:
    void SetUp() override {
        StrangerTest::SetUp();
        if (IsSkipped())
            return;
        ILogger::FreeLogger();
        logger().Start();
        writeFile(m_victim, "root's\n");
        chmod(m_victim.c_str(), 0600);
    }
    void TearDown() override { ILogger::FreeLogger(); }

    static ILogger& logger() { return *ILogger::GetLogger(); }
    static bool attach(std::string const& path) { return logger().attach(toWide(path)); }
    static void log(std::wstring const& text) { logger().logMessage(orvane_com::zun::logger::Info, text); }

    void expectVictimUntouched() const { EXPECT_EQ(readFile(m_victim), "root's\n"); }

    TemporaryDirectory m_directory;
    /// Where only owners may rename and remove, as in /tmp.
    std::string const m_sticky = makeDirectory(m_directory, "sticky", 01777);
    std::string const m_strangers = makeStrangersDirectory(m_directory, "strangers");
    std::string const m_victim = m_directory.file("victim");
};

TEST_F(LogAmongStrangers, NothingThatWasPlantedIsOpened) {
    for (std::string const& directory : {m_sticky, m_strangers}) {
        std::string const path = directory + "/agent.log";
        SCOPED_TRACE(path);
        auto const expectRefused = [&](auto const& plant) {
            ASSERT_TRUE(asStranger([&] { return plant(path.c_str()); }));
            EXPECT_FALSE(attach(path));
            expectVictimUntouched();
            fs::remove(path);
        };
        expectRefused([&](char const* name) { return symlink(m_victim.c_str(), name) == 0; });
        expectRefused([&](char const* name) { return symlink((m_victim + ".new").c_str(), name) == 0; });
        expectRefused([](char const* name) { return mkfifo(name, 0666) == 0; });
        expectRefused([](char const* name) { return open(name, O_CREAT | O_WRONLY, 0666) != -1; });
        EXPECT_FALSE(fs::exists(m_victim + ".new"));
    }
    // Nor what he could link there where the kernel lets him.
    std::string const linked = m_strangers + "/linked.log";
    fs::create_hard_link(m_victim, linked);
    EXPECT_FALSE(attach(linked));
    // Nor by way of a directory that he exchanges for a link.
    fs::create_directory(m_directory.file("roots"));
    ASSERT_TRUE(asStranger(
        [&] { return symlink(m_directory.file("roots").c_str(), (m_strangers + "/way").c_str()) == 0; }));
    EXPECT_FALSE(attach(m_strangers + "/way/agent.log"));
    EXPECT_TRUE(fs::is_empty(m_directory.file("roots")));
}

TEST_F(LogAmongStrangers, WhatIsTheSuperUsersOwnServes) {
    fs::create_symlink(m_directory.file("real.log"), m_sticky + "/linked.log");
    for (std::string const& path :
         {m_sticky + "/agent.log", m_strangers + "/agent.log", m_sticky + "/linked.log"})
        EXPECT_TRUE(attach(path)) << path;
    log(L"Here");
    EXPECT_EQ(readLogLines(m_directory.file("real.log")).size(), 1u);
    EXPECT_EQ(readLogLines(m_strangers + "/agent.log").size(), 1u);
}

TEST_F(LogAmongStrangers, LinesGoOnInTheOpenFileWhenItsNameIsTaken) {
    std::string const path = m_strangers + "/agent.log";
    ASSERT_TRUE(attach(path));
    log(L"First");
    ASSERT_TRUE(asStranger([&] {
        return rename(path.c_str(), (path + ".away").c_str()) == 0 &&
               symlink(m_victim.c_str(), path.c_str()) == 0;
    }));
    log(L"Second");
    expectVictimUntouched();
    EXPECT_EQ(readLogLines(path + ".away").size(), 2u);
    fs::remove(path);
    log(L"Third");
    EXPECT_EQ(readLogLines(path).size(), 1u) << "the path is tried again for each line";
}

TEST_F(LogAmongStrangers, ALinkThatAppearsDuringARotationIsNotFollowed) {
    for (std::string const& directory : {m_sticky, m_strangers}) {
        std::string const path = directory + "/agent.log";
        ASSERT_TRUE(attach(path));
        logger().setMaxLogFileSize(0);
        ChildProcess linker = startStranger([&] {
            for (;;) {
                symlink(m_victim.c_str(), path.c_str());
                unlink(path.c_str());
            }
            return true;
        });
        for (int line = 0; line < 300; ++line)
            log(L"A line that is rotated away before the next");
        EXPECT_TRUE(linker.kill());
        expectVictimUntouched();
        logger().detach(toWide(path));
    }
}

TEST_F(LogAmongStrangers, ARotationIsNotStopped) {
    std::string const trusted = makeDirectory(m_directory, "trusted", 0755);
    // What he may lock: the directory, and in the sticky one the name of the lock.
    ChildProcess locker = startStranger([&] {
        int const directory = open(trusted.c_str(), O_RDONLY);
        int const name = open((m_sticky + "/agent.log.lock").c_str(), O_CREAT | O_RDWR, 0666);
        bool const isReady = flock(directory, LOCK_EX) == 0 && flock(name, LOCK_EX) == 0 &&
                             mkdir((m_sticky + "/ready").c_str(), 0777) == 0;
        pause();
        return isReady;
    });
    while (!fs::exists(m_sticky + "/ready"))
        usleep(1000);
    logger().setMaxLogFileSize(0);
    for (std::string const& directory : {trusted, m_sticky}) {
        ASSERT_TRUE(attach(directory + "/agent.log"));
        log(L"First");
        log(L"Second");
        EXPECT_TRUE(fs::exists(directory + "/agent_backup_1.log")) << directory;
        logger().detach(toWide(directory + "/agent.log"));
    }
    locker.kill();
}
