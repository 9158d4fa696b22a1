#include <tests/support/Crowd.h>
#include <tests/support/KilledWriter.h>
#include <tests/support/LogCapture.h>
#include <tests/support/RegistryValues.h>
#include <zun/platform/helper/CommonHelper.h>
#include <zun/platform/registry/ProfileString.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <ostream>
#include <sys/stat.h>
#include <unistd.h>

using orvane_com::zun::helper::toWide;

namespace {

/// A file that several processes share, in either of the two formats.
struct Store {
    char const* name;
    bool (*open)(std::string const& file);
    bool (*set)(std::string const& file, std::string const& name, std::string const& value);
    std::string (*get)(std::string const& file, std::string const& name);
};

void PrintTo(Store const& store, std::ostream* stream) {
    *stream << store.name;
}

bool setProfile(std::string const& file, std::string const& name, std::string const& value) {
    return WritePrivateProfileString(L"s", toWide(name).c_str(), toWide(value).c_str(), toWide(file).c_str());
}

std::string getProfile(std::string const& file, std::string const& name) {
    std::wstring buffer(20'000, L'\0');
    buffer.resize(GetPrivateProfileString(L"s", toWide(name).c_str(), L"", buffer.data(), buffer.size(),
                                          toWide(file).c_str()));
    return orvane_com::zun::helper::toNarrow(buffer);
}

bool openRegistry(std::string const& file) {
    return InitializeRegistry(toWide(file));
}

bool setRegistry(std::string const& /*file*/, std::string const& name, std::string const& value) {
    HKEY key = nullptr;
    return RegCreateKey(HKEY_LOCAL_MACHINE, "s", &key) == ERROR_SUCCESS &&
           setValue(key, name.c_str(), value) == ERROR_SUCCESS && RegCloseKey(key) == ERROR_SUCCESS;
}

std::string getRegistry(std::string const& /*file*/, std::string const& name) {
    HKEY key = nullptr;
    bool const isOpen = RegOpenKey(HKEY_LOCAL_MACHINE, "s", &key) == ERROR_SUCCESS;
    std::string const value = isOpen ? getValue(key, name.c_str()) : "error";
    RegCloseKey(key);
    return value.starts_with("error") ? "" : value;
}

class SharedStoreTest : public testing::TestWithParam<Store> {
protected:
    SharedStoreTest() { EXPECT_TRUE(GetParam().open(m_file)); }
    bool set(std::string const& name, std::string const& value) const {
        return GetParam().set(m_file, name, value);
    }
    std::string get(std::string const& name) const { return GetParam().get(m_file, name); }

    TemporaryDirectory m_directory;
    std::string m_file = m_directory.file("store");
};

TEST_P(SharedStoreTest, ProcessesLoseNoneOfTheirWrites) {
    constexpr int processes = 3;
    auto const forEachName = [](int process, auto const& work) {
        bool wellDone = true;
        for (int write = 0; write < 40; ++write)
            wellDone = work(std::to_string(process) + "/" + std::to_string(write)) && wellDone;
        return wellDone;
    };
    auto const stands = [this](std::string const& name) { return get(name) == name; };
    runInProcesses(processes, [&](int process) {
        return forEachName(process, [&](std::string const& name) { return set(name, name) && stands(name); });
    });
    for (int process = 0; process < processes; ++process)
        EXPECT_TRUE(forEachName(process, stands));
}

TEST_P(SharedStoreTest, AKilledWriterLeavesTheOldFileOrTheNewOne) {
    std::string const values[] = {std::string(10'000, 'a'), std::string(7'000, 'b')};
    ASSERT_TRUE(set("v", "") && set("other", "kept"));
    killWriterAtRandomMoments([&](std::size_t count) { return set("v", values[count % 2]); }, m_file);
    EXPECT_TRUE(set("v", "free")) << "no lock is left behind";
    EXPECT_EQ(get("v") + get("other"), "freekept");
}

TEST_P(SharedStoreTest, NamesIgnoreCaseByOneRule) {
    char const* const alike[][2] = {{"\u03A3\u03A3", "\u03C3\u03C2"},
                                    {"\u00C4\u0416", "\u00E4\u0436"},
                                    {"\u212A", "k"},
                                    {"\u1E9E", "\u00DF"},
                                    {"\U00010400", "\U00010428"}};
    char const* const unlike[][2] = {
        {"\u0130", "i"}, {"\u0131", "I"}, {"\u00DF", "ss"}, {"\u00D7", "\u00F7"}};
    for (auto const& [one, other] : alike)
        EXPECT_TRUE(set(one, "v") && get(other) == "v") << one;
    for (auto const& [one, other] : unlike)
        EXPECT_TRUE(set(one, "w") && get(other) != "w") << one;
}

TEST_P(SharedStoreTest, ARefusedFileIsToldWithItsReason) {
    LogCapture log;
    unlink(m_file.c_str());
    ASSERT_EQ(mkfifo(m_file.c_str(), 0600), 0);
    EXPECT_EQ(get("v"), "");
    EXPECT_FALSE(set("v", "w"));
    auto const reason = testing::HasSubstr(m_file + "\" is refused: it is no regular file");
    EXPECT_GE(std::ranges::count_if(log.takeLines(), testing::Matches(reason)), 2);
}

INSTANTIATE_TEST_SUITE_P(Formats, SharedStoreTest,
                         testing::Values(Store{"Profile", [](std::string const&) { return true; }, setProfile,
                                               getProfile},
                                         Store{"Registry", openRegistry, setRegistry, getRegistry}),
                         [](auto const& instance) { return instance.param.name; });

} // namespace
