#pragma once

#include "Workspace.h"
#include <zun/text/AString.h>

#include <string>
#include <vector>

/// The agent's service process: it takes its place in a workspace, works, and reports what it did.
class Service {
public:
    /// `program` is this program's path, to start plug-ins with.
    Service(std::string program, Workspace const& workspace);

    /// Returns the process's exit code.
    int run();

private:
    void registerIdentity() const;
    void keepSettings();
    void editPolicy();
    void keepEvent();
    void readMessages();
    bool runPlugins();
    void enforceMissingPolicy() const;
    void report() const;

    std::string m_program;
    Workspace const& m_workspace;
    std::vector<std::wstring> m_finishedPlugins;
    bool m_canLock = false;
    AString m_settings;
    AString m_policy;
    AString m_event;
    std::vector<AString> m_messages;
};
