#include <tests/support/TemporaryDirectory.h>
#include <zun/platform/helper/CommonHelper.h>

#include <gmock/gmock.h>

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace helper = orvane_com::zun::helper;
using testing::HasSubstr;
using testing::MatchesRegex;

namespace {

TEST(TextConversionTest, ValidTextSurvivesBothWays) {
    std::wstring all;
    for (wchar_t character = 0; character <= 0x10FFFF; character += 7)
        if (character < 0xD800 || character > 0xDFFF)
            all.push_back(character);
    EXPECT_EQ(helper::toWide(helper::toNarrow(all)), all);
    EXPECT_EQ(helper::toNarrow(L"a\u00E9\u4E2D\U0001F600"), "a\xC3\xA9\xE4\xB8\xAD\xF0\x9F\x98\x80");
}

TEST(TextConversionTest, MalformedTextIsReplaced) {
    EXPECT_EQ(helper::toWide("a\xFF"
                             "b\xC3(\xE4\xB8"),
              L"a\uFFFDb\uFFFD(\uFFFD");
    EXPECT_EQ(helper::toWide("\xC0\xAF \xED\xA0\x80 \xF4\x90\x80\x80"), L"\uFFFD \uFFFD \uFFFD");
    std::wstring const none = {wchar_t(0xD800), wchar_t(0xDFFF), wchar_t(0x110000), wchar_t(-1), L'x'};
    EXPECT_EQ(helper::toNarrow(none), "\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBD\xEF\xBF\xBDx");
}

TEST(TextConversionTest, NumbersAreDecimal) {
    EXPECT_EQ(helper::longToWide(-9223372036854775807L - 1), L"-9223372036854775808");
    EXPECT_EQ(helper::unsignedLongToWide(18446744073709551615UL), L"18446744073709551615");
    EXPECT_EQ(helper::longToNarrow(-7), "-7");
}

TEST(TimeStampTest, HasMilliseconds) {
    std::string text = "x";
    helper::appendTimeStamp(text);
    EXPECT_THAT(text, MatchesRegex("x[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3}"));
    EXPECT_EQ(helper::timeStamp().size(), 23u);
}

TEST(MakeDirectoriesTest, MakesWhatIsMissing) {
    TemporaryDirectory directory;
    EXPECT_TRUE(helper::makeDirectories(directory.file("a/b//c/")));
    EXPECT_TRUE(std::filesystem::is_directory(directory.file("a/b/c")));
    EXPECT_TRUE(helper::makeDirectories(directory.file("a/b/c")));
    writeFile(directory.file("file"), "");
    EXPECT_FALSE(helper::makeDirectories(directory.file("file")));
    EXPECT_EQ(errno, ENOTDIR);
    EXPECT_FALSE(helper::makeDirectories(directory.file("file/below")));
    EXPECT_FALSE(helper::makeDirectories(""));
}

TEST(CopyFileTest, CopiesContentsAndModeOrNothing) {
    TemporaryDirectory directory;
    writeFile(directory.file("source"), std::string("a\0b", 3));
    chmod(directory.file("source").c_str(), 0750);
    writeFile(directory.file("target"), "old");
    EXPECT_EQ(helper::copyFile(directory.file("source"), directory.file("target"), 1), 0);
    EXPECT_EQ(errno, EEXIST);
    EXPECT_EQ(readFile(directory.file("target")), "old");
    EXPECT_NE(helper::copyFile(directory.file("source"), directory.file("target"), 0), 0);
    EXPECT_NE(helper::copyFile(directory.file("source"), directory.file("new"), 1), 0);
    for (char const* const name : {"target", "new"}) {
        struct stat status {};
        ASSERT_EQ(stat(directory.file(name).c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777u, 0750u);
        EXPECT_EQ(readFile(directory.file(name)), std::string("a\0b", 3));
    }
    EXPECT_EQ(helper::copyFile(directory.file("missing"), directory.file("target"), 0), 0);
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(helper::copyFile(directory.path(), directory.file("target"), 0), 0);
    EXPECT_EQ(helper::copyFile(directory.file("source"), directory.file("none/target"), 0), 0);
    auto const all = std::filesystem::directory_iterator(directory.path());
    EXPECT_EQ(std::distance(begin(all), end(all)), 3) << "nothing else is left behind";
}

TEST(StandardOutputTest, ALineGoesWholeIntoAPipeThatDoesNotBlock) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    ASSERT_EQ(fcntl(ends[1], F_SETFL, O_NONBLOCK), 0);
    std::string const line(1'000'000, 'x'); // more than a pipe holds
    std::string received;
    std::thread reader([&received, end = ends[0]] {
        char block[4096];
        for (ssize_t count; (count = read(end, block, sizeof block)) > 0;)
            received.append(block, static_cast<std::size_t>(count));
    });
    int const output = dup(STDOUT_FILENO);
    dup2(ends[1], STDOUT_FILENO);
    close(ends[1]);
    helper::writeLineToStandardOutput(line);
    dup2(output, STDOUT_FILENO);
    close(output);
    reader.join();
    close(ends[0]);
    EXPECT_TRUE(received == line + "\n") << received.size();
}

TEST(DynamicLibraryTest, ErrorsNameWhatIsMissing) {
    std::string error;
    EXPECT_EQ(helper::loadLibrary("/no/such/library", error), nullptr);
    EXPECT_THAT(error, HasSubstr("/no/such/library"));
    TemporaryDirectory directory;
    writeFile(directory.file("text"), "not a library");
    EXPECT_EQ(helper::loadLibrary(directory.file("text"), error), nullptr);
}

} // namespace
