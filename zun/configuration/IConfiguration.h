#pragma once

#include <zun/Api.h>

#include <array>
#include <atomic>
#include <exception>
#include <string>
#include <vector>

namespace orvane_com::zun::configuration {

/// The names that the agent's directories and files are made of. They are never destroyed: threads may use
/// them, and the configuration, while the process ends.
extern ZUN_API std::wstring const& separator;
extern ZUN_API std::wstring const& zun_software_id;
extern ZUN_API std::wstring const& metaagent_software_id;
extern ZUN_API std::wstring const& agent_config_file;
extern ZUN_API std::wstring const& framework_data_dir_name;
extern ZUN_API std::wstring const& siteinfo_file_name;
extern ZUN_API std::wstring const& agent_data_dir_name;
extern ZUN_API std::wstring const& agent_archive_dir_name;
extern ZUN_API std::wstring const& agent_unpack_dir_name;
extern ZUN_API std::wstring const& policy_dir_name;
extern ZUN_API std::wstring const& task_dir_name;
extern ZUN_API std::wstring const& event_dir_name;
extern ZUN_API std::wstring const& agent_ini_name;
extern ZUN_API std::wstring const& registry_ini_name;
extern ZUN_API std::wstring const& bin_dir_name;
extern ZUN_API std::wstring const& lib_dir_name;
extern ZUN_API std::wstring const& zun_config_dir;
extern ZUN_API std::wstring const& base_log_file;
extern ZUN_API std::wstring const& updater_temp_dir;
extern ZUN_API std::wstring const& agent_binary_dir_name;

/// The configuration could not be set up.
class ZUN_API ConfigurationException : public std::exception {
public:
    /// Writes the message and a line end to the process's standard output.
    ConfigurationException(std::wstring const& message, std::wstring const& place, int code);
    ConfigurationException(ConfigurationException const&) = default;
    ConfigurationException& operator=(ConfigurationException const&) = default;
    ~ConfigurationException() override;

    std::wstring const& GetMessage() const { return m_message; }
    int GetCode() const { return m_code; }
    std::wstring const& GetPlace() const { return m_place; }
    /// The message in UTF-8.
    char const* what() const noexcept override { return m_what.c_str(); }

private:
    std::wstring m_message;
    int m_code;
    std::wstring m_place;
    std::string m_what;
};

/// Where the agent lives on disk, who it is, and a few flags of the whole agent.
///
/// GetConfiguration's first call and SetConfigurationDirectory precede all concurrent use; after them any
/// thread may call any member. Paths are wide text, "/" between their parts.
class ZUN_API IConfiguration {
public:
    /// The process's configuration, made on first use and never destroyed.
    static IConfiguration* GetConfiguration();

    IConfiguration(IConfiguration const&) = delete;
    IConfiguration& operator=(IConfiguration const&) = delete;

    /// Derives all paths from the agent's configuration file below the product configuration directory, and
    /// opens the registry. Returns true; throws ConfigurationException when the file cannot be read or
    /// parsed.
    bool SetConfigurationDirectory(std::wstring const& directory);

    std::wstring GetAgentInstallLocation() const { return m_installLocation; }
    std::wstring GetFrameworkDataDirectory() const { return m_frameworkDataDirectory; }
    std::wstring GetProductConfigurationBaseDirectory() const { return m_productConfigurationBaseDirectory; }
    std::wstring GetAgentLangId() const { return m_languageId; }
    std::wstring GetAgentSoftwareId() const { return m_agentSoftwareId; }
    std::wstring GetMetaAgentSoftwareId() const { return metaagent_software_id; }
    std::wstring GetDebugScript() const { return m_debugScript; }
    std::wstring GetUpdaterDataDir() const { return m_updaterDataDirectory; }
    std::wstring GetUpdaterDataTempDir() const { return m_updaterDataTemporaryDirectory; }
    /// Returns true.
    bool GetAgentVersion(long& major, long& minor, long& patch, long& build) const;

    std::wstring GetAgentDataDirectory() const;
    std::wstring GetAgentArchiveDirectory() const;
    std::wstring GetAgentUnpackDirectory() const;
    std::wstring GetAgentIniFullPath() const;
    std::wstring GetRegistryIniFullPath() const;
    std::wstring GetPolicyBaseDirectory() const;
    std::wstring GetTaskBaseDirectory() const;
    std::wstring GetEventBaseDirectory() const;
    std::wstring GetAgentBinDirectory() const;
    std::wstring GetAgentLibDirectory() const;

    /// True when the agent is managed: SetConfigurationDirectory found site information.
    bool IsManaged() const { return m_isManaged; }
    void SetManagedMode(bool managed) { m_isManaged = managed; }

    bool isAgentShuttingDown() const { return m_isShuttingDown; }
    /// Returns true.
    bool setAgentShuttingDown(bool shuttingDown);

    /// For a writer of the agent's INI file, from LockAgentIni to UnlockAgentIni on the same thread. Locking
    /// what is locked, by any thread, throws boost::lock_error. Returns true.
    bool LockAgentIni();
    /// Returns true, locked or not.
    bool UnlockAgentIni();

    /// Appends the software ids of the installed products: the directories of the product configuration
    /// directory, in its order, without those of update packages. False, `ids` unchanged, when it cannot be
    /// opened.
    bool GetAvailableSoftwareIds(std::vector<std::wstring>& ids) const;

    /// The identity that the registry holds now. False, the result unchanged, when it holds none.
    bool GetAgentGUID(std::wstring& guid) const;
    bool GetAgentTenantId(std::wstring& tenantId) const;
    bool GetServerKeyHash(std::wstring& hash) const;

    /// What the configuration file says of hot-fixes now; empty when it says nothing or cannot be read.
    std::wstring GetAgentHotFixVersion() const;

private:
    IConfiguration();
    ~IConfiguration();

    std::wstring configurationFile() const;

    static IConfiguration* m_pConfiguration;

    std::atomic<bool> m_isAgentIniLocked{false};
    std::wstring m_installLocation;
    std::wstring m_frameworkDataDirectory;
    std::wstring m_productConfigurationBaseDirectory;
    std::array<long, 4> m_agentVersion{5, 7, 4, 418};
    std::atomic<bool> m_isShuttingDown{false};
    std::atomic<bool> m_isManaged{false};
    std::wstring m_languageId;
    std::wstring m_agentSoftwareId;
    std::wstring m_debugScript;
    std::wstring m_updaterDataDirectory;
    std::wstring m_updaterDataTemporaryDirectory;
};

} // namespace orvane_com::zun::configuration
