#include <zun/files/AFileIndex.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <string>
#include <tests/support/LogCapture.h>
#include <tests/support/TemporaryDirectory.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

TEST(AFileIndexTest, YieldsFilesAndDirectories) {
    TemporaryDirectory directory;
    LogCapture log;
    writeFile(directory.file("a b.txt"), "text");
    writeFile(directory.file(".hidden.txt"), "");
    std::filesystem::create_directory(directory.file("d.txt"));
    AFileIndex index;
    EXPECT_FALSE(index.moveNext(nullptr, nullptr, nullptr, nullptr));

    ASSERT_TRUE(index.open(true, directory.wideFile("").c_str(), L"*.txt"));
    std::map<std::wstring, bool> found;
    AString path;
    AString name;
    bool isDirectory = false;
    for (unsigned long size = 9; index.moveNext(&path, &isDirectory, &name, &size); size = 9) {
        EXPECT_EQ(path, AString(directory.wideFile("") + name.const_cpp_str()));
        EXPECT_EQ(size, 0u);
        found[name] = isDirectory;
    }
    EXPECT_THAT(found, ElementsAre(Pair(L"a b.txt", false), Pair(L"d.txt", true)));
    ASSERT_TRUE(index.open(true, directory.wideFile("").c_str(), L"*"));
    EXPECT_TRUE(index.moveNext(nullptr, nullptr, nullptr, nullptr));
    index.close();
    EXPECT_FALSE(index.moveNext(nullptr, nullptr, nullptr, nullptr));
    EXPECT_THAT(log.takeLinesAboveDebug(), IsEmpty());
}

TEST(AFileIndexTest, NoMatchIsLoggedOnDemand) {
    LogCapture log;
    AFileIndex index(false, L"/none", L"*");
    EXPECT_THAT(log.takeLinesAboveDebug(), IsEmpty());
    EXPECT_FALSE(index.open(true, L"/none", L"*"));
    EXPECT_FALSE(index.moveNext(nullptr, nullptr, nullptr, nullptr));
    EXPECT_THAT(log.takeLinesAboveDebug(),
                ElementsAre("[FileInx] [E] Error trace:", "[FileInx] [E]  [glob,/none/*]->",
                            "[FileInx] [E]   No such file or directory"));
}

} // namespace
