#include <tests/support/Stranger.h>
#include <zun/files/AFiler.h>
#include <zun/platform/crypto/ACryptWrap.h>
#include <zun/platform/helper/CommonHelper.h>
#include <zun/platform/registry/ProfileString.h>
#include <zun/platform/registry/Registry.h>
#include <zun/platform/xml/AdvXMLParser.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <sys/file.h>
#include <sys/stat.h>

namespace fs = std::filesystem;
using orvane_com::zun::helper::toWide;

namespace {

mode_t modeOf(std::string const& path) {
    struct stat status {};
    EXPECT_EQ(lstat(path.c_str(), &status), 0) << path;
    return status.st_mode & 07777;
}

uid_t ownerOf(std::string const& path) {
    struct stat status {};
    EXPECT_EQ(lstat(path.c_str(), &status), 0) << path;
    return status.st_uid;
}

bool set(std::string const& path, wchar_t const* value) {
    return WritePrivateProfileString(L"Section", L"key", value, toWide(path).c_str());
}

bool readXml(std::string const& path) {
    std::wstring text;
    std::int32_t encoding = 0;
    return AdvXMLParser::ReadBufferFromFileNoExp(toWide(path), text, encoding, 0, nullptr) >= 0;
}

bool writeXml(std::string const& path) {
    try {
        AdvXMLParser::WriteBufferToFile(toWide(path), L"<a/>", 4, nullptr, 0);
        return true;
    } catch (AdvXMLParser::ReadWriteException const&) {
        return false;
    }
}

} // namespace

class DataAmongStrangers : public StrangerTest {
protected:
    TemporaryDirectory m_directory;
    std::string const m_trusted = makeDirectory(m_directory, "trusted", 0755);
    std::string const m_sticky = makeDirectory(m_directory, "sticky", 01777);
    std::string const m_strangers = makeStrangersDirectory(m_directory, "strangers");
};

TEST_F(DataAmongStrangers, ACopyGivesNoRights) {
    std::string const source = m_strangers + "/tool";
    writeFile(source, "#!/bin/sh\n");
    ASSERT_EQ(chown(source.c_str(), strangerId, strangerId), 0);
    ASSERT_EQ(chmod(source.c_str(), 07755), 0);
    std::string const target = m_directory.file("copy");
    ASSERT_TRUE(AFiler::copyFile(toWide(source).c_str(), toWide(target).c_str()));
    EXPECT_EQ(modeOf(target), 0755u);
    EXPECT_EQ(ownerOf(target), geteuid());
}

TEST_F(DataAmongStrangers, NewFilesAreNeverWritableByEverybody) {
    mode_t const umaskBefore = umask(0);
    ASSERT_TRUE(set(m_trusted + "/agent.ini", L"value"));
    ASSERT_TRUE(writeXml(m_trusted + "/agent.xml"));
    ASSERT_TRUE(InitializeRegistry(toWide(m_trusted + "/deep/registry.ini")));
    umask(umaskBefore);
    for (auto const& entry : fs::recursive_directory_iterator(m_trusted))
        EXPECT_EQ(modeOf(entry.path()) & S_IWOTH, 0u) << entry.path();
}

TEST_F(DataAmongStrangers, ALinkOfAStrangerLeadsNowhere) {
    std::string const victim = m_trusted + "/victim.ini";
    writeFile(victim, "[Section]\nkey=root's\n");
    for (std::string const& directory : {m_sticky, m_strangers}) {
        std::string const path = directory + "/agent.ini";
        ASSERT_TRUE(asStranger([&] { return symlink(victim.c_str(), path.c_str()) == 0; }));
        EXPECT_FALSE(readXml(path));
        EXPECT_FALSE(writeXml(path));
        EXPECT_FALSE(set(path, L"planted"));
        EXPECT_TRUE(fs::is_symlink(path));
    }
    EXPECT_EQ(readFile(victim), "[Section]\nkey=root's\n");
}

TEST_F(DataAmongStrangers, AFileOfAStrangerIsReplacedAndStaysHis) {
    std::string const path = m_strangers + "/agent.ini";
    ASSERT_TRUE(asStranger([&] { return set(path, L"his"); }));
    ASSERT_TRUE(set(path, L"root's"));
    EXPECT_EQ(ownerOf(path), strangerId);
    EXPECT_TRUE(asStranger([&] { return set(path, L"his again"); }));
    EXPECT_EQ(readFile(path), "[Section]\nkey=his again\n");
    EXPECT_FALSE(fs::exists(path + ".lock"));
}

TEST_F(DataAmongStrangers, NothingEndlessIsRead) {
    std::string const pipe = m_strangers + "/pipe";
    std::string const sparse = m_strangers + "/sparse";
    ASSERT_TRUE(asStranger([&] {
        int const huge = open(sparse.c_str(), O_CREAT | O_WRONLY, 0644);
        return mkfifo(pipe.c_str(), 0644) == 0 && ftruncate(huge, off_t{1} << 40) == 0;
    }));
    for (std::string const& path : {pipe, sparse, std::string("/dev/zero"), m_strangers}) {
        SCOPED_TRACE(path);
        EXPECT_FALSE(readXml(path));
        EXPECT_FALSE(set(path, L"value"));
        EXPECT_FALSE(InitializeRegistry(toWide(path)));
    }
}

TEST_F(DataAmongStrangers, WhoMayReadAFileDoesNotHoldUpItsWriters) {
    std::string const path = m_trusted + "/agent.ini";
    std::string const lock = path + ".lock";
    writeFile(lock, "left by a writer that was killed");
    ASSERT_TRUE(set(path, L"first"));
    EXPECT_FALSE(fs::exists(lock));
    ChildProcess holder = startStranger([&] {
        if (flock(open(path.c_str(), O_RDONLY), LOCK_EX) != 0 ||
            mkdir((m_sticky + "/ready").c_str(), 0777) != 0)
            return false;
        while (open(lock.c_str(), O_RDONLY) == -1) {
        }
        return true;
    });
    while (!fs::exists(m_sticky + "/ready"))
        usleep(1000);
    for (int round = 0; round < 100; ++round)
        EXPECT_TRUE(set(path, round % 2 == 0 ? L"even" : L"odd"));
    EXPECT_TRUE(holder.kill()) << "the lock could be opened by somebody who may not write the file";
}

TEST_F(DataAmongStrangers, AnOccupiedLockEndsTheWaitWithAReason) {
    std::string const path = m_sticky + "/agent.ini";
    ASSERT_TRUE(set(path, L"first"));
    ASSERT_TRUE(asStranger([&] { return mkdir((path + ".lock").c_str(), 0777) == 0; }));
    EXPECT_FALSE(set(path, L"second"));
    EXPECT_EQ(errno, EACCES);
    EXPECT_EQ(readFile(path), "[Section]\nkey=first\n");
}

TEST_F(DataAmongStrangers, AKeyOfAStrangerIsRefused) {
    for (std::string const& directory : {m_sticky, m_strangers}) {
        std::string const path = directory + "/agent.key";
        ASSERT_TRUE(asStranger([&] {
            writeFile(path, std::string(32, 'k'));
            return chmod(path.c_str(), 0600) == 0;
        }));
        EXPECT_FALSE(ACryptWrap::useKeyFile(path));
        EXPECT_NE(ACryptWrap::lastError().find("belongs to another user"), std::string::npos);
    }
}
