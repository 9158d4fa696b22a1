#pragma once

#include <string>
#include <vector>

/// The directory that named locks live in, made for as long as the agent runs when it was not there.
class LockDirectory {
public:
    LockDirectory();
    ~LockDirectory();
    LockDirectory(LockDirectory const&) = delete;
    LockDirectory& operator=(LockDirectory const&) = delete;

    /// False when it cannot be made: that takes root's rights.
    bool exists() const { return m_exists; }

private:
    /// The directories that were made, innermost first.
    std::vector<std::string> m_made;
    bool m_exists = false;
};
