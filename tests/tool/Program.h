#pragma once

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

/// Starts the program `zun`; a descriptor that is not given is the test's own.
inline pid_t startProgram(std::vector<std::string> words, int output, int errors) {
    words.insert(words.begin(), ZUN_PROGRAM);
    std::vector<char*> arguments;
    for (std::string& word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    pid_t const process = fork();
    if (process == 0) {
        dup2(output, STDOUT_FILENO);
        dup2(errors, STDERR_FILENO);
        execv(ZUN_PROGRAM, arguments.data());
        _exit(127);
    }
    return process;
}

struct Outcome {
    int status;
    std::string output;
    std::string errors;
};

inline std::string drain(int descriptor) {
    std::string bytes;
    char room[4096];
    // A pseudo-terminal ends with an error.
    for (ssize_t count; (count = read(descriptor, room, sizeof room)) > 0;)
        bytes.append(room, static_cast<std::size_t>(count));
    close(descriptor);
    return bytes;
}

inline int statusOf(pid_t process) {
    int status = 0;
    waitpid(process, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

/// With pipes behind it; errors fit into one.
inline Outcome runProgram(std::vector<std::string> const& words) {
    int output[2];
    int errors[2];
    if (pipe2(output, O_CLOEXEC) != 0 || pipe2(errors, O_CLOEXEC) != 0)
        std::abort();
    pid_t const process = startProgram(words, output[1], errors[1]);
    close(output[1]);
    close(errors[1]);
    std::string const written = drain(output[0]);
    std::string const complaints = drain(errors[0]);
    return {statusOf(process), written, complaints};
}

/// With a terminal, which gets both.
inline Outcome runInTerminal(std::vector<std::string> const& words) {
    int const terminal = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (terminal < 0 || grantpt(terminal) != 0 || unlockpt(terminal) != 0)
        std::abort();
    int const other = open(ptsname(terminal), O_RDWR | O_NOCTTY | O_CLOEXEC);
    pid_t const process = startProgram(words, other, other);
    close(other);
    std::string const written = drain(terminal);
    return {statusOf(process), written, {}};
}
