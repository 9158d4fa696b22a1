#include "PluginProcess.h"
#include "Service.h"
#include "Workspace.h"
#include <zun/linux/log.h>

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
        if (!arguments.empty()) {
            std::cerr << "usage: agent\n";
            return EXIT_FAILURE;
        }
        std::string const program = std::filesystem::canonical(argv[0]);
        Workspace const workspace(program);
        return Service(program, workspace).run();
    } catch (std::exception const& failure) {
        std::cerr << "agent: " << failure.what() << "\n";
        return EXIT_FAILURE;
    }
}
