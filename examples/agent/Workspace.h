#pragma once

#include <string>

/// The agent's own copy of the sample product directory, in a directory of its own that is removed at the
/// end.
class Workspace {
public:
    Workspace();
    ~Workspace();
    Workspace(Workspace const&) = delete;
    Workspace& operator=(Workspace const&) = delete;

    std::wstring configurationDirectory() const { return m_path + L"/etc"; }
    std::wstring installLocation() const { return m_path + L"/agent"; }
    std::wstring logFile() const { return m_path + L"/log/agent.log"; }

private:
    void installProducts() const;

    std::wstring m_path;
};
