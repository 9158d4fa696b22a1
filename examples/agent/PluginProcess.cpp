#include "PluginProcess.h"

#include "LogPolicy.h"
#include "Plugin.h"
#include <zun/configuration/IConfiguration.h>
#include <zun/files/ALibrary.h>
#include <zun/linux/log.h>
#include <zun/logger/ILogger.h>
#include <zun/platform/helper/CommonHelper.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

extern char** environ; // NOLINT: what environ(7) says to declare

namespace helper = orvane_com::zun::helper;
using namespace orvane_com::zun::logger;
using orvane_com::zun::configuration::IConfiguration;

PluginProcess::PluginProcess(std::string const& program, std::string const& plugin,
                             std::wstring const& configurationDirectory, std::wstring const& logFile)
    : m_name(plugin) {
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0)
        throw std::system_error(errno, std::generic_category(), "the plug-in " + plugin);
    for (int const end : ends)
        fcntl(end, F_SETFD, FD_CLOEXEC);
    m_output.reset(fdopen(ends[0], "r"));
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);

    std::string const library = program.substr(0, program.rfind('/')) + "/plugins/" + plugin;
    std::array<std::string, 5> arguments{program, "--plugin", library,
                                         helper::toNarrow(configurationDirectory), helper::toNarrow(logFile)};
    std::array<char*, 6> pointers{};
    for (std::size_t i = 0; i < arguments.size(); ++i)
        pointers[i] = arguments[i].data();
    int const error = posix_spawn(&m_process, program.c_str(), &actions, nullptr, pointers.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    if (error != 0)
        throw std::system_error(error, std::generic_category(), "the plug-in " + plugin);
}

PluginProcess::~PluginProcess() {
    join();
}

bool PluginProcess::waitUntilItSays(std::string const& word) {
    std::array<char, 256> line{};
    while (m_output && std::fgets(line.data(), line.size(), m_output.get()))
        if (word + "\n" == line.data())
            return true;
    return false;
}

void PluginProcess::kill() {
    if (m_process != 0)
        ::kill(m_process, SIGKILL);
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
    std::wstring const name = helper::toWide(library);
    ALibrary plugin;
    int (*run)() = nullptr;
    if (!plugin.open(true, name.c_str(), true, false) || !plugin.get(true, pluginEntryPoint, &run)) {
        logger.logMessage(Err, Plugin, loadingFailed, name.c_str(), L"the errors before");
        return EXIT_FAILURE;
    }
    logger.logMessage(Info, Plugin, loaded, name.substr(name.rfind(L'/') + 1).c_str());
    return run();
}
