#pragma once

#include <csignal>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

/// A process of its own that runs a function, made while the test has one thread.
class ChildProcess {
public:
    /// `body` returns whether all was well; an exception ends the process as any that nobody catches.
    template <typename Body>
    explicit ChildProcess(Body body) : m_process(fork()) {
        if (m_process == 0)
            [&body]() noexcept { _exit(body() ? 0 : 1); }();
    }
    ChildProcess(ChildProcess&& other) noexcept : m_process(std::exchange(other.m_process, 0)) {}
    ChildProcess& operator=(ChildProcess&& other) noexcept {
        kill();
        m_process = std::exchange(other.m_process, 0);
        return *this;
    }
    ~ChildProcess() { kill(); }

    pid_t id() const { return m_process; }

    /// Whether the process ended by itself, and well.
    bool join() {
        int status = 0;
        return waitpid(std::exchange(m_process, 0), &status, 0) > 0 && WIFEXITED(status) &&
               WEXITSTATUS(status) == 0;
    }

    /// False when the process had ended before.
    bool kill() {
        int status = 0;
        return m_process > 0 && ::kill(m_process, SIGKILL) == 0 &&
               waitpid(std::exchange(m_process, 0), &status, 0) > 0 && WIFSIGNALED(status) &&
               WTERMSIG(status) == SIGKILL;
    }

private:
    pid_t m_process;
};
