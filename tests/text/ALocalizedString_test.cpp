#include <tests/support/LogCapture.h>
#include <tests/support/Utf8Locale.h>
#include <zun/text/ALocalizedString.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>

using testing::Contains;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

TEST(ALocalizedString, FillsPlacesInOrder) {
    EXPECT_EQ(ALocalizedString(L"Copied %1 files to %2") << 3 << L"/tmp", L"Copied 3 files to /tmp");
    EXPECT_EQ(ALocalizedString(L"%2 before %1") << "a" << L'b', L"b before a");
    EXPECT_EQ(ALocalizedString(L"%1%%1%10%0%x%") << L"<%1>", L"<%1>%<%1><%1>0%0%x%");
    EXPECT_EQ(ALocalizedString(L"%1%2") << L"%2" << reinterpret_cast<void*>(0xab), L"000000ab000000ab");
    EXPECT_EQ(ALocalizedString(L"100%") << 1 << 2, L"100%");
    ALocalizedString text(L"%9 and %10");
    for (int i = 1; i <= 11; ++i)
        text << 11 * i;
    EXPECT_EQ(text, L"99 and 110");
    EXPECT_EQ(ALocalizedString(L"%1") << static_cast<wchar_t const*>(nullptr), L"(null)");
}

/// An open catalog: "Copied %1 files", an empty message, a text beyond ASCII, and one that is not UTF-8.
class AResourceFileTest : public testing::Test {
protected:
    AResourceFileTest() {
        std::string const compiled = m_directory.file("messages");
        writeFile(m_directory.file("source"),
                  "$set 1\n$quote \"\n1 \"Copied %1 files\"\n2 \"\"\n3 \"\xc3\xa9\xe4\xb8\xad\"\n4 \"a~\"\n");
        std::string const command =
            std::string("LC_ALL=") + utf8Locale + " gencat " + compiled + " " + m_directory.file("source");
        EXPECT_EQ(std::system(command.c_str()), 0) << command;
        // The compiler refuses what is not text.
        std::string bytes = readFile(compiled);
        std::replace(bytes.begin(), bytes.end(), '~', '\xff');
        writeFile(compiled, bytes);
        EXPECT_TRUE(m_file.openExisting(m_directory.wideFile("messages").c_str(), 0));
    }

    LogCapture m_log;
    TemporaryDirectory m_directory;
    AResourceFile m_file;
    AString m_text;
};

TEST_F(AResourceFileTest, FetchesMessages) {
    std::vector<std::string> const lines = m_log.takeLines();
    EXPECT_THAT(lines, Contains("[RcFile] [D] catopen," + m_directory.file("messages")));
    EXPECT_THAT(lines, Contains(testing::MatchesRegex("\\[RcFile\\] \\[D\\] =[0-9a-f]{8}")));
    EXPECT_STREQ(m_file.getString(1, &m_text), L"Copied %1 files");
    EXPECT_STREQ(m_file.getString(2, &m_text), L"");
    EXPECT_STREQ(m_file.getString(3, &m_text), L"\xe9\x4e2d");

    ALocalizedString message(L"%1");
    message << L"an argument before";
    message.open(1, m_file);
    EXPECT_EQ(message << 5, L"Copied 5 files");
    EXPECT_EQ(ALocalizedString(7), L"Error:  Uninitialized resource file.");
    ALocalizedString::setDefaultResourceFile(&m_file);
    EXPECT_EQ(ALocalizedString(1) << 6, L"Copied 6 files");
    ALocalizedString::setDefaultResourceFile(nullptr);
    EXPECT_TRUE(m_log.takeLinesAboveDebug().empty());
}

TEST_F(AResourceFileTest, NamesWhatItCannotGive) {
    EXPECT_STREQ(m_file.getString(42, &m_text), L"<42>");
    std::vector<std::string> const lines = m_log.takeLines();
    EXPECT_THAT(lines, Contains(AllOf(StartsWith("[RcFile] [D] catgets,"), EndsWith(",42"))));
    EXPECT_THAT(lines, Contains(AllOf(StartsWith("[RcFile] [E]"), HasSubstr("catgets,"))));
    EXPECT_STREQ(m_file.getString(4, &m_text), L"<4>");
    EXPECT_THAT(m_log.takeLinesAboveDebug(), Contains(StartsWith("[RcFile] [E]")));

    EXPECT_FALSE(m_file.openExisting(L"/no/such/catalog", 0));
    EXPECT_THAT(m_log.takeLinesAboveDebug(), Contains(HasSubstr("No such file or directory")));
    EXPECT_STREQ(m_file.getString(1, &m_text), L"<1>") << "still open";
}

} // namespace
