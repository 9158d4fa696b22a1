#include "PluginProcess.h"
#include "Service.h"
#include "Workspace.h"
#include <zun/linux/log.h>
#include <zun/platform/helper/CommonHelper.h>

#include <cstdlib>
#include <exception>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

int main(int argc, char** argv) {
    std::vector<std::string> const arguments(argv + 1, argv + argc);
    try {
        if (arguments.size() == 4 && arguments[0] == "--plugin")
            return hostPlugin(arguments[1], arguments[2], arguments[3]);
        bool const keepsLog = arguments.size() == 2 && arguments[0] == "--keep-log";
        if (!arguments.empty() && !keepsLog) {
            std::cerr << "usage: agent [--keep-log DIRECTORY]\n";
            return EXIT_FAILURE;
        }
        std::string const program = std::filesystem::canonical(argv[0]);
        Workspace const workspace(program);
        int const result = Service(program, workspace).run();
        if (keepsLog)
            std::filesystem::copy(orvane_com::zun::helper::toNarrow(workspace.logDirectory()), arguments[1]);
        return result;
    } catch (std::exception const& failure) {
        std::cerr << "agent: " << failure.what() << "\n";
        return EXIT_FAILURE;
    }
}
