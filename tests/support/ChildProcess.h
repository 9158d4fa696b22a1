#pragma once

#include <gtest/gtest.h>

#include <csignal>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

/// A process of its own that runs a function, made while the test has one thread.
class ChildProcess {
public:
    /// `body` returns whether all was well.
    template <typename Body>
    explicit ChildProcess(Body body) : m_process(fork()) {
        if (m_process == 0)
            _exit(body() ? 0 : 1);
    }
    ChildProcess(ChildProcess&& other) noexcept : m_process(std::exchange(other.m_process, 0)) {}
    ~ChildProcess() { kill(); }

    /// Whether the process ended by itself, and well.
    bool join() {
        int status = 0;
        return waitpid(std::exchange(m_process, 0), &status, 0) > 0 && WIFEXITED(status) &&
               WEXITSTATUS(status) == 0;
    }

    void kill() {
        if (m_process <= 0)
            return;
        ::kill(m_process, SIGKILL);
        waitpid(std::exchange(m_process, 0), nullptr, 0);
    }

private:
    pid_t m_process;
};
