#include <tests/support/RegistryValues.h>
#include <tests/support/TemporaryDirectory.h>
#include <zun/configuration/IConfiguration.h>
#include <zun/platform/helper/CommonHelper.h>

#include <boost/thread/lock_types.hpp>
#include <gmock/gmock.h>

#include <filesystem>
#include <thread>

using namespace orvane_com::zun::configuration;
using orvane_com::zun::helper::toWide;
using testing::ElementsAre;
using testing::UnorderedElementsAre;

namespace {

class IConfigurationTest : public testing::Test {
protected:
    /// Writes the agent's configuration file with the given elements inside its root.
    void writeConfiguration(std::string const& elements) {
        std::filesystem::create_directories(directory.file("etc/XOQAGENT3700MACX"));
        writeFile(directory.file("etc/XOQAGENT3700MACX/config.xml"),
                  "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Configuration>" + elements +
                      "</Configuration>\n");
    }
    bool setUp() { return configuration.SetConfigurationDirectory(directory.wideFile("etc")); }

    std::string installed() const { return directory.file("agent"); }

    TemporaryDirectory directory;
    IConfiguration& configuration = *IConfiguration::GetConfiguration();
};

void setAgentValue(char const* name, std::string const& text) {
    HKEY key = nullptr;
    ASSERT_EQ(RegCreateKey(HKEY_LOCAL_MACHINE, "SOFTWARE\\Tessaro\\Velkmaster\\Agent", &key), 0);
    ASSERT_EQ(setValue(key, name, text), 0);
    RegCloseKey(key);
}

TEST_F(IConfigurationTest, PathsAreDerivedFromTheConfigurationFile) {
    EXPECT_EQ(configuration.GetAgentDataDirectory(), L"/AgentDB") << "before it is set up";
    std::filesystem::create_directories(installed() + "/scratch");
    writeFile(installed() + "/scratch/siteinfo.ini", "");
    writeConfiguration("<InstalledPath>" + installed() +
                       "</InstalledPath><UpdaterDataDir>/u \xC3\xA9</UpdaterDataDir>"
                       "<DebugScript>debug.sh</DebugScript>");
    ASSERT_TRUE(setUp());
    std::wstring const agent = toWide(installed());
    EXPECT_EQ(configuration.GetProductConfigurationBaseDirectory(), directory.wideFile("etc"));
    EXPECT_THAT(
        (std::vector{configuration.GetAgentInstallLocation(), configuration.GetFrameworkDataDirectory(),
                     configuration.GetAgentDataDirectory(), configuration.GetAgentArchiveDirectory(),
                     configuration.GetAgentUnpackDirectory(), configuration.GetAgentIniFullPath(),
                     configuration.GetRegistryIniFullPath(), configuration.GetPolicyBaseDirectory(),
                     configuration.GetTaskBaseDirectory(), configuration.GetEventBaseDirectory(),
                     configuration.GetAgentBinDirectory(), configuration.GetAgentLibDirectory()}),
        ElementsAre(agent, agent + L"/scratch", agent + L"/scratch/AgentDB", agent + L"/scratch/AgArchv",
                    agent + L"/scratch/AgUnpack", agent + L"/scratch/agent.ini",
                    agent + L"/scratch/registry.ini", agent + L"/scratch/AgentDB/Policy",
                    agent + L"/scratch/AgentDB/Task", agent + L"/scratch/AgentDB/Event", agent + L"/bin",
                    agent + L"/lib"));
    EXPECT_EQ(configuration.GetUpdaterDataDir(), L"/u \u00E9");
    EXPECT_EQ(configuration.GetUpdaterDataTempDir(), L"/u \u00E9/tmp/");
    EXPECT_EQ(configuration.GetAgentLangId(), L"/u \u00E9");
    EXPECT_EQ(configuration.GetDebugScript(), L"debug.sh");
    EXPECT_EQ(configuration.GetAgentSoftwareId(), L"XOQAGENT3700MACX");
    EXPECT_EQ(configuration.GetMetaAgentSoftwareId(), L"XOQAGENT3000META");
    EXPECT_TRUE(configuration.IsManaged());
    long version[4] = {};
    EXPECT_TRUE(configuration.GetAgentVersion(version[0], version[1], version[2], version[3]));
    EXPECT_THAT(version, ElementsAre(5, 7, 4, 418));

    // A second set-up replaces the values; what the file lacks is empty.
    std::filesystem::remove(installed() + "/scratch/siteinfo.ini");
    writeConfiguration("<InstalledPath>" + installed() + "</InstalledPath>");
    ASSERT_TRUE(setUp());
    EXPECT_FALSE(configuration.IsManaged());
    EXPECT_EQ(configuration.GetDebugScript(), L"");
    EXPECT_EQ(configuration.GetUpdaterDataTempDir(), L"/tmp/");
}

TEST_F(IConfigurationTest, AConfigurationFileThatCannotBeUsedIsAnException) {
    std::filesystem::create_directories(directory.file("etc/XOQAGENT3700MACX"));
    auto const expectFailure = [this](char const* what) {
        testing::internal::CaptureStdout();
        try {
            setUp();
            ADD_FAILURE() << what;
        } catch (ConfigurationException const& failure) {
            EXPECT_EQ(failure.GetMessage(), L"xml parser croaked");
            EXPECT_EQ(failure.GetPlace(), L"IConfiguration::IConfiguration");
            EXPECT_EQ(failure.GetCode(), -1);
            EXPECT_STREQ(failure.what(), "xml parser croaked");
        }
        EXPECT_EQ(testing::internal::GetCapturedStdout(), "xml parser croaked\n") << what;
        EXPECT_EQ(configuration.GetAgentHotFixVersion(), L"");
    };
    std::string const file = directory.file("etc/XOQAGENT3700MACX/config.xml");
    expectFailure("missing");
    writeFile(file, "");
    expectFailure("empty");
    writeFile(file, "<Configuration><InstalledPath>/opt</Configuration>");
    expectFailure("malformed");
}

TEST_F(IConfigurationTest, IdentityIsReadAnewEachTime) {
    std::wstring text = L"unchanged";
    EXPECT_FALSE(configuration.GetAgentGUID(text));
    writeConfiguration("<InstalledPath>" + installed() +
                       "</InstalledPath><HotFixVersions>HF1, HF2</HotFixVersions>");
    ASSERT_TRUE(setUp());
    EXPECT_FALSE(configuration.GetAgentGUID(text) || configuration.GetAgentTenantId(text));
    EXPECT_EQ(text, L"unchanged");
    EXPECT_EQ(configuration.GetAgentHotFixVersion(), L"HF1, HF2");

    setAgentValue("AgentGUID", "{1-2}");
    setAgentValue("TenantId", "\xC3\xA9");
    setAgentValue("ServerKeyHash", std::string("ab\0cd", 5));
    EXPECT_TRUE(configuration.GetAgentGUID(text) && text == L"{1-2}");
    EXPECT_TRUE(configuration.GetAgentTenantId(text) && text == L"\u00E9");
    EXPECT_TRUE(configuration.GetServerKeyHash(text) && text == L"ab");
    for (std::size_t length : {63u, 64u, 65u}) {
        setAgentValue("AgentGUID", std::string(length, 'g'));
        EXPECT_TRUE(configuration.GetAgentGUID(text));
        EXPECT_EQ(text, std::wstring(std::min<std::size_t>(length, 64), L'g'));
    }
    EXPECT_NE(readFile(installed() + "/scratch/registry.ini"), "");
}

TEST_F(IConfigurationTest, ProductsAreTheDirectoriesThatAreNoUpdates) {
    writeConfiguration("<InstalledPath>" + installed() + "</InstalledPath>");
    ASSERT_TRUE(setUp());
    for (char const* const name : {"CMNUPD__3000", "CMDAGENT1000", "CMDAGENX1000"})
        std::filesystem::create_directory(directory.file(std::string("etc/") + name));
    std::filesystem::create_directory_symlink(directory.path(), directory.file("etc/LINKED"));
    writeFile(directory.file("etc/readme"), "");
    std::vector<std::wstring> ids{L"before"};
    EXPECT_TRUE(configuration.GetAvailableSoftwareIds(ids));
    EXPECT_THAT(ids, UnorderedElementsAre(L"before", L"XOQAGENT3700MACX", L"CMDAGENX1000", L"LINKED"));
    std::filesystem::remove_all(directory.file("etc"));
    EXPECT_FALSE(configuration.GetAvailableSoftwareIds(ids));
    EXPECT_EQ(ids.size(), 4u);
}

TEST_F(IConfigurationTest, FlagsAndTheLockOfTheAgentIni) {
    EXPECT_FALSE(configuration.isAgentShuttingDown());
    EXPECT_TRUE(configuration.setAgentShuttingDown(true) && configuration.isAgentShuttingDown());
    EXPECT_TRUE(configuration.UnlockAgentIni() && configuration.LockAgentIni());
    EXPECT_THROW(configuration.LockAgentIni(), boost::lock_error);
    std::thread([this] { EXPECT_THROW(configuration.LockAgentIni(), boost::lock_error); }).join();
    EXPECT_TRUE(configuration.UnlockAgentIni());
    std::thread([this] {
        EXPECT_TRUE(configuration.LockAgentIni() && configuration.UnlockAgentIni());
    }).join();
}

} // namespace
