#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <sys/types.h>
#include <tests/support/TemporaryDirectory.h>
#include <vector>

extern std::string const lockDirectory;

/// Gives a test a lock directory of its own: the process's root is a temporary directory meanwhile. Only the
/// super-user may do that; for others the test is skipped.
class LockFixture : public testing::Test {
protected:
    LockFixture();
    ~LockFixture() override;
    void SetUp() override;

    static std::string lockFile() { return lockDirectory + "agent"; }

    /// The set of the lock named "agent"; -1 when there is none.
    static int findSet();

    /// That set's semaphores: writer flag, holders, references.
    static std::vector<int> counts();

    /// Returns once so many processes wait for the set's semaphore to be zero.
    static void waitForWaiters(unsigned short semaphore, int count);

    /// Runs `body` in a process of its own, whose exit status tells whether it was true.
    static pid_t start(std::function<bool()> const& body);

    /// Whether the process ended by itself and its body was true.
    static bool join(pid_t process);

    /// Fails the test when the process has ended before.
    static void kill(pid_t process);

private:
    TemporaryDirectory m_root;
    std::string m_workingDirectory;
    int m_oldRoot = -1;
};
