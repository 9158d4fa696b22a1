#include <tests/support/LogCapture.h>
#include <tests/support/Stranger.h>
#include <zun/files/AFile.h>
#include <zun/files/AFiler.h>

#include <gmock/gmock.h>

#include <functional>

namespace {

namespace fs = std::filesystem;
using testing::Contains;
using testing::EndsWith;

using FilesAmongStrangers = StrangerTest;

AString wide(std::string const& path) {
    return AString(std::wstring(path.begin(), path.end()));
}

TEST_F(FilesAmongStrangers, PlantedLinksLeadNowhere) {
    TemporaryDirectory directory;
    LogCapture log;
    std::string const outside = makeDirectory(directory, "outside", 0755);
    fs::create_directories(outside + "/tree/below");
    writeFile(outside + "/file", "kept");
    writeFile(outside + "/tree/file", "kept");
    std::string const own = makeStrangersDirectory(directory, "own");
    ASSERT_TRUE(asStranger([&] {
        return symlink(outside.c_str(), (own + "/way").c_str()) == 0 &&
               symlink((outside + "/file").c_str(), (own + "/link").c_str()) == 0 &&
               symlink((outside + "/made").c_str(), (own + "/dangling").c_str()) == 0;
    }));
    ABuffer const data("theirs");
    std::function<bool()> const operations[] = {
        [&] { return AFile::write(wide(own + "/link"), data); },
        [&] { return AFile::write(wide(own + "/dangling"), data); },
        [&] { return AFile().openWrite(wide(own + "/way/file"), true); },
        [&] { return AFiler::copyFile(wide(outside + "/file"), wide(own + "/way/copy")); },
        [&] { return AFiler::createDirectory(wide(own + "/way/made")); },
        [&] { return AFiler::deleteFile(wide(own + "/way/file")); },
        [&] { return AFiler::deleteFolder(wide(own + "/way/tree/below/")); },
        [&] { return AFiler::deleteFolders(wide(own + "/way/tree")); },
    };
    for (std::function<bool()> const& operation : operations) {
        EXPECT_FALSE(operation()) << &operation - operations;
        EXPECT_THAT(log.takeLines(), Contains(EndsWith("a symbolic link on the way belongs to another user")))
            << &operation - operations;
    }
    EXPECT_EQ(readFile(outside + "/file"), "kept");
    EXPECT_TRUE(fs::exists(outside + "/tree/file") && fs::exists(outside + "/tree/below"));
    EXPECT_EQ(std::distance(fs::directory_iterator(outside), {}), 2);
    EXPECT_TRUE(AFiler::deleteFolders(wide(own)));
    EXPECT_TRUE(fs::exists(outside + "/file"));
}

} // namespace
