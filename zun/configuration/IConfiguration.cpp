#include <zun/configuration/ConfigurationFile.h>
#include <zun/configuration/IConfiguration.h>
#include <zun/platform/helper/CommonHelper.h>
#include <zun/platform/registry/Registry.h>

#include <boost/thread/exceptions.hpp>

#include <dirent.h>
#include <memory>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace orvane_com::zun::configuration {

namespace {

std::wstring const& lasting(wchar_t const* text) {
    return *new std::wstring(text);
}

} // namespace

std::wstring const& separator = lasting(L"/");
std::wstring const& zun_software_id = lasting(L"XOQAGENT3700MACX");
std::wstring const& metaagent_software_id = lasting(L"XOQAGENT3000META");
std::wstring const& agent_config_file = lasting(L"config.xml");
std::wstring const& framework_data_dir_name = lasting(L"scratch");
std::wstring const& siteinfo_file_name = lasting(L"siteinfo.ini");
std::wstring const& agent_data_dir_name = lasting(L"AgentDB");
std::wstring const& agent_archive_dir_name = lasting(L"AgArchv");
std::wstring const& agent_unpack_dir_name = lasting(L"AgUnpack");
std::wstring const& policy_dir_name = lasting(L"Policy");
std::wstring const& task_dir_name = lasting(L"Task");
std::wstring const& event_dir_name = lasting(L"Event");
std::wstring const& agent_ini_name = lasting(L"agent.ini");
std::wstring const& registry_ini_name = lasting(L"registry.ini");
std::wstring const& bin_dir_name = lasting(L"bin");
std::wstring const& lib_dir_name = lasting(L"lib");
std::wstring const& zun_config_dir = lasting(L"/etc/zun.d");
std::wstring const& base_log_file = lasting(L"/var/log/zun/log");
std::wstring const& updater_temp_dir = lasting(L"updater");
std::wstring const& agent_binary_dir_name = lasting(L"bin");

namespace {

struct DirectoryCloser {
    void operator()(DIR* directory) const { closedir(directory); }
};
using OpenDirectory = std::unique_ptr<DIR, DirectoryCloser>;

bool isDirectory(std::string const& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

/// Update packages lie beside the products.
bool isProduct(std::string_view name) {
    return name != "." && name != ".." && !name.starts_with("CMNUPD") && !name.starts_with("CMDAGENT");
}

} // namespace

IConfiguration* IConfiguration::m_pConfiguration = nullptr;

IConfiguration::IConfiguration() : m_agentSoftwareId(zun_software_id) {}

IConfiguration::~IConfiguration() = default;

IConfiguration* IConfiguration::GetConfiguration() {
    if (!m_pConfiguration)
        // NOLINTNEXTLINE(cppcoreguidelines-owning-memory): it lives until the process ends
        m_pConfiguration = new IConfiguration;
    return m_pConfiguration;
}

std::unique_ptr<AdvXMLParser::Document> readConfigurationFile(std::wstring const& path) {
    std::wstring text;
    std::int32_t encoding = AdvXMLParser::Utf8;
    AdvXMLParser::ReadBufferFromFile(path, text, encoding);
    return std::unique_ptr<AdvXMLParser::Document>(AdvXMLParser::Parser().Parse(text.data(), text.size()));
}

std::wstring IConfiguration::configurationFile() const {
    return m_productConfigurationBaseDirectory + separator + zun_software_id + separator + agent_config_file;
}

bool IConfiguration::SetConfigurationDirectory(std::wstring const& directory) {
    m_productConfigurationBaseDirectory = directory;
    std::wstring installedPath;
    try {
        auto const document = readConfigurationFile(configurationFile());
        AdvXMLParser::Element const& root = document->GetRoot();
        installedPath = root.GetElement(L"InstalledPath").GetValue();
        m_debugScript = root.GetElement(L"DebugScript").GetValue();
        m_updaterDataDirectory = root.GetElement(L"UpdaterDataDir").GetValue();
        m_updaterDataTemporaryDirectory = m_updaterDataDirectory + L"/tmp/";
        // The file has no language of its own: by agreement this element serves for both.
        m_languageId = root.GetElement(L"UpdaterDataDir").GetValue();
    } catch (...) {
        throw ConfigurationException(L"xml parser croaked", L"IConfiguration::IConfiguration", -1);
    }
    m_installLocation = installedPath;
    m_frameworkDataDirectory = m_installLocation + separator + framework_data_dir_name;
    std::string const siteInformation =
        helper::toNarrow(m_frameworkDataDirectory + separator + siteinfo_file_name);
    m_isManaged = access(siteInformation.c_str(), F_OK) == 0;
    // Without a registry the identity is unknown, which its readers are told.
    InitializeRegistry(GetRegistryIniFullPath());
    return true;
}

bool IConfiguration::GetAgentVersion(long& major, long& minor, long& patch, long& build) const {
    major = m_agentVersion[0];
    minor = m_agentVersion[1];
    patch = m_agentVersion[2];
    build = m_agentVersion[3];
    return true;
}

std::wstring IConfiguration::GetAgentDataDirectory() const {
    return m_frameworkDataDirectory + separator + agent_data_dir_name;
}

std::wstring IConfiguration::GetAgentArchiveDirectory() const {
    return m_frameworkDataDirectory + separator + agent_archive_dir_name;
}

std::wstring IConfiguration::GetAgentUnpackDirectory() const {
    return m_frameworkDataDirectory + separator + agent_unpack_dir_name;
}

std::wstring IConfiguration::GetAgentIniFullPath() const {
    return m_frameworkDataDirectory + separator + agent_ini_name;
}

std::wstring IConfiguration::GetRegistryIniFullPath() const {
    return m_frameworkDataDirectory + separator + registry_ini_name;
}

std::wstring IConfiguration::GetPolicyBaseDirectory() const {
    return GetAgentDataDirectory() + separator + policy_dir_name;
}

std::wstring IConfiguration::GetTaskBaseDirectory() const {
    return GetAgentDataDirectory() + separator + task_dir_name;
}

std::wstring IConfiguration::GetEventBaseDirectory() const {
    return GetAgentDataDirectory() + separator + event_dir_name;
}

std::wstring IConfiguration::GetAgentBinDirectory() const {
    return m_installLocation + separator + bin_dir_name;
}

std::wstring IConfiguration::GetAgentLibDirectory() const {
    return m_installLocation + separator + lib_dir_name;
}

bool IConfiguration::setAgentShuttingDown(bool shuttingDown) {
    m_isShuttingDown = shuttingDown;
    return true;
}

bool IConfiguration::LockAgentIni() {
    if (m_isAgentIniLocked.exchange(true, std::memory_order_acquire))
        throw boost::lock_error(static_cast<int>(boost::system::errc::resource_deadlock_would_occur),
                                "boost unique_lock owns already the mutex");
    return true;
}

bool IConfiguration::UnlockAgentIni() {
    m_isAgentIniLocked.store(false, std::memory_order_release);
    return true;
}

bool IConfiguration::GetAvailableSoftwareIds(std::vector<std::wstring>& ids) const {
    std::string const base = helper::toNarrow(m_productConfigurationBaseDirectory);
    OpenDirectory const directory(opendir(base.c_str()));
    if (!directory)
        return false;
    while (dirent const* const entry = readdir(directory.get()))
        if (isProduct(entry->d_name) && isDirectory(base + "/" + entry->d_name))
            ids.push_back(helper::toWide(entry->d_name));
    return true;
}

} // namespace orvane_com::zun::configuration
