#include <tests/support/LogCapture.h>
#include <tests/support/OpenDescriptors.h>
#include <tests/support/Utf8Locale.h>
#include <zun/files/AFile.h>

#include <gmock/gmock.h>

#include <clocale>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;

unsigned char const* bytes(char const* text) {
    return reinterpret_cast<unsigned char const*>(text);
}

class AFileTest : public testing::Test {
protected:
    AString path(char const* name) { return m_directory.wideFile(name); }

    std::vector<std::wstring> linesOf(std::string const& contents) {
        writeFile(m_directory.file("lines"), contents);
        std::vector<std::wstring> lines;
        EXPECT_TRUE(m_file.open(true, path("lines")));
        AString line(L"old");
        while (m_file.readLine(line))
            lines.push_back(line);
        EXPECT_EQ(line, L"");
        return lines;
    }

    TemporaryDirectory m_directory;
    LogCapture m_log;
    AFile m_file;
};

TEST_F(AFileTest, MissingFileIsLoggedOnDemand) {
    EXPECT_FALSE(m_file.open(false, path("missing")));
    EXPECT_THAT(m_log.takeLinesAboveDebug(), IsEmpty());
    EXPECT_FALSE(m_file.open(true, path("missing")));
    EXPECT_THAT(
        m_log.takeLinesAboveDebug(),
        ElementsAre("[File] [E] Error trace:", "[File] [E]  [fopen,r," + m_directory.file("missing") + "]->",
                    "[File] [E]   No such file or directory"));
    writeFile(m_directory.file("file"), "");
    EXPECT_FALSE(m_file.open(false, path("file/below")));
    EXPECT_THAT(m_log.takeLinesAboveDebug(), testing::Contains(EndsWith("Not a directory")));
}

TEST_F(AFileTest, ReadsLines) {
    EXPECT_THAT(linesOf(""), IsEmpty());
    EXPECT_THAT(linesOf("a\nb"), ElementsAre(L"a", L"b"));
    EXPECT_THAT(linesOf("\n\nx\r\n"), ElementsAre(L"", L"", L"x\r"));
    EXPECT_THAT(linesOf(std::string(100'000, 'y') + "\nz\n"), ElementsAre(std::wstring(100'000, L'y'), L"z"));
    EXPECT_THAT(m_log.takeLinesAboveDebug(), IsEmpty());
    // Each byte of "\u00e4" by itself is no character, and neither is the byte 0.
    ASSERT_TRUE(std::setlocale(LC_ALL, utf8Locale));
    EXPECT_THAT(linesOf("\xc3\xa4"), ElementsAre(std::wstring(2, L'\0')));
    EXPECT_THAT(linesOf(std::string("a\0b", 3)), ElementsAre(std::wstring(L"a\0b", 3)));
    EXPECT_THAT(m_log.takeLinesAboveDebug(),
                testing::Contains(EndsWith("couldn't convert a wide character")).Times(3));
}

TEST_F(AFileTest, NamesAndLinesInTheLocale) {
    ASSERT_TRUE(std::setlocale(LC_ALL, utf8Locale));
    char const* const name = "a 'b' \"c\" *? [d] \xc3\xa4\xe2\x82\xac";
    for (bool const append : {false, true, true}) {
        EXPECT_TRUE(m_file.openWrite(path(name), append));
        EXPECT_TRUE(m_file.writeLine(L"\x20ac"));
    }
    EXPECT_EQ(readFile(m_directory.file(name)), "\xe2\x82\xac\n\xe2\x82\xac\n\xe2\x82\xac\n");
    EXPECT_TRUE(m_file.openAlways(path(name)));
    EXPECT_EQ(readFile(m_directory.file(name)), "");
}

TEST_F(AFileTest, WholeFilesAreByteExact) {
    std::string contents(700'001, '\0');
    for (std::size_t i = 0; i < contents.size(); ++i)
        contents[i] = static_cast<char>(i * 31 >> 3);
    ABuffer const data(contents.size(), bytes(contents.data()));
    EXPECT_TRUE(AFile::write(path("whole"), data));
    for (std::size_t const before : {std::size_t{0}, std::size_t{300'000}, std::size_t{900'000}}) {
        ABuffer buffer(before, nullptr);
        EXPECT_TRUE(AFile::read(true, path("whole"), buffer));
        EXPECT_TRUE(buffer.cpp_str() == contents);
    }
    ABuffer buffer("old");
    EXPECT_FALSE(AFile::read(false, path("missing"), buffer));
    EXPECT_EQ(buffer.cpp_str(), "old");
    EXPECT_TRUE(AFile::write(path("whole"), nullptr, 0));
    EXPECT_TRUE(AFile::read(true, path("whole"), buffer));
    EXPECT_EQ(buffer.size(), 0u);

    EXPECT_TRUE(AFile::write(path("whole"), bytes("abc\n"), 4));
    AString line;
    EXPECT_TRUE(m_file.open(true, path("whole")) && m_file.readLine(line) && m_file.read(buffer));
    EXPECT_EQ(buffer.cpp_str(), "abc\n");
    EXPECT_TRUE(m_file.seek(SEEK_CUR));
    EXPECT_FALSE(m_file.readLine(line));
    EXPECT_TRUE(m_file.seekBegin() && m_file.readLine(line));
    EXPECT_EQ(line, L"abc");
}

TEST_F(AFileTest, FaultsAreReportedByTheCallThatMeetsThem) {
    std::ptrdiff_t const before = openDescriptors();
    auto const expectLogged = [&](bool result, std::string const& call, std::string const& error) {
        EXPECT_FALSE(result);
        EXPECT_THAT(m_log.takeLinesAboveDebug(),
                    ElementsAre("[File] [E] Error trace:", HasSubstr(call), "[File] [E]   " + error));
    };
    AString line;
    ABuffer buffer("abc");
    if (std::filesystem::exists("/dev/full")) {
        EXPECT_TRUE(m_file.openAlways(L"/dev/full"));
        expectLogged(m_file.write(buffer), "fwrite,3,/dev/full", "No space left on device");
        EXPECT_FALSE(m_file.writeLine(L"x"));
        m_log.takeLines();
    }
    expectLogged(m_file.openWrite(path("none/file"), true), "fopen,a,", "No such file or directory");
    EXPECT_TRUE(m_file.openAlways(path("file")));
    expectLogged(m_file.readLine(line), "getc," + m_directory.file("file"), "Bad file descriptor");
    expectLogged(m_file.write(bytes("abc"), -1), "fwrite,-1", "Invalid argument");
    expectLogged(AFile::write(path(""), buffer), "fopen,w,", "Is a directory");
    m_file.open(true, path("")); // a directory may open, but not be read
    EXPECT_FALSE(m_file.readLine(line) || m_file.read(buffer));
    m_file.close();
    m_log.takeLines();
    expectLogged(m_file.seekBegin(), "fseek,0,", "Bad file descriptor");
    EXPECT_FALSE(m_file.readLine(line) || m_file.writeLine(line) || m_file.read(buffer) ||
                 m_file.write(buffer));
    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(AFileTest, OpensWhatMayWaitOrGrowWithoutHarm) {
    std::string const pipe = m_directory.file("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_FALSE(m_file.openWrite(path("pipe"), true)) << "nobody reads";
    int const writing = open(pipe.c_str(), O_RDWR);
    EXPECT_TRUE(m_file.open(true, path("pipe")));
    std::thread writer([writing] { EXPECT_EQ(write(writing, "x\n", 2), 2); });
    AString line;
    EXPECT_TRUE(m_file.readLine(line)) << "it waits";
    writer.join();
    close(writing);

    mode_t const umaskBefore = umask(0);
    int const input = dup(STDIN_FILENO);
    close(STDIN_FILENO);
    EXPECT_TRUE(m_file.openAlways(path("new")));
    EXPECT_EQ(fcntl(STDIN_FILENO, F_GETFD), -1);
    dup2(input, STDIN_FILENO);
    close(input);
    umask(umaskBefore);
    EXPECT_EQ(std::filesystem::status(m_directory.file("new")).permissions(), std::filesystem::perms(0664));

    ABuffer buffer("old");
    std::filesystem::resize_file(m_directory.file("new"), (std::uintmax_t{1} << 30) + 1);
    EXPECT_FALSE(AFile::read(true, path("new"), buffer));
    EXPECT_THAT(m_log.takeLinesAboveDebug(), testing::Contains(EndsWith("File too large")));
}

} // namespace
