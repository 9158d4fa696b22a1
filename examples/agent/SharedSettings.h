#pragma once

#include <string>

/// The agent's settings that its processes share, in agent.ini: changed under a lock between processes.
class SharedSettings {
public:
    /// The name of that lock: each agent has its own.
    static std::string lockName();

    /// Sets "Runs" in the section to one more, and "WaitedForLock" to how long that took to get the lock.
    /// Without the lock nothing is changed.
    static void countRun(std::wstring const& section);

    /// "Runs" and "WaitedForLock" of the section, or an empty text.
    static std::wstring describe(std::wstring const& section);
};
