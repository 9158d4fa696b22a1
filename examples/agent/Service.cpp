#include "Service.h"

#include "EventRecord.h"
#include "LockDirectory.h"
#include "LogPolicy.h"
#include "PluginProcess.h"
#include "Report.h"
#include "SharedSettings.h"
#include <zun/binary/Base64.h>
#include <zun/configuration/IConfiguration.h>
#include <zun/files/AFile.h>
#include <zun/files/AFiler.h>
#include <zun/files/APath.h>
#include <zun/linux/log.h>
#include <zun/logger/ILogger.h>
#include <zun/platform/crypto/ACryptWrap.h>
#include <zun/platform/helper/CommonHelper.h>
#include <zun/platform/registry/Registry.h>
#include <zun/structured/AnIni2.h>
#include <zun/structured/AnXml.h>
#include <zun/structured/AnXmlNode.h>
#include <zun/text/ALocalizedString.h>
#include <zun/text/AResourceFile.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <thread>
#include <utility>

namespace helper = orvane_com::zun::helper;
using namespace orvane_com::zun::logger;
using orvane_com::zun::configuration::IConfiguration;

namespace {

IConfiguration& configuration() {
    return *IConfiguration::GetConfiguration();
}

ILogger& logger() {
    return *ILogger::GetLogger();
}

} // namespace

Service::Service(std::string program, Workspace const& workspace)
    : m_program(std::move(program)), m_workspace(workspace) {}

int Service::run() {
    constexpr long startingFramework = 0x2C001;
    constexpr long stoppingFramework = 0x2C002;
    setupLog(m_workspace.logFile().c_str(), L"", false, false);
    enforceLogPolicy();
    configuration().SetConfigurationDirectory(m_workspace.configurationDirectory());
    logger().logMessage(Info, Framework, startingFramework);

    registerIdentity();
    keepSettings();
    editPolicy();
    keepEvent();
    readMessages();
    bool const pluginsSucceeded = runPlugins();
    enforceMissingPolicy();

    logger().logMessage(Info, Framework, stoppingFramework);
    logger().Stop();
    report();
    return pluginsSucceeded ? EXIT_SUCCESS : EXIT_FAILURE;
}

void Service::registerIdentity() const {
    AnInfoTrace const trace(L"Agent", L"Registering the agent's identity");
    HKEY key = nullptr;
    if (RegCreateKey(HKEY_LOCAL_MACHINE, "SOFTWARE\\Tessaro\\Velkmaster\\Agent", &key) != ERROR_SUCCESS)
        throw std::runtime_error("the registry cannot be written");
    for (auto const& [name, text] : {std::pair{"AgentGUID", "{5E1C02D4-8B7A-4F0E-9C39-0B6D1F2A7E11}"},
                                     std::pair{"TenantId", "3c9f2b1e-77aa-4d4e-b0c5-6a9d8e1f0023"},
                                     std::pair{"ServerKeyHash", "q83vEjRWeJCrze8SNFZ4kKvN7xI="}})
        RegSetValueEx(key, name, 0, REG_SZ, reinterpret_cast<unsigned char const*>(text), std::strlen(text));
    RegCloseKey(key);
}

void Service::keepSettings() {
    AnInfoTrace const trace(L"Agent", L"Keeping the settings");
    AString const file(configuration().GetAgentIniFullPath());
    configuration().LockAgentIni();
    {
        AnIni2 settings(file);
        settings.set(L"Agent", L"PolicyInterval", L"300");
        settings.set(L"Agent", L"Language", L"de-DE, fr-CH, 日本語");
    }
    configuration().UnlockAgentIni();
    AnIni2 settings(file);
    AString interval;
    AString language;
    if (settings.getExisting(L"Agent", L"PolicyInterval", interval) &&
        settings.getExisting(L"Agent", L"Language", language))
        m_settings = L"PolicyInterval=" + interval + L", Language=" + language;
}

void Service::editPolicy() {
    AnInfoTrace const trace(L"Agent", L"Merging the server's policy");
    helper::makeDirectories(helper::toNarrow(configuration().GetPolicyBaseDirectory()));
    std::wstring const file = configuration().GetPolicyBaseDirectory() + L"/Server.xml";
    AnXml policy;
    policy.useFileAlways(file.c_str(), L"Policies", L"version", L"1");
    AnXmlNode root(&policy);
    AnXmlNode logging;
    root.setChild(&logging, L"Policy", L"name", L"Logging");
    logging.setChild(nullptr, L"Setting", L"name", L"MaxLogFileSize", L"", L"16");
    policy.writeFile(file.c_str(), false, true);

    // What the server keeps secret is stored enciphered and reads like any other file.
    if (!ACryptWrap::useKeyFile(
            helper::toNarrow(configuration().GetFrameworkDataDirectory() + L"/agent.key")))
        throw std::runtime_error(ACryptWrap::lastError());
    std::wstring const secret = configuration().GetPolicyBaseDirectory() + L"/Secret.xml";
    policy.writeFile(secret.c_str(), true, false);
    AnXml readBack;
    if (readBack.useExistingFile(secret.c_str(), L"Policies", L"version", L"1")) {
        AnXmlNode node(&readBack);
        AString size;
        if (node.getChildMove(true, L"Policy", L"name", L"Logging") &&
            node.getChild(true, L"Setting", L"name", L"MaxLogFileSize", L"", &size))
            m_policy = L"MaxLogFileSize=" + size + L" KiB, read back from an enciphered file";
    }
}

void Service::keepEvent() {
    AnInfoTrace const trace(L"Agent", L"Keeping an event for the server");
    AFiler::createDirectory(configuration().GetEventBaseDirectory());
    APath const file(configuration().GetEventBaseDirectory(), L"20261121.evt");
    EventRecord const event{
        .id = 1095, .severity = 3, .version = AVersion(5, 7, 4, 418), .product = L"ORVENDPT1070MACX"};
    ABuffer stored;
    EventRecord readBack;
    if (!AFile::write(file, event.encode()) || !AFile::read(true, file, stored) || !readBack.decode(stored))
        return;
    m_event << L"event " << readBack.id << L" of " << readBack.product << L" " << readBack.version.getString()
            << L", on the wire " << ABase64Encode::encode(stored);
}

void Service::readMessages() {
    AnInfoTrace const trace(L"Agent", L"Comparing versions");
    AResourceFile catalog;
    if (!catalog.openExisting(
            helper::toWide(installedOrBuilt(m_program, "agent.cat", MESSAGE_CATALOG)).c_str(), 0))
        return;
    ALocalizedString::setDefaultResourceFile(&catalog);
    std::vector<std::wstring> products;
    configuration().GetAvailableSoftwareIds(products);
    m_messages.push_back(ALocalizedString(1) << products.size() << products.size() - 1);
    AVersion const wanted(L"5.2");
    for (wchar_t const* const found : {L"5.2", L"5.10.0.1"}) {
        AVersion const version(found);
        m_messages.push_back(ALocalizedString(version > wanted ? 2 : 3)
                             << version.getString() << wanted.getString());
    }
    ALocalizedString::setDefaultResourceFile(nullptr);
}

bool Service::runPlugins() {
    AnInfoTrace const trace(L"Agent", L"Running the plug-ins");
    LockDirectory const lockDirectory;
    m_canLock = lockDirectory.exists();
    auto const start = [this](char const* plugin) {
        return std::make_unique<PluginProcess>(m_program, plugin, m_workspace.configurationDirectory(),
                                               m_workspace.logFile());
    };
    std::unique_ptr<PluginProcess> const updater = m_canLock ? start("updater") : nullptr;
    bool const updaterHangs = updater && updater->waitUntilItSays("holding");
    auto const inventory = start("inventory");
    auto const scheduler = start("scheduler");
    if (updaterHangs) {
        // Long enough for the others to come and wait.
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        logInfo(L"Agent", L"The updater hangs: ending it");
        updater->kill();
    }
    for (PluginProcess* const plugin : {inventory.get(), scheduler.get()}) {
        if (plugin->join())
            m_finishedPlugins.push_back(helper::toWide(plugin->name()));
        else
            logError(L"Agent", (L"The plug-in " + helper::toWide(plugin->name()) + L" failed").c_str());
    }
    return m_finishedPlugins.size() == 2 && updaterHangs == m_canLock;
}

void Service::enforceMissingPolicy() const {
    AnInfoTrace const enforcing(L"Agent", L"Enforcing policies");
    AnInfoTrace const product(L"Policy", L"Reading the policy of ORVFIREW5000MACX");
    AnXml().useExistingFile((configuration().GetPolicyBaseDirectory() + L"/ORVFIREW5000MACX.xml").c_str());
}

void Service::report() const {
    Report report;
    report.add(L"Directories");
    report.add(L"installed in", configuration().GetAgentInstallLocation());
    report.add(L"framework data", configuration().GetFrameworkDataDirectory());
    report.add(L"agent data", configuration().GetAgentDataDirectory());
    report.add(L"policies", configuration().GetPolicyBaseDirectory());
    report.add(L"programs", configuration().GetAgentBinDirectory());
    report.add(L"updater", configuration().GetUpdaterDataDir());

    report.add(L"Identity");
    std::wstring text;
    report.add(L"GUID", configuration().GetAgentGUID(text) ? text : L"unknown");
    report.add(L"tenant", configuration().GetAgentTenantId(text) ? text : L"unknown");
    report.add(L"server key hash", configuration().GetServerKeyHash(text) ? text : L"unknown");
    report.add(L"hot-fixes", configuration().GetAgentHotFixVersion());
    report.add(L"managed", configuration().IsManaged() ? L"yes" : L"no");

    report.add(L"Installed products");
    std::vector<std::wstring> products;
    configuration().GetAvailableSoftwareIds(products);
    for (std::wstring const& product : products)
        report.add(L"", product);

    report.add(L"Settings and policy");
    report.add(L"agent.ini", m_settings);
    report.add(L"policy", m_policy);
    report.add(L"event kept", m_event);
    for (AString const& message : m_messages)
        report.add(L"message", message);

    report.add(L"Plug-ins");
    if (m_canLock)
        report.add(L"updater", L"killed while it held the lock on agent.ini");
    for (std::wstring const& plugin : m_finishedPlugins)
        report.add(plugin, m_canLock ? SharedSettings::describe(plugin)
                                     : L"done, without agent.ini: only root can make the locks' directory");

    report.addLog(m_workspace.logFile());
    report.print();
}
