#include <zun/configuration/ConfigurationFile.h>
#include <zun/configuration/IConfiguration.h>
#include <zun/platform/helper/CommonHelper.h>
#include <zun/platform/registry/Registry.h>

#include <array>
#include <cstring>
#include <memory>

namespace orvane_com::zun::configuration {

namespace {

constexpr char agentKey[] = "SOFTWARE\\Tessaro\\Velkmaster\\Agent";

struct KeyCloser {
    void operator()(HKEY key) const { RegCloseKey(key); }
};
using OpenKey = std::unique_ptr<std::remove_pointer_t<HKEY>, KeyCloser>;

/// The text of one of the agent's values, cut to `room` bytes.
template <std::size_t room>
bool readText(char const* name, std::wstring& text) {
    HKEY handle = nullptr;
    if (RegOpenKey(HKEY_LOCAL_MACHINE, agentKey, &handle) != ERROR_SUCCESS)
        return false;
    OpenKey const key(handle);
    std::array<char, room> value{};
    unsigned long size = value.size();
    unsigned long type = REG_SZ;
    if (RegQueryValueEx(key.get(), name, nullptr, &type, reinterpret_cast<unsigned char*>(value.data()),
                        &size) != ERROR_SUCCESS)
        return false;
    text = helper::toWide({value.data(), strnlen(value.data(), value.size())});
    return true;
}

} // namespace

bool IConfiguration::GetAgentGUID(std::wstring& guid) const {
    return readText<64>("AgentGUID", guid);
}

bool IConfiguration::GetAgentTenantId(std::wstring& tenantId) const {
    return readText<512>("TenantId", tenantId);
}

bool IConfiguration::GetServerKeyHash(std::wstring& hash) const {
    return readText<260>("ServerKeyHash", hash);
}

std::wstring IConfiguration::GetAgentHotFixVersion() const {
    try {
        return readConfigurationFile(configurationFile())->GetRoot().GetElement(L"HotFixVersions").GetValue();
    } catch (...) {
        return {};
    }
}

} // namespace orvane_com::zun::configuration
