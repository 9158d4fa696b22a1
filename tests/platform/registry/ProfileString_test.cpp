#include <tests/support/TemporaryDirectory.h>
#include <zun/platform/registry/ProfileString.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <sys/stat.h>

namespace {

class ProfileStringTest : public testing::Test {
protected:
    void put(std::string const& text) { writeFile(m_path, text); }
    std::string text() const { return readFile(m_path); }

    /// With the characters that were copied and counted alone.
    std::wstring get(wchar_t const* section, wchar_t const* key, unsigned long size = 200) const {
        std::wstring buffer(size + 1, L'#');
        unsigned long const count =
            GetPrivateProfileString(section, key, L"<none>", buffer.data(), size, m_file.c_str());
        EXPECT_EQ(buffer[size], L'#') << "written past the end";
        EXPECT_EQ(buffer[count], L'\0');
        return buffer.substr(0, count);
    }

    bool set(wchar_t const* section, wchar_t const* key, wchar_t const* value) const {
        return WritePrivateProfileString(section, key, value, m_file.c_str());
    }

    TemporaryDirectory m_directory;
    std::string m_path = m_directory.file("settings.ini");
    std::wstring m_file = m_directory.wideFile("settings.ini");
};

TEST_F(ProfileStringTest, ReadsByTheWellKnownRules) {
    put("\xEF\xBB\xBF; a=comment\r\n"
        "[ First ] ; remark\r\n"
        " Key One\t=  'a b' \r\n"
        "empty=\r\n"
        ";hidden=1\r\n"
        "no value\r\n"
        "quoted=\"\"x\"'\r\n"
        "umlaut\xC3\x84 = \xC3\xA4\xFF\r"
        "[second]\n"
        "key one==\"\n"
        "[FIRST]\n"
        "empty=later\n"
        "last=\"1\"");
    EXPECT_EQ(get(L"first", L"KEY ONE"), L"a b");
    EXPECT_EQ(get(L" first ", L"empty "), L"") << "the first of a name counts";
    EXPECT_EQ(get(L"first", L"hidden"), L"<none>");
    EXPECT_EQ(get(L"first", L"no value"), L"<none>");
    EXPECT_EQ(get(L"first", L"quoted"), L"\"\"x\"'") << "quotes that do not match stay";
    EXPECT_EQ(get(L"first", L"UMLAUT\u00E4"), L"\u00E4\uFFFD");
    EXPECT_EQ(get(L"Second", L"key one"), L"=\"");
    EXPECT_EQ(get(L"first", L"last"), L"1") << "sections of one name are one";
    EXPECT_EQ(get(L"third", L"key"), L"<none>");
}

TEST_F(ProfileStringTest, CutsToTheBuffer) {
    put("[s]\nk=12345\n");
    EXPECT_EQ(get(L"s", L"k", 6), L"12345");
    EXPECT_EQ(get(L"s", L"k", 5), L"1234");
    EXPECT_EQ(get(L"s", L"k", 1), L"");
    EXPECT_EQ(get(L"s", L"?", 4), L"<no");
    EXPECT_EQ(GetPrivateProfileString(L"s", L"k", L"", nullptr, 5, m_file.c_str()), 0u);
    wchar_t untouched = L'#';
    EXPECT_EQ(GetPrivateProfileString(L"s", L"k", L"", &untouched, 0, m_file.c_str()), 0u);
    EXPECT_EQ(untouched, L'#');
}

TEST_F(ProfileStringTest, ListsNames) {
    using namespace std::string_literals;
    put("[ab]\nx=1\n[c]\n[AB]\nX=2\nyz=3\n;n=4\n");
    EXPECT_EQ(get(nullptr, nullptr), L"ab\0c\0"s);
    EXPECT_EQ(get(L"ab", nullptr), L"x\0yz\0"s);
    EXPECT_EQ(get(L"c", nullptr), L"");
    EXPECT_EQ(get(L"d", nullptr), L"<none>");
    EXPECT_EQ(get(nullptr, nullptr, 6), L"ab\0c\0"s);
    EXPECT_EQ(get(nullptr, nullptr, 5), L"ab\0"s) << "cut, with both ends kept";
    EXPECT_EQ(get(nullptr, nullptr, 1), L"");

    put("[s]\n\xE4=1\n\xF6=2\n");
    EXPECT_EQ(get(L"s", nullptr), L"\uFFFD\0\uFFFD\0"s) << "names in Latin-1 are not one";
    EXPECT_TRUE(set(L"s", L"\uFFFD", nullptr) && set(L"s", L"\u00E4", nullptr));
    EXPECT_EQ(text(), "[s]\n\xE4=1\n\xF6=2\n");
}

TEST_F(ProfileStringTest, ChangesOnlyWhatItIsAskedTo) {
    std::string const start =
        "\xEF\xBB\xBF; top\r\n\r\n[One]\r\n Key = old \r\n;note\r\nodd\xFF\r\n\r\n[Two]\r\nk=v";
    put(start);
    EXPECT_TRUE(set(L"ONE", L"kEY", L"new = \u00E4") && set(L"one", L"added", L"1"));
    EXPECT_TRUE(set(L"two", L"more", L"") && set(L"Three", L"x", L"y"));
    EXPECT_EQ(text(),
              "\xEF\xBB\xBF; top\r\n\r\n[One]\r\n Key = new = \xC3\xA4\r\n;note\r\nodd\xFF\r\nadded=1\r\n\r\n"
              "[Two]\r\nk=v\r\nmore=\r\n\r\n[Three]\r\nx=y\r\n");
    EXPECT_TRUE(set(L"one", L"KEY", nullptr) && set(L"one", L"added", nullptr));
    EXPECT_TRUE(set(L"TWO", nullptr, L"ignored"));
    EXPECT_EQ(text(), "\xEF\xBB\xBF; top\r\n\r\n[One]\r\n;note\r\nodd\xFF\r\n\r\n[Three]\r\nx=y\r\n");
    EXPECT_TRUE(set(L"no", L"such", nullptr));
}

TEST_F(ProfileStringTest, CreatesTheFileForAValueAlone) {
    EXPECT_EQ(get(L"s", L"k"), L"<none>");
    EXPECT_TRUE(set(L"s", L"k", nullptr));
    EXPECT_NE(access(m_path.c_str(), F_OK), 0);
    EXPECT_TRUE(set(L"s", L"k", L"v"));
    EXPECT_EQ(text(), "[s]\nk=v\n");
    ASSERT_EQ(chmod(m_path.c_str(), S_IRUSR | S_IWUSR), 0);
    EXPECT_TRUE(set(L"s", L"k", L"w"));
    struct stat status {};
    ASSERT_EQ(stat(m_path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & ~mode_t{S_IFMT}, mode_t{S_IRUSR | S_IWUSR});
}

TEST_F(ProfileStringTest, RefusesWhatCouldNotBeReadBack) {
    std::string const start = "[s]\nk=v\n";
    put(start);
    using Setting = wchar_t const* [3];
    Setting const refused[] = {{nullptr, nullptr, nullptr}, {nullptr, L"k", L"v"}, {L"a]", L"k", L"v"},
                               {L"s", L"a=b", L"v"},        {L"s", L" ", L"v"},    {L"s", L";k", L"v"},
                               {L"s", L"[x", L"]"},         {L"s", L"k", L"1\nx"}, {L"s\r", L"k", L"v"}};
    for (auto const& [section, key, value] : refused) {
        errno = 0;
        EXPECT_FALSE(set(section, key, value));
        EXPECT_EQ(errno, EINVAL);
    }
    EXPECT_FALSE(WritePrivateProfileString(L"s", L"k", L"v", m_directory.wideFile("missing/file").c_str()));
    EXPECT_EQ(text(), start);
}

} // namespace
