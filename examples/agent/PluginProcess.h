#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <sys/types.h>

/// A plug-in at work in a process of its own.
class PluginProcess {
public:
    /// Starts this program again as the host of the plug-in library of that name beside it.
    PluginProcess(std::string const& program, std::string const& plugin,
                  std::wstring const& configurationDirectory, std::wstring const& logFile);
    PluginProcess(PluginProcess const&) = delete;
    PluginProcess& operator=(PluginProcess const&) = delete;
    /// Waits for its end.
    ~PluginProcess();

    std::string const& name() const { return m_name; }

    /// Waits for a line of its standard output that is `word`. False when it ends without.
    bool waitUntilItSays(std::string const& word);

    /// Ends it at once, whatever it is doing.
    void kill();

    /// Waits for the process's end. True when it did its work.
    bool join();

private:
    struct StreamCloser {
        void operator()(std::FILE* stream) const { std::fclose(stream); }
    };

    std::string m_name;
    pid_t m_process = 0;
    std::unique_ptr<std::FILE, StreamCloser> m_output;
};

/// What the started program does: sets up log and configuration, loads the library and lets it work. Returns
/// the process's exit code.
int hostPlugin(std::string const& library, std::string const& configurationDirectory,
               std::string const& logFile);
