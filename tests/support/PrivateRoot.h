#pragma once

#include <tests/support/TemporaryDirectory.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <unistd.h>

/// While it lives, the process's root directory is an empty one with room for temporary directories.
class PrivateRoot {
public:
    PrivateRoot() {
        std::filesystem::create_directories(m_root.path() + testing::TempDir());
        m_isEntered = chroot(m_root.path().c_str()) == 0 && chdir("/") == 0;
    }
    ~PrivateRoot() {
        if (m_isEntered && (fchdir(m_oldRoot) != 0 || chroot(".") != 0))
            std::abort();
        close(m_oldRoot);
    }
    PrivateRoot(PrivateRoot const&) = delete;
    PrivateRoot& operator=(PrivateRoot const&) = delete;

    /// False when the process may not have a root of its own.
    bool isEntered() const { return m_isEntered; }

private:
    int const m_oldRoot = open("/", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    TemporaryDirectory m_root;
    bool m_isEntered;
};
