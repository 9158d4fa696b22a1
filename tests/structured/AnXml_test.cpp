#include <tests/support/KilledWriter.h>
#include <tests/support/LogCapture.h>
#include <zun/platform/crypto/ACryptWrap.h>
#include <zun/structured/AnXml.h>
#include <zun/structured/AnXmlNode.h>

#include <gmock/gmock.h>

#include <memory>
#include <unistd.h>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

class AnXmlTest : public testing::Test {
protected:
    std::wstring text() {
        AString written;
        EXPECT_TRUE(m_xml.writeString(&written));
        return written;
    }

    /// The last line that was logged, without its tag.
    std::string lastError() {
        std::vector<std::string> const lines = m_log.takeLinesAboveDebug();
        return lines.empty() ? "" : lines.back();
    }

    LogCapture m_log;
    TemporaryDirectory m_directory;
    AnXml m_xml;
};

} // namespace

TEST_F(AnXmlTest, ChecksTheRootAndKeepsADocumentThatFails) {
    EXPECT_TRUE(m_xml.useString(L"<a b='c'/>", L"a", L"b", L"c") &&
                m_xml.useString(L"<a b='c'/>", L"a", L"b"));
    EXPECT_THAT(m_log.takeLinesAboveDebug(), IsEmpty());
    wchar_t const* const other = L"<a b='c' e=''/>";
    EXPECT_FALSE(m_xml.useString(other, L"A"));
    EXPECT_THAT(lastError(), HasSubstr("root node name doesn't match: a"));
    EXPECT_FALSE(m_xml.useString(other, L"a", L"b", L"C"));
    EXPECT_THAT(lastError(), HasSubstr("attribute value doesn't match: c"));
    EXPECT_FALSE(m_xml.useString(other, L"a", L"d", L"c"));
    EXPECT_THAT(lastError(), HasSubstr("getValue: required attribute not found: d"));
    EXPECT_EQ(text(), L"<a b=\"c\" e=\"\"/>");
}

TEST_F(AnXmlTest, LogsTheTraceAndThePlaceOfAParseError) {
    EXPECT_FALSE(m_xml.useString(L"<a>\n</b>", L"a"));
    EXPECT_THAT(m_log.takeLines(),
                ElementsAre("[Xml] [D] useString,a,(null),(null)",
                            "[Xml] [E] Error trace:", "[Xml] [E]  [useString,a,(null),(null)]->",
                            "[Xml] [E]   Parse error line: 2 column: 3 mismatched tag"));
    AString written;
    EXPECT_FALSE(m_xml.writeString(&written) || AnXmlNode(&m_xml).positionValid() ||
                 m_xml.writeFile(m_directory.wideFile("none").c_str(), false, false));
}

TEST_F(AnXmlTest, MakesANewDocumentAndHandsItOver) {
    EXPECT_TRUE(m_xml.useNew(L"a", L"b", L"<c>"));
    EXPECT_FALSE(m_xml.useNew(nullptr));
    EXPECT_THAT(lastError(), HasSubstr("Null root node name"));
    std::unique_ptr<AdvXMLParser::Document> const document(m_xml.relinquishDocument());
    EXPECT_EQ(document->GetRoot().GetAttribute(L"b")->GetValue(), L"<c>");
    EXPECT_EQ(m_xml.relinquishDocument(), nullptr);
}

TEST_F(AnXmlTest, OnlyAMissingFileThatIsNotRequiredIsSilent) {
    std::wstring const missing = m_directory.wideFile("missing.xml");
    EXPECT_FALSE(m_xml.tryUseFile(missing.c_str()));
    EXPECT_TRUE(m_xml.useFileAlways(missing.c_str(), L"a"));
    EXPECT_THAT(m_log.takeLinesAboveDebug(), IsEmpty());
    EXPECT_FALSE(m_xml.useExistingFile(missing.c_str()));
    EXPECT_THAT(lastError(), HasSubstr("missing.xml: No such file or directory"));
    writeFile(m_directory.file("latin"), "<?xml version='1.0' encoding='ISO-8859-1'?><a>\xE9</a>");
    EXPECT_TRUE(m_xml.useFile(true, m_directory.wideFile("latin").c_str(), L"a"));
    EXPECT_EQ(text(), L"<?xml version=\"1.0\" encoding=\"UTF-8\"?><a>\xE9</a>");
    EXPECT_FALSE(m_xml.tryUseFile(m_directory.wideFile("latin/x").c_str()));
    EXPECT_THAT(lastError(), HasSubstr("latin/x: Not a directory"));
}

TEST_F(AnXmlTest, WritesFilesPlainAndEnciphered) {
    std::wstring const file = m_directory.wideFile("file.xml");
    std::string const path = m_directory.file("file.xml");
    ASSERT_TRUE(m_xml.useString(L"<a><b>\xE9</b></a>"));
    ASSERT_TRUE(m_xml.writeFile(file.c_str(), false, true));
    EXPECT_EQ(readFile(path), "<a>\n  <b>\xC3\xA9</b>\n</a>\n");
    EXPECT_FALSE(m_xml.writeFile(file.c_str(), true, false));
    EXPECT_THAT(lastError(), HasSubstr("Exception writing file: " + path + ": "));
    EXPECT_EQ(readFile(path), "<a>\n  <b>\xC3\xA9</b>\n</a>\n");

    ASSERT_TRUE(ACryptWrap::useKeyFile(m_directory.file("key")));
    ASSERT_TRUE(m_xml.writeFile(file.c_str(), true, false));
    EXPECT_THAT(readFile(path), testing::Not(HasSubstr("<a>")));
    AString read;
    EXPECT_TRUE(AnXml::readExistingFile(file.c_str(), read));
    EXPECT_EQ(read, L"<a><b>\xE9</b></a>");
    AnObjectBuffer<unsigned char> bytes;
    EXPECT_TRUE(AnXml::readExistingFileUtf8(file.c_str(), bytes));
    EXPECT_EQ(bytes.cpp_str(), "<a><b>\xC3\xA9</b></a>");

    std::string altered = readFile(path);
    altered.back() ^= 1;
    writeFile(path, altered);
    EXPECT_FALSE(m_xml.tryUseFile(file.c_str()));
    EXPECT_THAT(lastError(), HasSubstr(path + ": "));
    AnXmlNode(&m_xml).setValue(L"b", L"\x1");
    EXPECT_FALSE(m_xml.writeFile(file.c_str(), false, false));
    EXPECT_THAT(lastError(), HasSubstr("Exception writing file: no XML character: U+0001"));
    EXPECT_EQ(readFile(path), altered);
}

TEST_F(AnXmlTest, ConvertsBetweenUtf8AndWideText) {
    AString wide;
    AnObjectBuffer<unsigned char> bytes;
    EXPECT_TRUE(AnXml::convertUtf8ToUnicode("\xE2\x82\xAC", wide));
    EXPECT_TRUE(AnXml::convertUnicodeToUtf8(wide, bytes));
    EXPECT_EQ(bytes.cpp_str(), "\xE2\x82\xAC");
    EXPECT_THAT(m_log.takeLines(),
                ElementsAre("[Xml] [D] ConvertBufferToUnicode,3", "[Xml] [D] ConvertBufferToUtf8"));
    EXPECT_FALSE(AnXml::convertUtf8ToUnicode("\xC0\x80", wide));
    EXPECT_THAT(lastError(), HasSubstr("malformed UTF-8"));
    EXPECT_EQ(wide, L"\x20AC");
}

TEST_F(AnXmlTest, AKilledWriterLeavesTheOldFileOrTheNewOne) {
    std::wstring const file = m_directory.wideFile("file.xml");
    AnXml documents[2];
    for (std::size_t i = 0; i < 2; ++i)
        ASSERT_TRUE(documents[i].useNew(L"a", L"b", std::wstring(i == 0 ? 30'000 : 20'000, L'x').c_str()));
    killWriterAtRandomMoments(
        [&](std::size_t count) { return documents[count % 2].writeFile(file.c_str(), false, true); },
        m_directory.file("file.xml"));
    EXPECT_TRUE(m_xml.useExistingFile(file.c_str(), L"a", L"b"));
}
