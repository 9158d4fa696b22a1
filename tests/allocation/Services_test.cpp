#include <tests/allocation/FailingAllocations.h>
#include <tests/support/Allocations.h>
#include <zun/configuration/IConfiguration.h>
#include <zun/platform/crypto/ACryptWrap.h>
#include <zun/platform/registry/Registry.h>
#include <zun/platform/xml/AdvXMLParser.h>

#include <filesystem>
#include <memory>
#include <unistd.h>

namespace {

using ServicesAllocation = AllocationTest;

TEST_F(ServicesAllocation, ADocumentsTextIsReadOrTheReasonGiven) {
    std::wstring const file = path("document");
    write("document", "\xEF\xBB\xBF<root>\xC3\xA9</root>");
    std::wstring text;
    auto const run = [&]() noexcept {
        std::int32_t encoding = AdvXMLParser::Utf8;
        std::int32_t const result = AdvXMLParser::ReadBufferFromFileNoExp(file, text, encoding);
        EXPECT_TRUE(result == 0 || result == AdvXMLParser::OutOfMemory) << result;
        return result == 0;
    };
    failEach(
        run, [&](bool done) { EXPECT_EQ(text, done ? L"<root>\xE9</root>" : L"old"); },
        [&] { text = L"old"; });
}

TEST_F(ServicesAllocation, ADocumentIsParsedOrNot) {
    std::wstring document = L"<!DOCTYPE root [<!ENTITY e 'text'>]><root>";
    for (int i = 0; i < 40; ++i)
        document.append(L"<element-").append(std::to_wstring(i)).append(L" name='a value'>&e;<![CDATA[x]]>");
    for (int i = 40; i-- > 0;)
        document.append(L"</element-").append(std::to_wstring(i)).append(L">");
    document += L"</root>";
    failEach([&] {
        std::unique_ptr<AdvXMLParser::Document> const parsed(
            AdvXMLParser::Parser().Parse(document.c_str(), document.size()));
        return parsed->GetRoot().GetElement(L"element-0").GetValue() == L"textx" &&
               parsed->GenerateXML(false).size() > document.size() / 2;
    });
}

TEST_F(ServicesAllocation, ADocumentDoesNotGrowByEdits) {
    std::wstring const text = L"<a b='c'>d<e/></a>";
    long const without = allocationsAlive();
    {
        std::unique_ptr<AdvXMLParser::Document> const document(
            AdvXMLParser::Parser().Parse(text.c_str(), text.size()));
        AdvXMLParser::Element& root = document->GetRoot();
        std::wstring const longText(1000, L'x');
        long before = 0;
        for (int round = 0; round < 30; ++round) {
            AdvXMLParser::Element& added = root.AddElementInto(L"added");
            for (int i = 0; i < 20 + round; ++i) {
                added.AddText(longText);
                added.CreateAttribute(L"f").AddText(longText);
                root.GetAttribute(L"b")->AddText(longText);
            }
            added.Delete();
            root.GetAttribute(L"b")->SetValue({});
            if (round == 0)
                before = allocationsAlive();
            EXPECT_EQ(allocationsAlive(), before);
        }
        root.AddElementInto(L"left");
    }
    EXPECT_EQ(allocationsAlive(), without);
}

TEST_F(ServicesAllocation, TheRegistryIsChangedOrNot) {
    std::wstring const store = path("registry");
    std::string const key = "A\\\xC3\x89 and more";
    std::string const text = "a value of some length";
    auto const bytes = reinterpret_cast<unsigned char const*>(text.data());
    struct Close {
        void operator()(HKEY open) const { RegCloseKey(open); }
    };
    auto const run = [&] {
        HKEY handle = nullptr;
        if (!InitializeRegistry(store) ||
            RegCreateKey(HKEY_LOCAL_MACHINE, key.c_str(), &handle) != ERROR_SUCCESS)
            return false;
        std::unique_ptr<RegistryKey, Close> const owner(handle);
        unsigned long size = 0;
        return RegSetValueEx(handle, "name", 0, REG_SZ, bytes, text.size()) == ERROR_SUCCESS &&
               RegQueryValueEx(handle, "name", nullptr, nullptr, nullptr, &size) == ERROR_SUCCESS &&
               size == text.size();
    };
    auto const check = [&](bool done) {
        std::string const begin = "[HKEY_LOCAL_MACHINE\\" + key + "]\n\"name\" = \"";
        EXPECT_TRUE(contents("registry") == begin + text + "\"\n" ||
                    (!done && contents("registry") == begin + "old\"\n"))
            << contents("registry");
        HKEY handle = nullptr;
        EXPECT_EQ(RegOpenKey(HKEY_LOCAL_MACHINE, key.c_str(), &handle), ERROR_SUCCESS);
        EXPECT_EQ(RegCloseKey(handle), ERROR_SUCCESS);
        EXPECT_EQ(RegCloseKey(handle), ERROR_INVALID_HANDLE) << "it was left open";
        EXPECT_EQ(countFiles(), 1);
    };
    auto const prepare = [&] {
        write("registry", "[HKEY_LOCAL_MACHINE\\" + key + "]\n\"name\" = \"old\"\n");
        EXPECT_TRUE(InitializeRegistry(store));
    };
    failEach(run, check, prepare);
}

TEST_F(ServicesAllocation, TheRegistryGrowsWithItsText) {
    std::string const root = "[HKEY_LOCAL_MACHINE";
    std::string deep = root;
    for (int level = 0; level < 512; ++level)
        deep += "\\" + std::string(400, 'a');
    write("registry", root + std::string(40'000, '\\') + "]\n" + deep + "]\n\"v\" = \"1\"\n");
    std::size_t const before = allocatedBytes();
    EXPECT_TRUE(InitializeRegistry(path("registry")));
    EXPECT_LT(allocatedBytes() - before, 20 * contents("registry").size());
    unsigned long size = 0;
    HKEY key = nullptr;
    std::string const keyPath = deep.substr(root.size() + 1);
    EXPECT_EQ(RegOpenKey(HKEY_LOCAL_MACHINE, keyPath.c_str(), &key), ERROR_SUCCESS);
    EXPECT_EQ(RegQueryValueEx(key, "V", nullptr, nullptr, nullptr, &size), ERROR_SUCCESS);
    EXPECT_EQ(RegCreateKey(key, "b", &key), ERROR_INVALID_PARAMETER) << "one level too many";
    RegCloseKey(key);
}

TEST_F(ServicesAllocation, AKeyIsCreatedAndUsed) {
    std::string const key = directory.file("key");
    std::string const clear(200, 'c');
    auto const run = [&] {
        std::string stored;
        std::string read;
        return ACryptWrap::useKeyFile(key) && ACryptWrap::encrypt_data(clear, stored) &&
               !ACryptWrap::decrypt_data(stored.substr(0, 100), read) &&
               ACryptWrap::decrypt_data(stored, read) && read == clear;
    };
    auto const check = [&](bool) {
        EXPECT_EQ(contents("key").size(), countFiles() == 0 ? 0u : 32u);
        EXPECT_LE(countFiles(), 1);
    };
    failEach(run, check, [&] { unlink(key.c_str()); });
}

TEST_F(ServicesAllocation, TheConfigurationIsSetUpOrNot) {
    using namespace orvane_com::zun::configuration;
    std::filesystem::create_directories(directory.file("etc/XOQAGENT3700MACX"));
    std::filesystem::create_directories(directory.file("agent/scratch"));
    write("etc/XOQAGENT3700MACX/config.xml",
          "<Configuration><InstalledPath>" + directory.file("agent") + "</InstalledPath></Configuration>");
    IConfiguration& configuration = *IConfiguration::GetConfiguration();
    auto const run = [&] {
        try {
            std::vector<std::wstring> ids;
            std::wstring guid;
            return configuration.SetConfigurationDirectory(directory.wideFile("etc")) &&
                   configuration.GetAvailableSoftwareIds(ids) && ids.size() == 1 &&
                   !configuration.GetAgentGUID(guid);
        } catch (ConfigurationException const&) {
            return false;
        }
    };
    testing::internal::CaptureStdout();
    EXPECT_TRUE(run());
    failEach(run);
    testing::internal::GetCapturedStdout();
}

} // namespace
