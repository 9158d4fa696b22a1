#include <zun/configuration/IConfiguration.h>
#include <zun/files/AFile.h>
#include <zun/linux/log.h>
#include <zun/platform/helper/CommonHelper.h>

#include <iostream>
#include <string>
#include <vector>

using namespace orvane_com::zun;
using configuration::IConfiguration;

int main() {
    setupLog(L"log/agent.log", L"", false, false);
    helper::makeDirectories("etc/XOQAGENT3700MACX");
    helper::makeDirectories("scratch");
    AFile::write(L"etc/XOQAGENT3700MACX/config.xml",
                 ABuffer("<Configuration><InstalledPath>/opt/agent</InstalledPath></Configuration>"));

    IConfiguration& agent = *IConfiguration::GetConfiguration();
    agent.SetConfigurationDirectory(L"etc"); // throws ConfigurationException
    std::cout << helper::toNarrow(agent.GetPolicyBaseDirectory()) << '\n';
    std::wstring tenant;
    if (!agent.GetAgentTenantId(tenant))
        logInfo(L"Agent", L"No tenant yet");
    std::vector<std::wstring> products;
    agent.GetAvailableSoftwareIds(products);
    for (std::wstring const& product : products)
        std::cout << helper::toNarrow(product) << '\n';
    return 0;
}
