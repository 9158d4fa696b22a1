// Collects the properties of the installed products.

#include "../Plugin.h"
#include "../SharedSettings.h"
#include <zun/configuration/IConfiguration.h>
#include <zun/linux/log.h>
#include <zun/logger/ILogger.h>
#include <zun/structured/AnXml.h>
#include <zun/structured/AnXmlNode.h>

#include <cstdlib>
#include <vector>

using namespace orvane_com::zun::logger;
using orvane_com::zun::configuration::IConfiguration;

namespace {

constexpr int rounds = 20;

void collect(std::wstring const& softwareId) {
    constexpr long collecting = 0x28009;
    ILogger::GetLogger()->logMessage(Info, Plugin, collecting, MultiArgs(softwareId));
    AString const file((IConfiguration::GetConfiguration()->GetProductConfigurationBaseDirectory() + L"/" +
                        softwareId + L"/config.xml"));
    AnXml product;
    if (!product.useExistingFile(file, L"Configuration"))
        return;
    AnXmlNode const root(&product);
    for (wchar_t const* const property : {L"ProductName", L"Version"}) {
        AString value;
        if (root.getChild(false, property, nullptr, nullptr, L"", &value)) {
            AString line(property);
            line << L" of " << softwareId.c_str() << L" is " << value;
            logInfo(L"Inventory", line);
        }
    }
}

} // namespace

int runPlugin() {
    AnInfoTrace const trace(L"Inventory", L"Collecting properties");
    SharedSettings::countRun(L"inventory");
    std::vector<std::wstring> products;
    if (!IConfiguration::GetConfiguration()->GetAvailableSoftwareIds(products))
        return EXIT_FAILURE;
    for (int round = 0; round < rounds; ++round)
        for (std::wstring const& product : products)
            collect(product);
    return EXIT_SUCCESS;
}
