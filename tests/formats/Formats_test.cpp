#include <tests/support/RegistryValues.h>
#include <tests/support/TemporaryDirectory.h>
#include <zun/binary/ABinaryStream.h>
#include <zun/platform/crypto/ACryptWrap.h>
#include <zun/platform/helper/CommonHelper.h>
#include <zun/platform/xml/AdvXMLParser.h>
#include <zun/structured/AnIni2.h>

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <filesystem>

// What one processor writes, another one reads. tests/data/formats has a folder of files for each processor,
// made there by this program: ZUN_MAKE_SAMPLE=tests/data/formats/arm64 formats_tests.

namespace {

using orvane_com::zun::helper::toWide;

constexpr wchar_t text[] = L"<Root>gr\u00FC\u00DFe \U0001F600</Root>";

using Record = std::array<unsigned char, 15>;

std::string path(std::string const& directory, char const* name) {
    return directory + "/" + name;
}

void setPrivate(std::string const& file) {
    std::filesystem::permissions(file,
                                 std::filesystem::perms::owner_read | std::filesystem::perms::owner_write);
}

void write(std::string const& directory) {
    for (bool const littleEndian : {true, false}) {
        Record record{};
        ABinaryStream stream(record.data(), record.size(), littleEndian);
        stream.writeUint32(0xFEDCBA98);
        stream.writeShort(0x8001);
        stream.writeChar('z');
        stream.writeString(8, AString(L"field"));
        ASSERT_FALSE(stream.pastEndError());
        writeFile(path(directory, littleEndian ? "little.record" : "big.record"),
                  std::string(record.begin(), record.end()));
    }
    writeFile(path(directory, "key"), std::string("0123456789ABCDEF\0\xFF\x80zyxwvutsrqpo\n", 32));
    setPrivate(path(directory, "key"));
    ASSERT_TRUE(ACryptWrap::useKeyFile(path(directory, "key"))) << ACryptWrap::lastError();
    AdvXMLParser::WriteBufferToFile(toWide(path(directory, "sealed.xml")), text, 4, ACryptWrap::encrypt_data);
    ASSERT_TRUE(InitializeRegistry(toWide(path(directory, "registry"))));
    HKEY key{};
    ASSERT_EQ(RegCreateKey(HKEY_LOCAL_MACHINE, "a\\b", &key), ERROR_SUCCESS);
    ASSERT_EQ(setValue(key, "v", std::string("\x00\x80\xFF", 3), REG_BINARY), 0);
    RegCloseKey(key);
    AnIni2 ini(toWide(path(directory, "settings.ini")));
    ini.set(L"section", L"key", L"value");
}

void expectReadable(std::string const& directory) {
    SCOPED_TRACE(directory);
    for (bool const littleEndian : {true, false}) {
        std::string bytes = readFile(path(directory, littleEndian ? "little.record" : "big.record"));
        ABinaryStream stream(reinterpret_cast<unsigned char*>(bytes.data()), bytes.size(), littleEndian);
        EXPECT_EQ(stream.readUint32(), 0xFEDCBA98);
        EXPECT_EQ(stream.readShort(), 0x8001);
        EXPECT_EQ(stream.readChar(), 'z');
        std::string field;
        EXPECT_EQ(stream.readString(8, field), 8);
        EXPECT_EQ(field, "field");
        EXPECT_TRUE(stream.atEnd() && !stream.pastEndError());
    }
    TemporaryDirectory const privately;
    for (char const* const name : {"key", "registry", "settings.ini"})
        writeFile(privately.file(name), readFile(path(directory, name)));
    setPrivate(privately.file("key"));
    ASSERT_TRUE(ACryptWrap::useKeyFile(privately.file("key"))) << ACryptWrap::lastError();
    std::wstring clear;
    std::int32_t encoding = 4;
    EXPECT_EQ(AdvXMLParser::ReadBufferFromFileNoExp(toWide(path(directory, "sealed.xml")), clear, encoding, 0,
                                                    ACryptWrap::decrypt_data),
              0)
        << ACryptWrap::lastError();
    EXPECT_EQ(clear, text);

    ASSERT_TRUE(InitializeRegistry(privately.wideFile("registry")));
    HKEY key{};
    ASSERT_EQ(RegOpenKey(HKEY_LOCAL_MACHINE, "A\\B", &key), ERROR_SUCCESS);
    unsigned long type = 0;
    EXPECT_EQ(getValue(key, "V", &type), std::string("\x00\x80\xFF", 3));
    EXPECT_EQ(type, REG_BINARY);
    RegCloseKey(key);
    AnIni2 ini(privately.wideFile("settings.ini"));
    AString setting;
    EXPECT_TRUE(ini.get(true, L"section", L"key", setting));
    EXPECT_EQ(std::wstring(setting.const_cpp_str()), L"value");
}

TEST(Formats, AreTheSameOnEveryProcessor) {
    TemporaryDirectory const own;
    char const* const sample = std::getenv("ZUN_MAKE_SAMPLE");
    std::string const written = sample ? sample : own.path();
    std::filesystem::create_directories(written);
    write(written);
    expectReadable(written);
    int others = 0;
    for (auto const& other : std::filesystem::directory_iterator(SAMPLES)) {
        ++others;
        expectReadable(other.path());
        for (char const* const name : {"little.record", "big.record", "registry", "settings.ini"})
            EXPECT_EQ(readFile(path(other.path(), name)), readFile(path(written, name)))
                << other.path() << name;
    }
    EXPECT_GE(others, 1);
}

} // namespace
