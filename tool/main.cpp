#include "Output.h"
#include "Program.h"

#include <CLI/CLI.hpp>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <exception>
#include <new>

namespace {

constexpr char const* footer = R"(Examples:
  zun log show --level error --since 2h /var/log/agent/agent.log
  zun log follow --json --state forwarder.state /var/log/agent/agent.log
  zun ini set agent.ini Agent PolicyInterval 300
  zun lock run --wait 10 updater -- rsync -a new/ current/

Exit status: 0 done, 1 not found or not done, 2 wrong use. See zun(1).)";

int run(int argc, char** argv) {
    using namespace tool;
    CLI::App program("Reads and writes what the agent reads and writes.", "zun");
    program.require_subcommand(1);
    program.footer(footer);
    addLogCommands(program);
    addIniCommands(program);
    addRegistryCommands(program);
    addXmlCommands(program);
    addLockCommands(program);
    addAgentCommands(program);
    addCompletionCommand(program);
    try {
        program.parse(argc, argv);
        Output::standard().flush();
        return done;
    } catch (CLI::CallForHelp const& help) {
        program.exit(help);
        return done;
    } catch (CLI::ParseError const& error) {
        complain(error.what());
        return wrongUse;
    }
}

} // namespace

int main(int argc, char** argv) {
    using tool::Failure;
    std::signal(SIGPIPE, SIG_IGN);
    std::setlocale(LC_ALL, "");
    try {
        try {
            return run(argc, argv);
        } catch (Failure const& failure) {
            // What was written so far belongs to the answer.
            if (failure.status() != tool::done)
                tool::Output::standard().flush();
            if (*failure.what() != '\0')
                tool::complain(failure.what());
            return failure.status();
        }
    } catch (Failure const& failure) {
        return failure.status();
    } catch (std::bad_alloc const&) {
        tool::complain("not enough memory");
    } catch (std::exception const& error) {
        tool::complain(error.what());
    }
    return tool::notDone;
}
