#include <tests/support/KilledWriter.h>
#include <tests/support/LogCapture.h>
#include <tests/support/Stranger.h>
#include <tests/support/Utf8Locale.h>
#include <zun/structured/AnIni2.h>

#include <gmock/gmock.h>

#include <array>
#include <filesystem>
#include <memory>
#include <sys/stat.h>
#include <tuple>

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

class AnIni2Test : public testing::Test {
protected:
    AString name() const { return m_directory.wideFile("a.ini"); }
    std::string text() const { return readFile(m_path); }

    std::unique_ptr<AnIni2> parse(std::string const& text) {
        writeFile(m_path, text);
        return std::make_unique<AnIni2>(name());
    }

    /// What is logged for a text that fails with this reason in this line.
    std::vector<std::string> failure(std::string const& reason, int line) const {
        std::string const notParsed = "[ini] [E] internal error: Ini file not parsed in AnIni2";
        if (reason.empty())
            return {notParsed};
        return {"[ini] [E] internal error: " + reason + m_path + " line " + std::to_string(line), notParsed};
    }

    static std::wstring get(AnIni2& ini, wchar_t const* section, wchar_t const* key) {
        AString value;
        return ini.tryGet(section, key, value) ? value.const_cpp_str() : L"<none>";
    }

    LogCapture m_log;
    TemporaryDirectory m_directory;
    std::string m_path = m_directory.file("a.ini");
};

TEST_F(AnIni2Test, ReadsTheGrammar) {
    // Which of the characters beyond ASCII are blanks is the locale's to say.
    setenv("LC_ALL", utf8Locale, 1);
    auto const ini = parse("top = 1\n[ s ] ; remark\n k e;y = a;[b]=c ;d \n;free text\n"
                           "empty =\n[t]u=\xC3\xA4\xE3\x80\x80\n[s]\nempty=now\n[ \t]\nx=blank\nlast=2");
    ASSERT_TRUE(ini->parsed());
    std::array<wchar_t const*, 3> const settings[] = {
        {L"", L"top", L"1"},        {L"s", L"k e;y", L"a;[b]=c ;d"}, {L"t", L"u", L"\u00E4"},
        {L"s", L"empty", L"now"},   {L"", L"x", L"blank"},           {L"", L"last", L"2"},
        {L"S", L"empty", L"<none>"}};
    for (auto const& [section, key, value] : settings)
        EXPECT_EQ(get(*ini, section, key), value);
    AString value(L"old");
    EXPECT_FALSE(ini->getExisting(L"s", L"no", value));
    EXPECT_EQ(value, L"");
    EXPECT_THAT(m_log.takeLinesAboveDebug(),
                Contains(HasSubstr("Couldn't read required section \"s\", setting \"no\" from file \"" +
                                   m_path + "\"")));
}

TEST_F(AnIni2Test, FailsWhereTheGrammarEnds) {
    std::tuple<char const*, char const*, int> const failures[] = {
        {"[a]\r\n=1\n", "Unexpected: '=' ", 3},
        {"[a=b]\n", "Unexpected: '=' ", 1},
        {"\n; a=b\n", "Unexpected: '=' ", 2},
        {"k[=1\n", "Unexpected: '[' ", 1},
        {"[a[b]\n", "Unexpected: '[' ", 1},
        {"k=1\n;[", "Unexpected: '[' ", 2},
        {" ]\n", "Unexpected: ']' ", 1},
        {"k]=1\n", "Unexpected: ']' ", 1},
        {";a]", "Unexpected: ']' ", 1},
        {"a=1\n[]", "Unexpected: empty section ", 2},
        {"[a\n]", "Unexpected: new line ", 1},
        {"[a]k\rl=1", "Unexpected: new line ", 1},
        {"k", "", 0},
        {"[a", "", 0},
        {"k=1\n; end", "", 0}};
    for (auto const& [text, reason, line] : failures) {
        EXPECT_FALSE(parse(text)->parsed()) << text;
        EXPECT_EQ(m_log.takeLinesAboveDebug(), failure(reason, line)) << text;
    }
}

TEST_F(AnIni2Test, FallsBackToTheFileItself) {
    auto const ini = parse("[s]\nk=v\nbroken\n");
    EXPECT_FALSE(ini->parsed());
    EXPECT_THAT(m_log.takeLinesAboveDebug(), failure("Unexpected: new line ", 3));
    EXPECT_EQ(get(*ini, L"S", L"K"), L"v");
    ini->set(L"s", L"k", L"w");
    EXPECT_EQ(text(), "[s]\nk=w\nbroken\n");
    AnIni2::IniMap map{{L"kept", {}}};
    EXPECT_FALSE(ini->getIniMap(map));
    EXPECT_EQ(map.size(), 1u);

    EXPECT_FALSE(parse("k=\xFF\n")->parsed());
    EXPECT_EQ(m_log.takeLinesAboveDebug().back(), failure("", 0).back());
    AnIni2 const directory(AString(m_directory.wideFile("")));
    EXPECT_FALSE(directory.parsed()) << "opened but not read";
}

TEST_F(AnIni2Test, WritesChangesWhenItEnds) {
    auto ini = parse("; gone\r\n[b]\r\nz = 1\r\n\r\n[a]\r\ny=2\r\n");
    struct stat before {};
    struct stat after {};
    ASSERT_EQ(stat(m_path.c_str(), &before), 0);
    ini->set(L"b", L"z", L"1");
    ini->close();
    ASSERT_EQ(stat(m_path.c_str(), &after), 0);
    EXPECT_EQ(before.st_ino, after.st_ino) << "nothing changed, nothing to write";
    EXPECT_FALSE(ini->parsed());

    ini->open(name());
    for (wchar_t const* value : {L"2", L"3", L"\u00E4"})
        ini->set(L"b", L"z", value);
    ini->set(L"c", L"", L"");
    ini->set(L"a", L"x y", L"");
    m_log.takeLines();
    ini->set(L"a", L"", L"v");
    ini->set(L"", L"", L"");
    EXPECT_THAT(m_log.takeLines(),
                ElementsAre("[ini] [E] internal error: Unable to insert a, , and v into the map.",
                            "[ini] [E] internal error: Unable to insert , , and  into the map."));
    EXPECT_EQ(get(*ini, L"b", L"z"), L"\u00E4");
    EXPECT_EQ(get(*ini, L"c", L""), L"");
    ini.reset();
    EXPECT_EQ(text(), "[a]\nx y=\ny=2\n\n[b]\nz=\xC3\xA4\n\n[c]\n=\n\n");
}

TEST_F(AnIni2Test, SetsOnlyWhatItsParserReadsBack) {
    using namespace std::string_literals;
    auto const ini = parse("[s]\nk=v\n");
    std::wstring const nowhere[] = {L"a\nb", L"\r", L"a\0b"s, std::wstring(1, wchar_t(0xD800)),
                                    std::wstring(1, wchar_t(0x110000))};
    std::wstring const inNoName[] = {L"=", L"a[", L"]"};
    auto const isRefused = [&](std::wstring const& section, std::wstring const& key,
                               std::wstring const& value) {
        m_log.takeLines();
        ini->set(section, key, value);
        return testing::Matches(ElementsAre(HasSubstr("Unable to insert ")))(m_log.takeLines());
    };
    for (std::wstring const& text : nowhere)
        EXPECT_TRUE(isRefused(text, L"k", L"v") && isRefused(L"s", text, L"v") &&
                    isRefused(L"s", L"k", text));
    for (std::wstring const& name : inNoName)
        EXPECT_TRUE(isRefused(name, L"k", L"v") && isRefused(L"s", name, L"v") &&
                    !isRefused(L"s", L"k2", name));
    EXPECT_TRUE(isRefused(L"s", L";k", L"v") && isRefused(L"s", L" ;k", L"v"));
    EXPECT_FALSE(isRefused(L";s", L"k;", L";\u4E2D"));
    ini->open(name());
    EXPECT_TRUE(ini->parsed());
    EXPECT_EQ(get(*ini, L";s", L"k;"), L";\u4E2D");
    EXPECT_EQ(get(*ini, L"s", L"k"), L"v");
    EXPECT_EQ(get(*ini, L"s", L"k2"), L"]");
}

TEST_F(AnIni2Test, DropsChangesOfAFileThatCannotBeOpened) {
    AnIni2 ini(m_directory.wideFile("missing/a.ini"));
    EXPECT_TRUE(ini.parsed());
    ini.set(L"s", L"k", L"v");
    ini.write();
    ini.close();
    EXPECT_THAT(m_log.takeLinesAboveDebug(), IsEmpty());
    EXPECT_NE(access(m_directory.file("missing").c_str(), F_OK), 0);
}

TEST_F(AnIni2Test, KeepsChangesThatWereRefusedAndTellsWhy) {
    AnIni2 ini(name());
    ini.set(L"s", L"k", L"v");
    auto const expectWriteFails = [&](std::string const& reason) {
        ini.write();
        EXPECT_THAT(m_log.takeLinesAboveDebug(),
                    Contains(HasSubstr("Couldn't write file \"" + m_path + "\": " + reason)));
        EXPECT_EQ(unlink(m_path.c_str()), 0);
    };
    ASSERT_EQ(mkfifo(m_path.c_str(), 0600), 0);
    expectWriteFails("it is no regular file");
    if (std::filesystem::exists("/dev/full")) {
        std::filesystem::create_symlink("/dev/full", m_path);
        expectWriteFails("No space left on device");
    }
    ini.write();
    EXPECT_EQ(text(), "[s]\nk=v\n\n");

    EXPECT_EQ(unlink(m_path.c_str()), 0);
    ASSERT_EQ(mkfifo(m_path.c_str(), 0600), 0);
    ini.open(name());
    EXPECT_FALSE(ini.parsed()) << "what is not known to be empty";
    EXPECT_THAT(m_log.takeLinesAboveDebug(), Contains(HasSubstr("Couldn't read file \"" + m_path)));
}

using AnIni2AsAnotherUserTest = StrangerTest;

TEST_F(AnIni2AsAnotherUserTest, WritesWhatItMayNotRead) {
    TemporaryDirectory const parent;
    std::string const directories[] = {makeStrangersDirectory(parent, "own"),
                                       makeDirectory(parent, "closed", 0755)};
    for (std::string const& directory : directories) {
        std::string const path = directory + "/a.ini";
        writeFile(path, "[s]\nk=v\n");
        ASSERT_EQ(chown(path.c_str(), strangerId, strangerId), 0);
        ASSERT_EQ(chmod(path.c_str(), S_IWUSR), 0);
        EXPECT_TRUE(asStranger([&path] {
            AnIni2(AString(path.c_str())).set(L"s", L"l", L"w");
            return true;
        }));
        EXPECT_EQ(readFile(path), "[s]\nl=w\n\n") << directory;
    }
}

TEST_F(AnIni2Test, HoldsManySettings) {
    constexpr int count = 20'000;
    AnIni2::IniMap expected;
    for (int section = 0; section < 7; ++section)
        expected.emplace(L"s" + std::to_wstring(section), AnIni2::Settings());
    {
        AnIni2 ini(name());
        for (int number = 0; number < count; ++number) {
            std::wstring const section = L"s" + std::to_wstring(number % 7);
            std::wstring const key = L"k" + std::to_wstring(number);
            ini.set(section, key, key);
            expected.find(section)->second[key] = key;
        }
    }
    AnIni2 ini(name());
    AnIni2::IniMap map;
    EXPECT_TRUE(ini.getIniMap(map));
    EXPECT_TRUE(map == expected);
    EXPECT_EQ(get(ini, L"s1", L"k7778"), L"k7778");
    EXPECT_EQ(get(ini, L"s2", L"k7778"), L"<none>");
}

TEST_F(AnIni2Test, AKilledWriterLeavesTheOldFileOrTheNewOne) {
    auto const write = [this](std::size_t count) {
        AnIni2(name()).set(L"s", L"k", std::wstring(50'000, count % 2 == 0 ? L'a' : L'b'));
        return true;
    };
    killWriterAtRandomMoments(write, m_path);
}

} // namespace
