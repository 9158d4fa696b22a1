#include <tests/support/LogCapture.h>
#include <tests/support/OpenDescriptors.h>
#include <zun/configuration/IConfiguration.h>
#include <zun/files/AFiler.h>

#include <gmock/gmock.h>

#include <atomic>
#include <climits>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;

class AFilerTest : public testing::Test {
protected:
    AString path(char const* name) { return m_directory.wideFile(name); }
    std::string file(char const* name) { return m_directory.file(name); }

    void expectLogged(bool result, std::string const& trace, std::string const& error) {
        EXPECT_FALSE(result);
        EXPECT_THAT(
            m_log.takeLinesAboveDebug(),
            ElementsAre(EndsWith("Error trace:"), EndsWith(" [" + trace + "]->"), EndsWith("]   " + error)));
    }

    TemporaryDirectory m_directory;
    LogCapture m_log;
};

TEST_F(AFilerTest, FilesAndDirectories) {
    EXPECT_TRUE(AFiler::createDirectory(path("d")) && AFiler::createDirectory(path("d")));
    EXPECT_EQ(fs::status(file("d")).permissions(), fs::perms::owner_all);
    expectLogged(AFiler::createDirectory(path("x/y")), "mkdir," + file("x/y"), "No such file or directory");

    writeFile(file("d/f"), "12345");
    EXPECT_TRUE(AFiler::copyFile(path("d/f"), path("copy")));
    EXPECT_EQ(readFile(file("copy")), "12345");
    expectLogged(AFiler::copyFile(path("none"), path("copy")),
                 "CopyFile," + file("none") + "," + file("copy"), "Failed");
    long size = 0;
    EXPECT_TRUE(AFiler::getExistingFileSize(path("copy"), size));
    EXPECT_EQ(size, 5);
    EXPECT_FALSE(AFiler::tryGetFileSize(path("none"), size));
    EXPECT_THAT(m_log.takeLinesAboveDebug(), IsEmpty());
    expectLogged(AFiler::getExistingFileSize(path("none"), size), "stat," + file("none"),
                 "No such file or directory");

    expectLogged(AFiler::deleteFolder(path("d")), "rmdir," + file("d"), "Directory not empty");
    EXPECT_TRUE(AFiler::deleteEmptyFolder(path("d")));
    EXPECT_TRUE(AFiler::deleteFolder(path("copy")));
    EXPECT_TRUE(fs::exists(file("d/f")) && fs::exists(file("copy")));
    EXPECT_FALSE(AFiler::deleteFile(path("d")));
    EXPECT_TRUE(AFiler::deleteFile(path("d/f")) && AFiler::deleteFile(path("d/f")));
    EXPECT_TRUE(AFiler::deleteFolder(path("d")) && AFiler::deleteFolder(path("d")));
    EXPECT_FALSE(fs::exists(file("d")));
    m_log.takeLines();
    EXPECT_FALSE(AFiler::renameFile(path("copy"), path("d")));
    EXPECT_THAT(m_log.takeLines(), ElementsAre("[Filer] [E] internal error: Test "));
}

TEST_F(AFilerTest, Accessibility) {
    writeFile(file("f"), "");
    bool exists = false;
    bool accessible = true;
    EXPECT_TRUE(AFiler::getFileAccessibility(path("f"), AFiler::accessExecute, exists, accessible));
    EXPECT_TRUE(exists && !accessible);
    EXPECT_TRUE(AFiler::getFileAccessibility(path("f"), AFiler::AFileAccess(8), exists, accessible));
    EXPECT_TRUE(exists && accessible);
    EXPECT_TRUE(AFiler::getFileAccessibility(path("f/below"), AFiler::accessRead, exists));
    EXPECT_FALSE(exists);
    EXPECT_THAT(m_log.takeLinesAboveDebug(), IsEmpty());
    std::string const tooLong(5000, 'x');
    std::pair<AFiler::AFileAccess, int> const asked[] = {
        {AFiler::accessRead, R_OK}, {AFiler::accessWrite, W_OK}, {AFiler::accessExecute, X_OK}};
    for (auto const& [access, mode] : asked)
        expectLogged(AFiler::getFileAccessibility(AString(tooLong.c_str()), access, exists),
                     "access," + tooLong + "," + std::to_string(mode), "File name too long");
    exists = accessible = true;
    EXPECT_FALSE(AFiler::getFileAccessibility(path("f"), AFiler::AFileAccess(3), exists, accessible));
    EXPECT_TRUE(exists && accessible);
    EXPECT_THAT(m_log.takeLines(),
                ElementsAre("[Filer] [E] internal error: getFileAccessibility had unexpected access 3"));
}

TEST_F(AFilerTest, TemporaryPathsAreFree) {
    AString first;
    AString second;
    setenv("TMPDIR", (m_directory.path() + "/").c_str(), 1);
    EXPECT_TRUE(AFiler::getTempFilePath(first) && AFiler::getTempFilePath(second));
    EXPECT_FALSE(first == second);
    EXPECT_EQ(first.const_cpp_str().substr(0, m_directory.path().size() + 4), m_directory.wideFile("qzr"));
    setenv("TMPDIR", file("none").c_str(), 1);
    EXPECT_TRUE(AFiler::getTempFilePath(first));
    unsetenv("TMPDIR");
    EXPECT_EQ(first.const_cpp_str().substr(0, 12), L"/var/tmp/qzr");
}

TEST_F(AFilerTest, DataPathsComeFromTheConfiguration) {
    EXPECT_STREQ(AFiler::getZunDataPath(), L"");
    fs::create_directories(file("etc/XOQAGENT3700MACX"));
    writeFile(file("etc/XOQAGENT3700MACX/config.xml"),
              "<Configuration><InstalledPath>" + file("agent") + "</InstalledPath></Configuration>");
    auto* const configuration = orvane_com::zun::configuration::IConfiguration::GetConfiguration();
    ASSERT_TRUE(configuration->SetConfigurationDirectory(m_directory.wideFile("etc")));
    EXPECT_NE(configuration->GetFrameworkDataDirectory(), L"");
    EXPECT_EQ(AFiler::getZunDataPath(), configuration->GetFrameworkDataDirectory());
    EXPECT_EQ(AFiler::getUpdaterDataPath(), configuration->GetUpdaterDataDir());
    EXPECT_EQ(AFiler::getAlternateDataPath(), configuration->GetFrameworkDataDirectory() + L"/etc");
}

class DeleteFoldersTest : public AFilerTest {
protected:
    DeleteFoldersTest() {
        fs::create_directories(file("outside"));
        writeFile(file("outside/kept"), "");
    }
    ~DeleteFoldersTest() override { EXPECT_TRUE(fs::exists(file("outside/kept"))); }
};

TEST_F(DeleteFoldersTest, RemovesExactlyTheTree) {
    std::ptrdiff_t const before = openDescriptors();
    fs::create_directories(file("[o]*/sub/empty"));
    writeFile(file("[o]*/sub/not\xff text"), "");
    fs::create_symlink(file("outside"), file("[o]*/link"));
    fs::create_symlink(file("none"), file("[o]*/sub/dangling"));
    EXPECT_TRUE(AFiler::deleteFolders(path("[o]*/")));
    EXPECT_FALSE(fs::exists(file("[o]*")));
    EXPECT_THAT(m_log.takeLinesAboveDebug(), IsEmpty());

    fs::create_symlink(file("outside"), file("link"));
    EXPECT_TRUE(AFiler::deleteFolders(path("link/")));
    EXPECT_FALSE(fs::exists(fs::symlink_status(file("link"))));
    EXPECT_TRUE(AFiler::deleteFolders(path("none")));
    EXPECT_TRUE(AFiler::deleteFolders(path("outside/kept")));
    EXPECT_FALSE(AFiler::deleteFolders(L"/ab"));
    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(DeleteFoldersTest, KeepsAndReportsWhatAnEnumerationDoesNotList) {
    fs::create_directories(file("t/a/.hidden directory/b"));
    writeFile(file("t/a/f"), "");
    m_log.takeLines();
    EXPECT_FALSE(AFiler::deleteFolders(path("t")));
    EXPECT_TRUE(fs::exists(file("t/a/.hidden directory/b")) && !fs::exists(file("t/a/f")));
    std::string const t = file("t");
    std::string const start = "[Filer] [E] Error trace:";
    std::string const error = "[Filer] [E]   Directory not empty";
    EXPECT_THAT(m_log.takeLines(),
                ElementsAre("[FileInx] [D] glob," + t + "/*", "[FileInx] [D] glob," + t + "/a/*",
                            "[Filer] [D] unlink," + t + "/a/f", "[Filer] [D] rmdir," + t + "/a", start,
                            "[Filer] [E]  [rmdir," + t + "/a]->", error, "[Filer] [D] rmdir," + t, start,
                            "[Filer] [E]  [rmdir," + t + "]->", error));
}

/// Deeper than descriptors, and than a path, may reach.
TEST_F(DeleteFoldersTest, RemovesADeepTree) {
    std::string const name(200, 'd');
    int const start = open(".", O_RDONLY | O_DIRECTORY);
    ASSERT_EQ(chdir(m_directory.path().c_str()), 0);
    for (int level = 0; level < 1500; ++level)
        ASSERT_TRUE(mkdir(name.c_str(), 0700) == 0 && chdir(name.c_str()) == 0);
    writeFile("file", "");
    ASSERT_EQ(fchdir(start), 0);
    close(start);
    EXPECT_TRUE(AFiler::deleteFolders(path(name.c_str())));
    EXPECT_FALSE(fs::exists(file(name.c_str())));
    for (std::string const& line : m_log.takeLines())
        EXPECT_LT(line.size(), 3 * PATH_MAX) << "the work would grow with the square of the depth";
}

TEST_F(DeleteFoldersTest, LeavesTheRootDirectoryAlone) {
    if (geteuid() != 0)
        GTEST_SKIP() << "only root can make another directory the root";
    auto const deleteRoot = [this] {
        bool const entered = chroot(m_directory.path().c_str()) == 0 && chdir("/") == 0;
        _exit(entered && !AFiler::deleteFolders(L"////") && !AFiler::deleteFolders(L"/outside/..") ? 0 : 1);
    };
    EXPECT_EXIT(deleteRoot(), testing::ExitedWithCode(0), "");
}

/// Directories that become links, or move away, while they are removed never lead outside.
TEST_F(DeleteFoldersTest, StaysInsideWhateverOthersDo) {
    std::atomic<bool> done = false;
    std::thread meddler([&] {
        std::error_code ignored;
        while (!done) {
            fs::rename(file("tree/a/b"), file("moved"), ignored);
            fs::create_symlink(file("outside"), file("tree/a/b"), ignored);
            fs::remove_all(file("moved"), ignored);
        }
    });
    for (int round = 0; round < 300; ++round) {
        std::error_code ignored;
        for (char const* const directory : {"tree/a/b/c/d", "tree/a/b/e"})
            fs::create_directories(file(directory), ignored);
        AFiler::deleteFolders(path("tree"));
    }
    done = true;
    meddler.join();
}

} // namespace
