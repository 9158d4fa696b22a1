#include <tests/support/Crowd.h>
#include <tests/support/RegistryValues.h>
#include <tests/support/TemporaryDirectory.h>

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

using namespace std::string_literals;

namespace {

constexpr char const* agentKey = "SOFTWARE\\Tessaro\\Velkmaster\\Agent";

std::string error(long number) {
    return "error " + std::to_string(number);
}

class RegistryTest : public testing::Test {
protected:
    RegistryTest() { EXPECT_TRUE(InitializeRegistry(m_directory.wideFile("deep/er/registry"))); }

    static HKEY create(char const* name) {
        HKEY key = nullptr;
        EXPECT_EQ(RegCreateKey(HKEY_LOCAL_MACHINE, name, &key), ERROR_SUCCESS);
        return key;
    }

    TemporaryDirectory m_directory;
    std::string m_store = m_directory.file("deep/er/registry");
};

TEST(RegistryWithoutStoreTest, Fails) {
    HKEY key = nullptr;
    EXPECT_EQ(RegOpenKey(HKEY_LOCAL_MACHINE, agentKey, &key), ERROR_NOT_READY);
    EXPECT_EQ(RegCreateKey(HKEY_LOCAL_MACHINE, agentKey, &key), ERROR_NOT_READY);
    EXPECT_EQ(getValue(HKEY_LOCAL_MACHINE, "x"), error(ERROR_NOT_READY));
    EXPECT_EQ(setValue(HKEY_LOCAL_MACHINE, "x", "y"), ERROR_NOT_READY);
    EXPECT_EQ(RegDeleteValue(HKEY_LOCAL_MACHINE, "x"), ERROR_NOT_READY);
    EXPECT_EQ(RegCloseKey(key), ERROR_INVALID_HANDLE);
    TemporaryDirectory directory;
    EXPECT_FALSE(InitializeRegistry(L""));
    EXPECT_FALSE(InitializeRegistry(directory.wideFile(""))) << "a directory is no store";
    EXPECT_EQ(RegOpenKey(HKEY_LOCAL_MACHINE, nullptr, &key), ERROR_NOT_READY);
}

TEST_F(RegistryTest, KeysFormATreeWhoseNamesIgnoreCase) {
    HKEY const key = create(agentKey);
    HKEY parent = nullptr;
    HKEY again = nullptr;
    ASSERT_EQ(RegOpenKey(HKEY_LOCAL_MACHINE, "software\\TESSARO", &parent), ERROR_SUCCESS);
    ASSERT_EQ(RegOpenKey(parent, "velkMASTER\\agent", &again), ERROR_SUCCESS);
    EXPECT_EQ(setValue(key, "Na\u00C4me", "x"), ERROR_SUCCESS);
    EXPECT_EQ(getValue(again, "nA\u00E4ME"), "x");
    EXPECT_EQ(setValue(again, "na\u00E4me", "y"), ERROR_SUCCESS);
    EXPECT_NE(readFile(m_store).find(
                  "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Tessaro\\Velkmaster\\Agent]\n\"Na\u00C4me\" = \"y\"\n"),
              std::string::npos);

    HKEY none = nullptr;
    EXPECT_EQ(RegOpenKey(HKEY_LOCAL_MACHINE, "SOFTWARE\\Tess", &none), ERROR_FILE_NOT_FOUND);
    for (char const* name : {"a\\\\b", "\\a", "a\\", "a\nb", "\xFF"})
        EXPECT_EQ(RegCreateKey(HKEY_LOCAL_MACHINE, name, &none), ERROR_INVALID_PARAMETER) << name;
    EXPECT_EQ(RegOpenKey(HKEY_LOCAL_MACHINE, "SOFTWARE", nullptr), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(none, nullptr);

    // Opened twice, closed twice.
    EXPECT_EQ(RegCloseKey(key), ERROR_SUCCESS);
    EXPECT_EQ(getValue(again, "na\u00E4me"), "y");
    EXPECT_EQ(RegCloseKey(again), ERROR_SUCCESS);
    EXPECT_EQ(RegCloseKey(again), ERROR_INVALID_HANDLE);
    EXPECT_EQ(getValue(again, "na\u00E4me"), error(ERROR_INVALID_HANDLE));
    EXPECT_EQ(setValue(again, "na\u00E4me", ""), ERROR_INVALID_HANDLE);
    EXPECT_EQ(RegCloseKey(HKEY_LOCAL_MACHINE), ERROR_SUCCESS);
}

TEST_F(RegistryTest, ValuesOfAnyBytesSurvive) {
    HKEY const key = create("K ]\\ b");
    std::string everyByte;
    for (int byte = 0; byte < 256; ++byte)
        everyByte += static_cast<char>(byte);
    for (unsigned long const type : {REG_SZ, REG_BINARY, 0ul, ~0ul})
        for (std::string const& text :
             {""s, "plain"s, "C:\\dir\\"s, "\"quoted\""s, "two\r\nlines\t"s, "end\0"s, "\0\0"s,
              "\u00E4\u4E2D\U0001F600"s, "cut \xF0\x9F\x98"s, everyByte, std::string(70'000, '\xC3')}) {
            ASSERT_EQ(setValue(key, "v=\\\"", text, type), ERROR_SUCCESS);
            unsigned long storedType = 99;
            EXPECT_EQ(getValue(key, "v=\\\"", &storedType), text);
            EXPECT_EQ(storedType, type);
        }
    ASSERT_EQ(setValue(key, nullptr, "unnamed"), ERROR_SUCCESS);
    EXPECT_EQ(getValue(key, ""), "unnamed");
    EXPECT_EQ(setValue(key, "a\nb", "x"), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(RegSetValueEx(key, "null", 0, REG_SZ, nullptr, 1), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(RegDeleteValue(key, "V=\\\""), ERROR_SUCCESS);
    EXPECT_EQ(RegDeleteValue(key, "V=\\\""), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(getValue(key, "v=\\\""), error(ERROR_FILE_NOT_FOUND));
}

TEST_F(RegistryTest, FillsTheBufferItIsGiven) {
    HKEY const key = create(agentKey);
    ASSERT_EQ(setValue(key, "text", "12345"), ERROR_SUCCESS);
    ASSERT_EQ(setValue(key, "bytes", "12345", REG_BINARY), ERROR_SUCCESS);
    auto const query = [key](char const* name, unsigned long size) {
        std::string buffer(8, '#');
        EXPECT_EQ(RegQueryValueEx(key, name, nullptr, nullptr,
                                  reinterpret_cast<unsigned char*>(buffer.data()), &size),
                  ERROR_SUCCESS);
        return std::to_string(size) + " " + buffer;
    };
    EXPECT_EQ(query("text", 0), "0 ########");
    EXPECT_EQ(query("text", 4), "4 1234####");
    EXPECT_EQ(query("text", 5), "5 12345###");
    EXPECT_EQ(query("text", 6), "5 12345\0##"s);
    EXPECT_EQ(query("bytes", 6), "5 12345###");
    unsigned long size = 0;
    EXPECT_EQ(RegQueryValueEx(key, "text", nullptr, nullptr, nullptr, &size), ERROR_SUCCESS);
    EXPECT_EQ(size, 5u);
    unsigned char byte = 0;
    EXPECT_EQ(RegQueryValueEx(key, "text", nullptr, nullptr, &byte, nullptr), ERROR_INVALID_PARAMETER);
}

TEST_F(RegistryTest, KeepsAndReadsAroundWhatItDoesNotKnow) {
    std::string const start =
        "garbage\xFF\n\"before\" = \"any key\"\n"
        "[HKEY_LOCAL_MACHINE\\A]\r\n"
        "  \"Good\"=\"1\\x41\" \r\n"
        "\"bad\" = \"open\n\"bad\" = \"x\" y\n\"bad\" = \"\\q\"\n\"bad\" = \"\\x4\"\n\"bad\" = 7\n"
        "\"bad\" = hex(3):1,\n\"bad\" = hex():11\n\"bad\" = hex(3):11,\nbad = \"x\"\n"
        "\"Bin\" = hex(3):00,fF\n"
        "[HKEY_LOCAL_MACHINE\\A\n"
        "\"still\" = \"A\"\n"
        "[elsewhere]\n\"Good\" = \"2\"\n"
        "[HKEY_local_machine\\a]\n\"good\" = \"late\"\n\"more\" = \"3\"";
    writeFile(m_store, start);
    HKEY key = nullptr;
    ASSERT_EQ(RegOpenKey(HKEY_LOCAL_MACHINE, "A", &key), ERROR_SUCCESS);
    EXPECT_EQ(getValue(key, "good"), "1A");
    EXPECT_EQ(getValue(key, "bin"), "\0\xFF"s);
    EXPECT_EQ(getValue(key, "bad"), error(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(getValue(key, "still"), "A");
    EXPECT_EQ(getValue(key, "more"), "3");
    EXPECT_EQ(getValue(key, "before"), error(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(setValue(key, "bad", "new"), ERROR_SUCCESS);
    std::string expected = start;
    std::string const lastOfKey = "\"still\" = \"A\"\n";
    expected.insert(expected.find(lastOfKey) + lastOfKey.size(), "\"bad\" = \"new\"\n");
    EXPECT_EQ(readFile(m_store), expected);
}

TEST_F(RegistryTest, SeesEveryChangeOfTheFile) {
    HKEY const key = create("A");
    for (int round = 0; round < 50; ++round) {
        // The same size, written in place, within the resolution of the file's time.
        std::string const digits = std::to_string(100 + round);
        writeFile(m_store, "[HKEY_LOCAL_MACHINE\\A]\n\"v\" = \"" + digits + "\"\n");
        ASSERT_EQ(getValue(key, "v"), digits);
    }
    // Another file of the same size and time, once the time of the first tells changes apart.
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    ASSERT_EQ(getValue(key, "v"), "149");
    std::string const other = m_directory.file("copy");
    writeFile(other, "[HKEY_LOCAL_MACHINE\\A]\n\"v\" = \"abc\"\n");
    std::filesystem::last_write_time(other, std::filesystem::last_write_time(m_store));
    std::filesystem::rename(other, m_store);
    EXPECT_EQ(getValue(key, "v"), "abc");

    ASSERT_EQ(unlink(m_store.c_str()), 0);
    EXPECT_EQ(getValue(key, "v"), error(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(setValue(key, "v", "anew"), ERROR_SUCCESS);
    EXPECT_EQ(getValue(key, "v"), "anew");

    ASSERT_TRUE(InitializeRegistry(m_directory.wideFile("other")));
    EXPECT_EQ(getValue(key, "v"), error(ERROR_FILE_NOT_FOUND));
    EXPECT_FALSE(InitializeRegistry(m_directory.wideFile("other/below a file")));
    EXPECT_EQ(setValue(key, "v", "other"), ERROR_SUCCESS);
    ASSERT_TRUE(InitializeRegistry(m_directory.wideFile("deep/er/registry")));
    EXPECT_EQ(getValue(key, "v"), "anew");
}

TEST_F(RegistryTest, ServesManyThreads) {
    constexpr int threads = 8;
    constexpr int rounds = 25;
    runInThreads(threads, [](int thread) {
        std::string const name = "t" + std::to_string(thread);
        for (int round = 0; round < rounds; ++round) {
            HKEY const key = create(round % 2 == 0 ? "Shared" : name.c_str());
            EXPECT_EQ(setValue(key, name.c_str(), std::to_string(round)), ERROR_SUCCESS);
            EXPECT_EQ(getValue(key, name.c_str()), std::to_string(round));
            EXPECT_EQ(RegCloseKey(key), ERROR_SUCCESS);
        }
    });
    HKEY const shared = create("Shared");
    for (int thread = 0; thread < threads; ++thread)
        EXPECT_EQ(getValue(shared, ("t" + std::to_string(thread)).c_str()), std::to_string(rounds - 1));
}

TEST_F(RegistryTest, AStoreThatIsNoFileIsAnError) {
    HKEY const key = create(agentKey);
    ASSERT_EQ(unlink(m_store.c_str()), 0);
    ASSERT_EQ(mkdir(m_store.c_str(), 0700), 0);
    HKEY other = nullptr;
    EXPECT_EQ(getValue(key, "name"), error(ERROR_READ_FAULT));
    EXPECT_EQ(setValue(key, "name", "value"), ERROR_WRITE_FAULT);
    EXPECT_EQ(RegDeleteValue(key, "name"), ERROR_WRITE_FAULT);
    EXPECT_EQ(RegCreateKey(HKEY_LOCAL_MACHINE, "other", &other), ERROR_READ_FAULT);
    EXPECT_FALSE(InitializeRegistry(m_directory.wideFile("deep/er/registry")));
    ASSERT_EQ(rmdir(m_store.c_str()), 0);
    EXPECT_EQ(setValue(key, "name", "value"), ERROR_SUCCESS);
    EXPECT_EQ(getValue(key, "name"), "value");
}

} // namespace
