#include "PluginProcess.h"

#include "LogPolicy.h"
#include "Plugin.h"
#include <zun/configuration/IConfiguration.h>
#include <zun/linux/log.h>
#include <zun/logger/ILogger.h>
#include <zun/platform/helper/CommonHelper.h>

#include <array>
#include <cstdlib>
#include <spawn.h>
#include <sys/wait.h>
#include <system_error>

extern char** environ; // NOLINT: what environ(7) says to declare

namespace helper = orvane_com::zun::helper;
using namespace orvane_com::zun::logger;
using orvane_com::zun::configuration::IConfiguration;

PluginProcess::PluginProcess(std::string const& program, std::string const& plugin,
                             std::wstring const& configurationDirectory, std::wstring const& logFile)
    : m_name(plugin) {
    std::string const directory = program.substr(0, program.rfind('/'));
    std::array<std::string, 5> arguments{program, "--plugin", directory + "/plugins/lib" + plugin + ".dylib",
                                         helper::toNarrow(configurationDirectory), helper::toNarrow(logFile)};
    std::array<char*, 6> pointers{};
    for (std::size_t i = 0; i < arguments.size(); ++i)
        pointers[i] = arguments[i].data();
    if (int const error =
            posix_spawn(&m_process, program.c_str(), nullptr, nullptr, pointers.data(), environ))
        throw std::system_error(error, std::generic_category(), "the plug-in " + plugin);
}

PluginProcess::~PluginProcess() {
    join();
}

bool PluginProcess::join() {
    if (m_process == 0)
        return false;
    int status = 0;
    pid_t const ended = waitpid(m_process, &status, 0);
    m_process = 0;
    return ended > 0 && WIFEXITED(status) && WEXITSTATUS(status) == EXIT_SUCCESS;
}

int hostPlugin(std::string const& library, std::string const& configurationDirectory,
               std::string const& logFile) {
    constexpr long loadingFailed = 0x28002;
    constexpr long loaded = 0x28003;
    setupLog(helper::toWide(logFile).c_str(), L"", false, false);
    enforceLogPolicy();
    IConfiguration::GetConfiguration()->SetConfigurationDirectory(helper::toWide(configurationDirectory));

    ILogger& logger = *ILogger::GetLogger();
    std::string error;
    void* const handle = helper::loadLibrary(library, error);
    void* const entry = handle ? helper::getSymbol(handle, pluginEntryPoint, error) : nullptr;
    if (!entry) {
        logger.logMessage(Err, Plugin, loadingFailed, MultiArgs(library).add(error));
        return EXIT_FAILURE;
    }
    logger.logMessage(Info, Plugin, loaded, MultiArgs(library.substr(library.rfind('/') + 1)));
    int const result = reinterpret_cast<decltype(&runPlugin)>(entry)();
    helper::freeLibrary(handle);
    return result;
}
