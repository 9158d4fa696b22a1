#include <tests/support/LogCapture.h>
#include <tests/support/Utf8Locale.h>
#include <zun/files/AFileIndex.h>

#include <gmock/gmock.h>

#include <clocale>
#include <filesystem>
#include <map>
#include <set>

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
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

TEST(AFileIndexTest, ANameThatTheLocaleCannotExpressIsTakenAsUtf8) {
    TemporaryDirectory directory;
    LogCapture log;
    auto const names = [&] {
        AFileIndex index(true, directory.wideFile("").c_str(), L"*");
        std::set<std::wstring> found;
        for (AString name; index.moveNext(nullptr, nullptr, &name, nullptr);)
            found.insert(name);
        return found;
    };
    writeFile(directory.file("\xc3\xa4"), "");
    std::filesystem::create_directory(directory.file("d\xff"));
    std::setlocale(LC_ALL, "C");
    EXPECT_THAT(names(), ElementsAre(L"d\xfffd", L"\xe4"));
    std::string const report = "The locale cannot express the file name " + directory.file("");
    EXPECT_THAT(log.takeLinesAboveDebug(), Contains(EndsWith(report + "\xc3\xa4")));
    ASSERT_TRUE(std::setlocale(LC_ALL, utf8Locale));
    EXPECT_THAT(names(), ElementsAre(L"d\xfffd", L"\xe4"));
    EXPECT_THAT(log.takeLinesAboveDebug(),
                ElementsAre("[FileInx] [E] Error trace:", EndsWith(report + "d\xef\xbf\xbd/")));
}

} // namespace
