#pragma once

#include <string>

/// The file or folder beside the program where the agent is installed, else the one that the build made.
std::string installedOrBuilt(std::string const& program, char const* name, char const* built);

/// The agent's own copy of the sample product directory, in a directory of its own that is removed at the
/// end.
class Workspace {
public:
    /// program: the agent's own path.
    explicit Workspace(std::string const& program);
    ~Workspace();
    Workspace(Workspace const&) = delete;
    Workspace& operator=(Workspace const&) = delete;

    std::wstring configurationDirectory() const { return m_path + L"/etc"; }
    std::wstring installLocation() const { return m_path + L"/agent"; }
    std::wstring logDirectory() const { return m_path + L"/log"; }
    std::wstring logFile() const { return logDirectory() + L"/agent.log"; }

private:
    void installProducts(std::string const& sample) const;

    std::wstring m_path;
};
