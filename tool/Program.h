#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

namespace CLI {
class App;
}

/// What the commands share: the reasons they end with, standard output, and how they are set up.
namespace tool {

enum Status : int { done = 0, notDone = 1, wrongUse = 2 };

/// Ends a command: one line on standard error, and the program's status. Without text it is quiet.
class Failure : public std::runtime_error {
public:
    explicit Failure(std::string const& message, Status status = notDone)
        : std::runtime_error(message), m_status(status) {}
    /// "subject: the system's reason".
    static Failure ofSystem(std::string const& subject, int error);

    Status status() const { return m_status; }

private:
    Status m_status;
};

/// A line on standard error, "zun: " before it.
void complain(std::string_view message);

/// Fails when the path names no regular file that can be read: what could block or be endless is not opened.
void requireReadable(std::string const& path);

/// Each adds its command to the program.
void addLogCommands(CLI::App& program);
void addIniCommands(CLI::App& program);
void addRegistryCommands(CLI::App& program);
void addXmlCommands(CLI::App& program);
void addLockCommands(CLI::App& program);
void addAgentCommands(CLI::App& program);
/// The hidden one that the build makes the shells' completions with.
void addCompletionCommand(CLI::App& program);

} // namespace tool
