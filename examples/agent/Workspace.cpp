#include "Workspace.h"

#include <zun/platform/helper/CommonHelper.h>
#include <zun/structured/AnXml.h>
#include <zun/structured/AnXmlNode.h>

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <unistd.h>

namespace helper = orvane_com::zun::helper;

namespace {

std::string makeDirectory() {
    std::string path = std::filesystem::temp_directory_path() / "zun-agent-XXXXXX";
    if (!mkdtemp(path.data()))
        throw std::runtime_error("no directory for the agent in " + path);
    return std::filesystem::canonical(path);
}

} // namespace

std::string installedOrBuilt(std::string const& program, char const* name, char const* built) {
    std::filesystem::path const installed = std::filesystem::path(program).parent_path() / name;
    return std::filesystem::exists(installed) ? installed.string() : built;
}

Workspace::Workspace(std::string const& program) : m_path(helper::toWide(makeDirectory())) {
    installProducts(installedOrBuilt(program, "product", SAMPLE_PRODUCT_DIRECTORY));
}

Workspace::~Workspace() {
    std::error_code ignored;
    std::filesystem::remove_all(helper::toNarrow(m_path), ignored);
}

void Workspace::installProducts(std::string const& sample) const {
    std::filesystem::copy(sample, helper::toNarrow(configurationDirectory()),
                          std::filesystem::copy_options::recursive);
    std::filesystem::create_directories(helper::toNarrow(installLocation() + L"/scratch"));

    // The sample names the place of a real installation.
    std::wstring const file = configurationDirectory() + L"/XOQAGENT3700MACX/config.xml";
    AnXml configuration;
    if (!configuration.useExistingFile(file.c_str(), L"Configuration", nullptr, nullptr))
        throw std::runtime_error("the sample product directory has no usable configuration");
    AnXmlNode root(&configuration);
    root.setChild(nullptr, L"InstalledPath", nullptr, nullptr, L"", installLocation().c_str());
    root.setChild(nullptr, L"UpdaterDataDir", nullptr, nullptr, L"", (m_path + L"/updater").c_str());
    if (!configuration.writeFile(file.c_str(), false, false))
        throw std::runtime_error("the configuration cannot be written");
}
