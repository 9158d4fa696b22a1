#include <zun/platform/registry/Registry.h>

#include <array>
#include <iostream>
#include <string>

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

int main() {
    InitializeRegistry(L"registry.ini");
    std::cout << "before: \"" << readTenant() << "\"\n";
    storeTenant("north");
    std::cout << "after: \"" << readTenant() << "\"\n";
    return 0;
}
