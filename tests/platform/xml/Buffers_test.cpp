#include <tests/support/TemporaryDirectory.h>
#include <zun/platform/xml/AdvXMLParser.h>

#include <gtest/gtest.h>

#include <sys/stat.h>

using namespace AdvXMLParser;
using namespace std::string_literals;

namespace {

bool reverse(std::string const& in, std::string& out) {
    out.assign(in.rbegin(), in.rend());
    return true;
}

bool refuse(std::string const&, std::string&) {
    return false;
}

std::string inUnits(std::string const& ascii, std::size_t size, bool bigEndian) {
    std::string bytes;
    for (char const letter : ascii)
        bytes += bigEndian ? std::string(size - 1, '\0') + letter : letter + std::string(size - 1, '\0');
    return bytes;
}

class BuffersTest : public testing::Test {
protected:
    /// The result of reading a file of these bytes; what was read is in m_text and m_encoding.
    std::int32_t read(std::string const& bytes, BufferTransform transform = nullptr) {
        writeFile(m_directory.file("file"), bytes);
        m_encoding = Utf8;
        return ReadBufferFromFileNoExp(m_directory.wideFile("file"), m_text, m_encoding, 0, transform);
    }

    TemporaryDirectory m_directory;
    std::wstring m_text;
    std::int32_t m_encoding = 0;
};

} // namespace

TEST_F(BuffersTest, MarkAndDeclarationDecideTheEncoding) {
    std::string const latin = "<?xml version = '1.0'\tencoding= \"Iso-8859-1\" ?>";
    std::string const ascii = "<?xml version='1.0' encoding='US-ASCII'?>";
    std::string const utf16 = "<?xml version='1.0' encoding='utf-16'?>";
    auto const wide = [](std::string const& narrow) { return std::wstring(narrow.begin(), narrow.end()); };
    using Case = std::tuple<std::string, std::int32_t, std::wstring>;
    for (auto const& [bytes, encoding, text] :
         {Case{"", Utf8, L""}, Case{"\xC3\xA9\xF0\x9F\x98\x80", Utf8, L"\xE9\x1F600"},
          Case{"\xEF\xBB\xBFx", Utf8, L"x"}, Case{"\xFF\xFE\x3D\xD8\x00\xDE"s, Utf16LittleEndian, L"\x1F600"},
          Case{"\xFE\xFF\xD8\x3D\xDE\x00"s, Utf16BigEndian, L"\x1F600"},
          Case{"\xFF\xFE\0\0\x00\xF6\x01\0"s, Utf32LittleEndian, L"\x1F600"},
          Case{"\0\0\xFE\xFF\0\x01\xF6\x00"s, Utf32BigEndian, L"\x1F600"},
          Case{latin + "\xE9", Latin1, wide(latin) + L"\xE9"}, Case{ascii, UsAscii, wide(ascii)},
          Case{"\xEF\xBB\xBF" + latin + "\xC3\xA9", Utf8, wide(latin) + L"\xE9"},
          Case{inUnits(utf16, 2, true), Utf16BigEndian, wide(utf16)},
          Case{inUnits(utf16, 2, false), Utf16LittleEndian, wide(utf16)},
          Case{inUnits("<a/>", 4, true), Utf32BigEndian, L"<a/>"},
          Case{inUnits("<a/>", 4, false), Utf32LittleEndian, L"<a/>"}}) {
        EXPECT_EQ(read(bytes), Success) << bytes;
        EXPECT_EQ(std::pair(m_text, m_encoding), std::pair(text, encoding)) << bytes;
    }
    std::string utf8;
    EXPECT_EQ(ReadUtf8BufferFromFileNoExp(m_directory.wideFile("file"), utf8, m_encoding), Success);
    EXPECT_EQ(utf8, "<a/>");
}

TEST_F(BuffersTest, MalformedBytesAreRefused) {
    for (std::string const& bytes :
         {// UTF-8, UTF-16, UTF-32 and ASCII
          "\xC0\x80"s, "\xE0\x9F\xBF"s, "\xED\xA0\x80"s, "\xF4\x90\x80\x80"s, "a\x80"s, "\xE2\x82"s,
          "\xFF\xFE\x3D\xD8"s, "\xFF\xFE\x00\xDE"s, "\xFF\xFE\x3D\xD8\x41\x00"s, "\xFF\xFE\x41"s,
          "\0\0\xFE\xFF\0\x11\0\0"s, "\0\0\xFE\xFF\0\0\xD8\0"s, "\0\0\xFE\xFF\0\0\x41"s,
          "<?xml version='1.0' encoding='US-ASCII'?>\xE9"s}) {
        m_text = L"kept";
        EXPECT_EQ(read(bytes), TextMalformed) << testing::PrintToString(bytes);
        EXPECT_EQ(m_text, L"kept");
        EXPECT_EQ(GetLastXmlErrorMessage().find(m_directory.wideFile("file") + L": malformed U"), 0u);
    }
    EXPECT_EQ(read("<?xml version='1.0' encoding='x-none'?>"), EncodingUnknown);
    EXPECT_EQ(read("<?xml version='1.0' encoding='UTF-16'?>"), EncodingUnknown);
    EXPECT_EQ(ConvertBufferToUnicode("\xC0\x80", 2, m_text, Utf8), TextMalformed);
    std::string bytes = "kept";
    EXPECT_FALSE(ConvertBufferToUtf8(L"\xD800", bytes, Utf8));
    EXPECT_EQ(bytes, "kept");
}

TEST_F(BuffersTest, ConversionsMeetAtEveryLength) {
    for (std::size_t length = 0; length < 70; ++length)
        for (std::size_t place = 0; place < length; ++place) {
            std::wstring text(length, L'x');
            text[place] = std::wstring(L"\xE9\x20AC\x1F600\x7F")[place % 4];
            std::string bytes;
            ASSERT_TRUE(ConvertBufferToUtf8(text, bytes, Utf8));
            ASSERT_EQ(ConvertBufferToUnicode(bytes.data(), bytes.size(), m_text, Utf8), Success);
            ASSERT_EQ(m_text, text);
        }
}

TEST_F(BuffersTest, FailuresHaveACodeAndNameTheFile) {
    std::wstring const missing = m_directory.wideFile("missing");
    EXPECT_EQ(ReadBufferFromFileNoExp(missing, m_text, m_encoding), FileNotFound);
    EXPECT_EQ(GetLastXmlErrorMessage(), missing + L": No such file or directory");
    EXPECT_THROW(ReadBufferFromFile(missing, m_text, m_encoding), ReadWriteException);
    mkdir(m_directory.file("folder").c_str(), 0700);
    EXPECT_EQ(ReadBufferFromFileNoExp(m_directory.wideFile("folder"), m_text, m_encoding), FileUnreadable);
    EXPECT_EQ(read("x", refuse), TransformFailed);
    EXPECT_THROW(WriteBufferToFile(m_directory.wideFile("no/such"), L"x", Utf8), ReadWriteException);
    EXPECT_EQ(GetLastXmlErrorMessage(), m_directory.wideFile("no/such") + L": No such file or directory");
}

TEST_F(BuffersTest, WritesThroughTheTransformAndReadsBack) {
    std::wstring const file = m_directory.wideFile("\xC3\xA9");
    WriteBufferToFile(file, L"<a>\x20AC</a>", Utf8, reverse);
    EXPECT_EQ(readFile(m_directory.file("\xC3\xA9")), ">a/<\xAC\x82\xE2>a<");
    m_encoding = Utf8;
    EXPECT_TRUE(ReadBufferFromFile(file, m_text, m_encoding, 0, reverse));
    EXPECT_EQ(m_text, L"<a>\x20AC</a>");
    EXPECT_THROW(WriteBufferToFile(file, L"x", Utf8, refuse), ReadWriteException);
    EXPECT_THROW(WriteBufferToFile(file, L"\xD800", Utf8), ReadWriteException);
    EXPECT_THROW(WriteBufferToFile(file, L"x", Latin1), ReadWriteException);
    EXPECT_EQ(readFile(m_directory.file("\xC3\xA9")), ">a/<\xAC\x82\xE2>a<");
}
