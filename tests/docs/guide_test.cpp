// The examples of docs/guide.md, in its order: they stand here line for line, and do what the guide says.

#include <zun/binary/ABinaryStream.h>
#include <zun/binary/Base64.h>
#include <zun/configuration/IConfiguration.h>
#include <zun/files/AFile.h>
#include <zun/files/AFileIndex.h>
#include <zun/files/AFiler.h>
#include <zun/files/ALibrary.h>
#include <zun/files/APath.h>
#include <zun/linux/log.h>
#include <zun/lock/CReadWriteSync.h>
#include <zun/lock/InterProcessLock.h>
#include <zun/logger/ILogger.h>
#include <zun/platform/crypto/ACryptWrap.h>
#include <zun/platform/helper/CommonHelper.h>
#include <zun/platform/registry/ProfileString.h>
#include <zun/platform/registry/Registry.h>
#include <zun/structured/AnIni2.h>
#include <zun/structured/AnXml.h>
#include <zun/structured/AnXmlChildIndex.h>
#include <zun/structured/AnXmlNode.h>
#include <zun/structured/MatchWildcard.h>
#include <zun/text/ALocalizedString.h>
#include <zun/text/AStringList.h>
#include <zun/text/AStringParser.h>
#include <zun/text/AVersion.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <tests/support/ChildProcess.h>
#include <tests/support/LoggerFixture.h>
#include <thread>
#include <unistd.h>

using namespace orvane_com::zun::logger;
using orvane_com::zun::configuration::IConfiguration;
using orvane_com::zun::lock::InterProcessReadLock;
using orvane_com::zun::lock::InterProcessWriteLock;
using testing::Contains;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::UnorderedElementsAre;

namespace helper = orvane_com::zun::helper;

/// The main function of first_program.cpp.
int firstProgram();

namespace {

class Guide : public LoggerFixture {
protected:
    void log() { ASSERT_TRUE(attach("agent.log")); }
    std::vector<std::string> logged() const { return lines("agent.log"); }

    /// Makes the test's directory the process's root directory, so that fixed paths lead into it.
    bool enterRoot() const { return chroot(directory.path().c_str()) == 0 && chdir("/") == 0; }

    std::wstring const home = helper::toWide(directory.path());
};

constexpr char onlyRoot[] = "only the super-user may have a root directory of its own";

TEST_F(Guide, LogToAFile) {
    setupLog((home + L"/agent.log").c_str(), L"", false, false);
    logInfo(L"Agent", L"The agent starts");
    logDetail(L"Agent", L"Not written: the level is Info");
    setLogLevelDetailed(true);
    logDetail(L"Agent", AString(L"Written now, by process ") << getpid());

    EXPECT_THAT(logged(),
                ElementsAre(EndsWith("[Agent] [I] The agent starts"), HasSubstr("[Agent] [D] Written now")));
}

TEST_F(Guide, RotateTheLog) {
    setupLog((home + L"/agent.log").c_str(), L"", false, false);
    ILogger& logger = *ILogger::GetLogger();
    logger.setMaxLogFileSize(16);    // KiB
    logger.setNumberOfBackupLogs(3); // agent_backup_1.log, the newest, to agent_backup_3.log
    for (int number = 1; number <= 1000; ++number)
        logInfo(L"Agent", AString(L"Line ") << number);

    std::vector<std::string> files;
    for (auto const& entry : std::filesystem::directory_iterator(directory.path()))
        files.push_back(entry.path().filename());
    EXPECT_THAT(files, UnorderedElementsAre("agent.log", "agent_backup_1.log", "agent_backup_2.log",
                                            "agent_backup_3.log"));
    EXPECT_THAT(lines("agent_backup_1.log").back(), EndsWith("Rotating log files"));
}

bool work(std::wstring const& logFile, int worker) {
    setupLog(logFile.c_str(), L"", false, false);
    for (int job = 1; job <= 100; ++job)
        logInfo(L"Worker", AString(L"worker ") << worker << L" does job " << job);
    return true;
}

TEST_F(Guide, SeveralProcessesOneLog) {
    ChildProcess first([this] { return work(home + L"/agent.log", 1); });
    ChildProcess second([this] { return work(home + L"/agent.log", 2); });
    EXPECT_TRUE(first.join());
    EXPECT_TRUE(second.join());
    EXPECT_EQ(logged().size(), 200U);
    EXPECT_THAT(logged(), Contains(EndsWith("worker 2 does job 100")));
}

TEST_F(Guide, ExplainAnError) {
    log();
    AnInfoTrace const update(L"Update", L"Installing version 2");
    AnInfoTrace step(L"Update", L"Downloading the archive");
    step.set(L"Unpacking the archive", true);
    logError(L"Update", L"The archive ends early");

    EXPECT_THAT(logged(), ElementsAre(HasSubstr("[I] Installing"), HasSubstr("[I] Downloading"),
                                      HasSubstr("[I] Unpacking"), EndsWith("[Update] [E] Error trace:"),
                                      EndsWith("[Update] [E]  [Installing version 2]->"),
                                      EndsWith("[Update] [E]  [Unpacking the archive]->"),
                                      EndsWith("[Update] [E]   The archive ends early")));
}

bool removeOldVersion(char const* path) {
    AnInfoTrace const trace(L"Update", L"Removing the old version");
    return !logErrnoIf(L"Update", rmdir(path) != 0);
}

TEST_F(Guide, ExplainASystemError) {
    log();
    EXPECT_FALSE(removeOldVersion(path("missing").c_str()));
    EXPECT_THAT(logged(), Contains(EndsWith("[Update] [E]   No such file or directory")));
}

TEST_F(Guide, MessagesOfTheTable) {
    log();
    ILogger& logger = *ILogger::GetLogger();
    constexpr long failedToOpenFile = 0x4003;
    constexpr long supportIs = 0x40CF;
    logger.logMessage(Err, Plugin, failedToOpenFile, L"/etc/agent.conf");
    logger.logMessage(Info, ListenServer, supportIs, MultiArgs(std::wstring(L"IPv6")).add(L"enabled"));

    EXPECT_THAT(logged(),
                ElementsAre(EndsWith(" [Plugin]  [E] Failed to open file /etc/agent.conf"),
                            EndsWith(" [ListenServer]  [I] IPv6 support is enabled in listenserver")));
}

TEST_F(Guide, MessagesOfACatalog) {
    log();
    writeFile(path("source"), "$set 1\n1 %1 Dateien nach %2 kopiert\n");
    ASSERT_EQ(std::system(("gencat " + path("agent.cat") + " " + path("source")).c_str()), 0);

    AResourceFile catalog;
    if (catalog.openExisting((home + L"/agent.cat").c_str(), 0))
        logInfo(L"Copy", ALocalizedString(1, &catalog) << 3 << L"/tmp");
    else
        logInfo(L"Copy", ALocalizedString(L"Copied %1 files to %2") << 3 << L"/tmp");

    EXPECT_THAT(logged(), ElementsAre(EndsWith("[Copy] [I] 3 Dateien nach /tmp kopiert")));
}

TEST_F(Guide, WideAndNarrowText) {
    std::wstring const wide = L"Grüße, 世界";
    std::string const utf8 = helper::toNarrow(wide); // for the network, a UTF-8 file, a terminal
    std::wstring const back = helper::toWide(utf8);  // a malformed byte would become U+FFFD

    AString text(wide);
    text.findAndReplace(L"世界", L"world");
    text << L" no. " << 2;

    EXPECT_EQ(utf8, "Gr\xC3\xBC\xC3\x9F"
                    "e, \xE4\xB8\x96\xE7\x95\x8C");
    EXPECT_EQ(back, wide);
    EXPECT_EQ(text, L"Grüße, world no. 2");
}

TEST_F(Guide, FormatNumbers) {
    AString row;
    row << AFormat(L"disk", L"-^", 8, -1) // left-justified in 8, upper case
        << AFormat(47, L"0x", 6)          // hexadecimal, zeros in front
        << AFormat(-1, L"u", 12)          // unsigned, of the low 32 bits
        << AFormat(L"too long", L"", -1, 3);

    EXPECT_EQ(row, L"DISK    00002f  4294967295too");
}

TEST_F(Guide, ListsAndParsers) {
    std::vector<std::wstring> words;
    AStringList list(L", ", false);
    list << L"scheduler" << 2 << L"updater"; // "scheduler, 2, updater"

    AStringParser parser(list, L",");
    while (!parser.atEnd()) {
        parser.skip(L" ");
        words.push_back(parser.get(nullptr));
    }

    AString name;
    AString value;
    parseInTwo(L"proxy=http://a=b", &name, L"=", &value); // "proxy" and "http://a=b"

    AVersion const installed(L"5.7.4.418");
    AVersion const wanted(5, 8, 0, 0);
    bool const isOutdated = installed.compare(&wanted) < 0;

    EXPECT_THAT(words, ElementsAre(L"scheduler", L"2", L"updater"));
    EXPECT_EQ(name, L"proxy");
    EXPECT_EQ(value, L"http://a=b");
    EXPECT_TRUE(isOutdated);
}

TEST_F(Guide, Wildcards) {
    EXPECT_TRUE(MatchWildcard("policy*.xml", "Policy-17.XML"));
    EXPECT_FALSE(MatchWildcard("policy*", "policy")); // a last "*" wants a character
}

constexpr bool littleEndian = true;
constexpr int nameWidth = 16;

unsigned long writeRecord(unsigned char* block, unsigned long size, unsigned id, AString const& name) {
    ABinaryStream stream(block, size, littleEndian);
    stream.writeUint32(id);
    stream.writeShort(1);
    stream.writeString(nameWidth, name); // cut to the width, or filled up with zero bytes
    return stream.pastEndError() ? 0 : static_cast<unsigned long>(stream.getPointer() - block);
}

bool readRecord(unsigned char* block, unsigned long size, unsigned& id, AString& name) {
    ABinaryStream stream(block, size, littleEndian);
    id = stream.readUint32();
    bool const isKnown = stream.readShort() == 1;
    stream.readString(nameWidth, name);
    return !stream.pastEndError() && isKnown;
}

TEST_F(Guide, BinaryRecords) {
    std::array<unsigned char, 64> block{};
    unsigned id = 0;
    AString name;
    EXPECT_EQ(writeRecord(block.data(), block.size(), 7, L"inventory"), 22U);
    EXPECT_TRUE(readRecord(block.data(), 22, id, name));
    EXPECT_EQ(id, 7U);
    EXPECT_EQ(name, L"inventory");

    log();
    EXPECT_FALSE(readRecord(block.data(), 21, id, name));
    EXPECT_THAT(logged(), ElementsAre(EndsWith("internal error: Tried to write past buffer end by 1")));
}

TEST_F(Guide, Base64) {
    AnObjectBuffer<unsigned char> bytes;
    bytes.allocate(4, reinterpret_cast<unsigned char const*>("\x00\xff\x10\x80"));
    AString const text = ABase64Encode::encode(bytes); // "AP8QgA=="
    AnObjectBuffer<unsigned char> const again = ABase64Encode::decode(text);

    EXPECT_EQ(text, L"AP8QgA==");
    EXPECT_EQ(again.cpp_str(), bytes.cpp_str());
}

std::string decodeInPieces(std::vector<std::string> const& pieces) {
    std::string bytes;
    int state = 0;
    for (std::string const& piece : pieces) {
        std::vector<char> room(piece.size());
        unsigned long const count =
            Base64Decode(piece.data(), piece.size(), room.data(), room.size(), &state, nullptr);
        bytes.append(room.data(), count);
    }
    return bytes;
}

TEST_F(Guide, Base64InPieces) {
    EXPECT_EQ(decodeInPieces({"SGVs", "bG8sIH", "d", "vcmxk\r\n"}), "Hello, world");
}

TEST_F(Guide, Files) {
    AString const file = APath(home, L"notes.txt");
    AFile notes;
    if (notes.openWrite(file, true)) {
        notes.writeLine(L"first");
        notes.writeLine(L"second");
        notes.close();
    }

    std::vector<std::wstring> found;
    AString line;
    if (notes.open(true, file))
        while (notes.readLine(line))
            found.push_back(line);

    ABuffer contents;
    if (AFile::read(false, file, contents))
        AFile::write(APath(home, L"copy.txt"), contents);

    EXPECT_THAT(found, ElementsAre(L"first", L"second"));
    EXPECT_EQ(readFile(path("copy.txt")), "first\nsecond\n");
}

TEST_F(Guide, Directories) {
    helper::makeDirectories(helper::toNarrow(home) + "/cache/new");
    AString const from = APath(home, L"cache/policy.xml");
    AString const to = APath(home, L"cache/new/policy.xml");
    AFile::write(from, ABuffer("<Policies/>"));
    if (AFiler::copyFile(from, to)) // `to` appears whole
        AFiler::deleteFile(from);
    AFiler::deleteFolders(APath(home, L"obsolete")); // with all in it; a link is not followed

    EXPECT_FALSE(std::filesystem::exists(path("cache/policy.xml")));
    EXPECT_EQ(readFile(path("cache/new/policy.xml")), "<Policies/>");
}

TEST_F(Guide, EnumerateFiles) {
    writeFile(path("a.xml"), "");
    std::filesystem::create_directory(path("d.xml"));
    writeFile(path("b.txt"), "");

    std::vector<std::wstring> names;
    AFileIndex index(false, home.c_str(), L"*.xml");
    AString name;
    bool isDirectory = false;
    while (index.moveNext(nullptr, &isDirectory, &name, nullptr))
        if (!isDirectory)
            names.push_back(name);

    EXPECT_THAT(names, ElementsAre(L"a.xml"));
}

TEST_F(Guide, LoadALibrary) {
    log();
    ALibrary plugin;
    int (*start)() = nullptr;
    // "inventory" stands for libinventory.dylib, on every system.
    if (plugin.open(false, (home + L"/inventory").c_str(), true, false) && plugin.get(true, "start", &start))
        start();

    EXPECT_THAT(logged(), Contains(HasSubstr("libinventory.dylib")));
}

TEST_F(Guide, ReadXml) {
    writeFile(path("policy.xml"), "<Policies version=\"1\"><Product id=\"A\">on</Product>"
                                  "<Product id=\"B\">off</Product></Policies>");

    std::map<std::wstring, std::wstring> products;
    AnXml policy;
    if (policy.useExistingFile((home + L"/policy.xml").c_str(), L"Policies", L"version", L"1")) {
        AnXmlNode const root(&policy);
        AnXmlChildIndex product(&root, L"Product");
        AString id;
        AString state;
        while (product.moveNext(L"id", &id)) {
            product.getExistingValue(L"", &state); // "" is the element's own text
            products[id] = state.const_cpp_str();
        }
    }

    EXPECT_EQ(products, (std::map<std::wstring, std::wstring>{{L"A", L"on"}, {L"B", L"off"}}));
}

TEST_F(Guide, EditXml) {
    std::wstring const file = home + L"/policy.xml";
    AnXml policy;
    policy.useFileAlways(file.c_str(), L"Policies", L"version", L"1"); // the file, or a new document
    AnXmlNode root(&policy);
    AnXmlNode product;
    root.setChild(&product, L"Product", L"id", L"A"); // found by its id, or added
    product.setChild(nullptr, L"Setting", L"name", L"Interval", L"", L"300");
    if (root.tryGetChild(&product, L"Product", L"id", L"B"))
        product.remove();
    policy.writeFile(file.c_str(), false, true);

    EXPECT_THAT(readFile(path("policy.xml")), HasSubstr("<Policies version=\"1\">\n"
                                                        "  <Product id=\"A\">\n"
                                                        "    <Setting name=\"Interval\">300</Setting>\n"));
}

TEST_F(Guide, EncipheredXml) {
    AnXml secrets;
    secrets.useNew(L"Secrets", L"token", L"4711");
    std::wstring const file = home + L"/secrets.xml";
    if (!ACryptWrap::useKeyFile(helper::toNarrow(home) + "/agent.key"))
        logError(L"Agent", AString(helper::toWide(ACryptWrap::lastError())));
    secrets.writeFile(file.c_str(), true, false);
    secrets.useExistingFile(file.c_str(), L"Secrets"); // plain or enciphered, it reads the same

    AString token;
    EXPECT_TRUE(AnXmlNode(&secrets).getExistingValue(L"token", &token));
    EXPECT_EQ(token, L"4711");
    EXPECT_THAT(readFile(path("secrets.xml")), Not(HasSubstr("4711")));
    EXPECT_EQ(readFile(path("agent.key")).size(), 32U);
}

TEST_F(Guide, IniFile) {
    AString const file = APath(home, L"agent.ini");
    AString interval;
    AnIni2 settings(file);
    settings.set(L"Agent", L"PolicyInterval", L"300"); // in memory
    if (!settings.tryGet(L"Agent", L"Language", interval))
        settings.set(L"Agent", L"Language", L"日本語");
    settings.getExisting(L"Agent", L"PolicyInterval", interval); // were it missing, an error would be logged
    settings.write(); // now; close and the destructor write what changed, too

    EXPECT_EQ(interval.toInt(), 300);
    EXPECT_EQ(readFile(path("agent.ini")),
              "[Agent]\nLanguage=\xE6\x97\xA5\xE6\x9C\xAC\xE8\xAA\x9E\nPolicyInterval=300\n\n");
}

TEST_F(Guide, ProfileStrings) {
    writeFile(path("site.ini"), "; the site\n[Server]\nName=old\n");

    std::wstring const file = home + L"/site.ini";
    WritePrivateProfileString(L"Server", L"Name", L"ams-01", file.c_str());
    std::array<wchar_t, 256> name{};
    GetPrivateProfileString(L"server", L"NAME", L"localhost", name.data(), name.size(), file.c_str());
    WritePrivateProfileString(L"Server", L"Port", nullptr, file.c_str()); // deletes the key

    EXPECT_STREQ(name.data(), L"ams-01");
    EXPECT_EQ(readFile(path("site.ini")), "; the site\n[Server]\nName=ams-01\n");
}

constexpr char agentKey[] = "SOFTWARE\\Tessaro\\Velkmaster\\Agent";

bool storeTenant(std::string const& tenant) {
    HKEY key = nullptr;
    if (RegCreateKey(HKEY_LOCAL_MACHINE, agentKey, &key) != ERROR_SUCCESS)
        return false;
    auto const* const bytes = reinterpret_cast<unsigned char const*>(tenant.data());
    long const result = RegSetValueEx(key, "TenantId", 0, REG_SZ, bytes, tenant.size());
    RegCloseKey(key);
    return result == ERROR_SUCCESS;
}

std::string readTenant() {
    std::array<char, 512> text{};
    unsigned long size = text.size();
    HKEY key = nullptr;
    if (RegOpenKey(HKEY_LOCAL_MACHINE, agentKey, &key) != ERROR_SUCCESS)
        return {};
    auto* const room = reinterpret_cast<unsigned char*>(text.data());
    long const result = RegQueryValueEx(key, "TenantId", nullptr, nullptr, room, &size);
    RegCloseKey(key);
    return result == ERROR_SUCCESS ? std::string(text.data(), size) : std::string();
}

TEST_F(Guide, Registry) {
    ASSERT_TRUE(InitializeRegistry(home + L"/registry.ini"));
    EXPECT_EQ(readTenant(), "");
    EXPECT_TRUE(storeTenant("north"));
    EXPECT_EQ(readTenant(), "north");
}

bool updateOnce() {
    InterProcessWriteLock lock("updater");
    if (!lock.tryLock())
        return false; // another process is updating
    logInfo(L"Update", L"Updating");
    return true; // the guard releases the lock
}

bool waitForUpdates() {
    InterProcessReadLock lock("updater");
    constexpr unsigned ignored = 0;
    return lock.lock(ignored); // waits as long as it takes
}

TEST_F(Guide, LockBetweenProcesses) {
    if (geteuid() != 0)
        GTEST_SKIP() << onlyRoot;
    std::filesystem::create_directories(path("Library/Orvane/zun/scratch"));
    ChildProcess child([this] { return enterRoot() && updateOnce() && waitForUpdates(); });
    EXPECT_TRUE(child.join());
}

class Counters {
public:
    void count(std::wstring const& event) {
        CReadWriteSyncAuto guard(m_sync);
        guard.WriteLock();
        ++m_counts[event];
    }
    int of(std::wstring const& event) const {
        CReadWriteSyncAuto guard(m_sync);
        guard.ReadLock(); // many readers at a time
        auto const found = m_counts.find(event);
        return found == m_counts.end() ? 0 : found->second;
    }

private:
    mutable CReadWriteSync m_sync;
    std::map<std::wstring, int> m_counts;
};

TEST_F(Guide, LockBetweenThreads) {
    Counters counters;
    auto const countHundred = [&counters] {
        for (int i = 0; i < 100; ++i)
            counters.count(L"poll");
    };
    std::thread first(countHundred);
    std::thread second(countHundred);
    first.join();
    second.join();
    EXPECT_EQ(counters.of(L"poll"), 200);
    EXPECT_EQ(counters.of(L"none"), 0);
}

TEST_F(Guide, ConfigurationAndIdentity) {
    std::filesystem::create_directories(path("etc/XOQAGENT3700MACX"));
    std::filesystem::create_directories(path("scratch"));
    writeFile(path("etc/XOQAGENT3700MACX/config.xml"),
              "<Configuration><InstalledPath>" + directory.path() + "</InstalledPath></Configuration>");

    std::wstring tenant;
    std::vector<std::wstring> products;
    IConfiguration& configuration = *IConfiguration::GetConfiguration();
    configuration.SetConfigurationDirectory(home + L"/etc"); // throws ConfigurationException
    std::wstring const policies = configuration.GetPolicyBaseDirectory();
    if (!configuration.GetAgentTenantId(tenant))
        logInfo(L"Agent", L"No tenant yet");
    configuration.GetAvailableSoftwareIds(products);

    EXPECT_EQ(policies, home + L"/scratch/AgentDB/Policy");
    EXPECT_EQ(tenant, L"");
    EXPECT_THAT(products, ElementsAre(L"XOQAGENT3700MACX"));
    ASSERT_TRUE(storeTenant("north"));
    EXPECT_TRUE(configuration.GetAgentTenantId(tenant));
    EXPECT_EQ(tenant, L"north");
}

TEST_F(Guide, TheFirstProgramLeavesTheLinesThatTheReadmeShows) {
    if (geteuid() != 0)
        GTEST_SKIP() << onlyRoot;
    ChildProcess program([this] { return enterRoot() && firstProgram() == 0; });
    ASSERT_TRUE(program.join());
    EXPECT_THAT(lines("tmp/hello/agent.log"), ElementsAre(EndsWith(" [Hello] [I] Greeting the world"),
                                                          EndsWith(" [Hello] [I] Gr\xC3\xBC\xC3\x9F"
                                                                   "e, \xE4\xB8\x96\xE7\x95\x8C"),
                                                          EndsWith(" [Hello] [E] Error trace:"),
                                                          EndsWith(" [Hello] [E]  [Greeting the world]->"),
                                                          EndsWith(" [Hello] [E]   Nobody answered")));
}

} // namespace
