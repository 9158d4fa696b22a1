#include <tests/support/TemporaryDirectory.h>
#include <zun/platform/registry/Registry.h>

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace std::string_literals;

namespace {

constexpr char const* agentKey = "SOFTWARE\\Tessaro\\Velkmaster\\Agent";

long set(HKEY key, char const* name, std::string const& bytes, unsigned long type = REG_SZ) {
    return RegSetValueEx(key, name, 0, type, reinterpret_cast<unsigned char const*>(bytes.data()),
                         bytes.size());
}

/// The value's bytes, or "error N".
std::string get(HKEY key, char const* name, unsigned long* type = nullptr) {
    std::string bytes(100'000, '#');
    unsigned long size = bytes.size();
    long const error =
        RegQueryValueEx(key, name, nullptr, type, reinterpret_cast<unsigned char*>(bytes.data()), &size);
    return error == ERROR_SUCCESS ? bytes.substr(0, size) : "error " + std::to_string(error);
}

std::string error(long number) {
    return "error " + std::to_string(number);
}

class RegistryTest : public testing::Test {
protected:
    RegistryTest() { EXPECT_TRUE(InitializeRegistry(m_directory.wideFile("deep/er/registry"))); }

    HKEY create(char const* name) const {
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
    EXPECT_EQ(get(HKEY_LOCAL_MACHINE, "x"), error(ERROR_NOT_READY));
    EXPECT_EQ(set(HKEY_LOCAL_MACHINE, "x", "y"), ERROR_NOT_READY);
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
    EXPECT_EQ(set(key, "Na\u00C4me", "x"), ERROR_SUCCESS);
    EXPECT_EQ(get(again, "nA\u00E4ME"), "x");
    EXPECT_EQ(set(again, "na\u00E4me", "y"), ERROR_SUCCESS);
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
    EXPECT_EQ(get(again, "na\u00E4me"), "y");
    EXPECT_EQ(RegCloseKey(again), ERROR_SUCCESS);
    EXPECT_EQ(RegCloseKey(again), ERROR_INVALID_HANDLE);
    EXPECT_EQ(get(again, "na\u00E4me"), error(ERROR_INVALID_HANDLE));
    EXPECT_EQ(RegCloseKey(HKEY_LOCAL_MACHINE), ERROR_SUCCESS);
}

TEST_F(RegistryTest, ValuesOfAnyBytesSurvive) {
    HKEY const key = create("K ]\\ b");
    std::string everyByte;
    for (int byte = 0; byte < 256; ++byte)
        everyByte += static_cast<char>(byte);
    std::string const texts[] = {"",
                                 "plain",
                                 "C:\\dir\\",
                                 "\"quoted\"",
                                 "two\r\nlines\t",
                                 "end\0"s,
                                 "\0\0"s,
                                 "\u00E4\u4E2D\U0001F600",
                                 "cut \xF0\x9F\x98",
                                 everyByte,
                                 std::string(70'000, '\xC3')};
    for (unsigned long const type : {REG_SZ, REG_BINARY, 0ul, ~0ul})
        for (std::string const& text : texts) {
            ASSERT_EQ(set(key, "v=\\\"", text, type), ERROR_SUCCESS);
            unsigned long storedType = 99;
            EXPECT_EQ(get(key, "v=\\\"", &storedType), text);
            EXPECT_EQ(storedType, type);
        }
    ASSERT_EQ(set(key, nullptr, "unnamed"), ERROR_SUCCESS);
    EXPECT_EQ(get(key, ""), "unnamed");
    EXPECT_EQ(set(key, "a\nb", "x"), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(RegSetValueEx(key, "null", 0, REG_SZ, nullptr, 1), ERROR_INVALID_PARAMETER);
    EXPECT_EQ(RegDeleteValue(key, "V=\\\""), ERROR_SUCCESS);
    EXPECT_EQ(RegDeleteValue(key, "V=\\\""), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(get(key, "v=\\\""), error(ERROR_FILE_NOT_FOUND));
}

TEST_F(RegistryTest, FillsTheBufferItIsGiven) {
    HKEY const key = create(agentKey);
    ASSERT_EQ(set(key, "text", "12345"), ERROR_SUCCESS);
    ASSERT_EQ(set(key, "bytes", "12345", REG_BINARY), ERROR_SUCCESS);
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
    EXPECT_EQ(get(key, "good"), "1A");
    EXPECT_EQ(get(key, "bin"), "\0\xFF"s);
    EXPECT_EQ(get(key, "bad"), error(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(get(key, "still"), "A");
    EXPECT_EQ(get(key, "more"), "3");
    EXPECT_EQ(get(key, "before"), error(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(set(key, "bad", "new"), ERROR_SUCCESS);
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
        ASSERT_EQ(get(key, "v"), digits);
    }
    // Another file of the same size and time, once the time of the first tells changes apart.
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    ASSERT_EQ(get(key, "v"), "149");
    std::string const other = m_directory.file("copy");
    writeFile(other, "[HKEY_LOCAL_MACHINE\\A]\n\"v\" = \"abc\"\n");
    std::filesystem::last_write_time(other, std::filesystem::last_write_time(m_store));
    std::filesystem::rename(other, m_store);
    EXPECT_EQ(get(key, "v"), "abc");

    ASSERT_EQ(unlink(m_store.c_str()), 0);
    EXPECT_EQ(get(key, "v"), error(ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(set(key, "v", "anew"), ERROR_SUCCESS);
    EXPECT_EQ(get(key, "v"), "anew");

    ASSERT_TRUE(InitializeRegistry(m_directory.wideFile("other")));
    EXPECT_EQ(get(key, "v"), error(ERROR_FILE_NOT_FOUND));
    EXPECT_FALSE(InitializeRegistry(m_directory.wideFile("other/below a file")));
    EXPECT_EQ(set(key, "v", "other"), ERROR_SUCCESS);
    ASSERT_TRUE(InitializeRegistry(m_directory.wideFile("deep/er/registry")));
    EXPECT_EQ(get(key, "v"), "anew");
}

TEST_F(RegistryTest, ServesManyThreads) {
    constexpr int threads = 8;
    constexpr int rounds = 25;
    std::vector<std::thread> workers;
    for (int thread = 0; thread < threads; ++thread)
        workers.emplace_back([thread] {
            std::string const name = "t" + std::to_string(thread);
            for (int round = 0; round < rounds; ++round) {
                HKEY key = nullptr;
                EXPECT_EQ(RegCreateKey(HKEY_LOCAL_MACHINE, (round % 2 == 0 ? "Shared" : name).c_str(), &key),
                          ERROR_SUCCESS);
                EXPECT_EQ(set(key, name.c_str(), std::to_string(round)), ERROR_SUCCESS);
                EXPECT_EQ(get(key, name.c_str()), std::to_string(round));
                EXPECT_EQ(RegCloseKey(key), ERROR_SUCCESS);
            }
        });
    for (std::thread& worker : workers)
        worker.join();
    HKEY const shared = create("Shared");
    for (int thread = 0; thread < threads; ++thread)
        EXPECT_EQ(get(shared, ("t" + std::to_string(thread)).c_str()), std::to_string(rounds - 1));
}

TEST_F(RegistryTest, AStoreThatIsNoFileIsAnErrorAndAMissingOneIsEmpty) {
    HKEY const key = create(agentKey);
    ASSERT_EQ(set(key, "name", "value"), ERROR_SUCCESS);
    ASSERT_EQ(unlink(m_store.c_str()), 0);
    EXPECT_EQ(get(key, "name"), error(ERROR_FILE_NOT_FOUND));
    ASSERT_EQ(mkdir(m_store.c_str(), 0700), 0);
    HKEY other = nullptr;
    EXPECT_EQ(get(key, "name"), error(ERROR_READ_FAULT));
    EXPECT_EQ(set(key, "name", "value"), ERROR_WRITE_FAULT);
    EXPECT_EQ(RegDeleteValue(key, "name"), ERROR_WRITE_FAULT);
    EXPECT_EQ(RegCreateKey(HKEY_LOCAL_MACHINE, "other", &other), ERROR_READ_FAULT);
    EXPECT_FALSE(InitializeRegistry(m_directory.wideFile("deep/er/registry")));
    ASSERT_EQ(rmdir(m_store.c_str()), 0);
    EXPECT_EQ(set(key, "name", "value"), ERROR_SUCCESS);
    EXPECT_EQ(get(key, "name"), "value");
    ASSERT_EQ(RegCloseKey(key), ERROR_SUCCESS);
    EXPECT_EQ(set(key, "name", "value"), ERROR_INVALID_HANDLE);
}

} // namespace
