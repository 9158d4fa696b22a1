#include "Output.h"
#include "Program.h"
#include <zun/lock/InterProcessLock.h>
#include <zun/lock/LockStatus.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <memory>
#include <optional>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace tool {

namespace {

using namespace orvane_com::zun::lock;

/// The child that a termination of this process is passed on to; 0 when there is none.
volatile std::sig_atomic_t runningChild = 0;

void passOn(int signal) {
    if (runningChild != 0)
        kill(static_cast<pid_t>(runningChild), signal);
}

/// Of the command, as a shell tells it. The error with which it could not be started comes through a pipe
/// that a successful start closes.
int runCommand(std::vector<std::string> const& words) {
    std::vector<char*> arguments;
    for (std::string const& word : words)
        arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    int ends[2];
    if (pipe(ends) != 0)
        throw Failure::ofSystem(words.front(), errno);
    fcntl(ends[1], F_SETFD, FD_CLOEXEC);
    // A terminal's signals reach the command too: it is the one to answer them.
    std::signal(SIGINT, SIG_IGN);
    std::signal(SIGQUIT, SIG_IGN);
    std::signal(SIGTERM, passOn);
    std::signal(SIGHUP, passOn);
    pid_t const child = fork();
    if (child == 0) {
        close(ends[0]);
        for (int const signal : {SIGINT, SIGQUIT, SIGTERM, SIGHUP, SIGPIPE})
            std::signal(signal, SIG_DFL);
        execvp(arguments.front(), arguments.data());
        int const error = errno;
        [[maybe_unused]] ssize_t const told = write(ends[1], &error, sizeof error);
        _exit(127);
    }
    int const forkError = errno;
    close(ends[1]);
    if (child < 0) {
        close(ends[0]);
        throw Failure::ofSystem(words.front(), forkError);
    }
    runningChild = child;
    int startError = 0;
    bool hasStarted = true;
    ssize_t count;
    while ((count = read(ends[0], &startError, sizeof startError)) < 0 && errno == EINTR) {
    }
    hasStarted = count != static_cast<ssize_t>(sizeof startError);
    close(ends[0]);
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    runningChild = 0;
    if (!hasStarted)
        throw Failure::ofSystem(words.front(), startError);
    constexpr int shellsSignalBase = 128;
    return WIFSIGNALED(status) ? shellsSignalBase + WTERMSIG(status) : WEXITSTATUS(status);
}

struct LockCommand {
    std::string name;
    bool isRead = false;
    std::optional<double> wait;
    std::vector<std::string> words;
    bool isJson = false;

    void run() const {
        requireName();
        int const status = isRead ? runWith<InterProcessReadLock>() : runWith<InterProcessWriteLock>();
        if (status != 0)
            throw Failure("", static_cast<Status>(status));
    }

    void list() const {
        Output& output = Output::standard();
        Table table;
        if (!isJson)
            table.add({"NAME", "WRITER", "READERS", "REFERENCES"});
        for (LockStatus const& lock : allLocks())
            if (isJson)
                output.writeLine(JsonObject()
                                     .text("name", lock.name)
                                     .flag("writer", lock.hasWriter)
                                     .number("readers", std::uint64_t{lock.readers})
                                     .number("references", std::uint64_t{lock.references})
                                     .finish());
            else
                table.add({forPeople(lock.name), lock.hasWriter ? "yes" : "no", std::to_string(lock.readers),
                           std::to_string(lock.references)});
        table.write(output);
    }

    void clean() const {
        requireName();
        if (!exists())
            throw Failure("there is no lock " + name);
        InterProcessWriteLock::cleanSemaphore(name);
        if (exists())
            throw Failure("the lock " + name + " could not be removed: it takes the super-user");
    }

private:
    void requireName() const {
        if (name.empty() || name.front() == '.' || name.find('/') != std::string::npos)
            throw Failure("\"" + name + "\" is no name of a lock", wrongUse);
    }

    static std::vector<LockStatus> allLocks() {
        std::vector<LockStatus> locks;
        if (!listLocks(locks) && errno != ENOENT)
            throw Failure::ofSystem("the locks' directory", errno);
        return locks;
    }

    bool exists() const {
        std::vector<LockStatus> const locks = allLocks();
        return std::any_of(locks.begin(), locks.end(),
                           [&](LockStatus const& lock) { return lock.name == name; });
    }

    template <typename Lock>
    int runWith() const {
        Lock lock(name);
        if (!take(lock))
            throw Failure(
                exists()
                    ? "the lock " + name + " is held"
                    : "the lock " + name +
                          " cannot be had: /Library/Orvane/zun/scratch must exist, and be yours to write");
        return runCommand(words);
    }

    template <typename Lock>
    bool take(Lock& lock) const {
        constexpr unsigned ignored = 0;
        if (!wait)
            return lock.lock(ignored);
        using Clock = std::chrono::steady_clock;
        auto const end = Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                            std::chrono::duration<double>(std::clamp(*wait, 0.0, 1e9)));
        while (!lock.tryLock()) {
            if (Clock::now() >= end)
                return false;
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        return true;
    }
};

} // namespace

void addLockCommands(CLI::App& program) {
    CLI::App& lock = *program.add_subcommand("lock", "Use and look at the agent's named locks");
    lock.require_subcommand(1);
    auto const options = std::make_shared<LockCommand>();
    CLI::App& run = *lock.add_subcommand("run", "Run a command while a lock is held");
    run.add_flag("--read", options->isRead, "Share the lock with other readers");
    run.add_option("--wait", options->wait, "Give up after so many seconds; 0: do not wait")
        ->type_name("SECONDS");
    run.add_option("NAME", options->name, "The lock's name")->required();
    run.add_option("COMMAND", options->words, "The command and its arguments, behind --")->required();
    run.callback([options] { options->run(); });
    CLI::App& list = *lock.add_subcommand("list", "List the locks with who holds them");
    list.add_flag("--json", options->isJson, "One JSON object a line");
    list.callback([options] { options->list(); });
    CLI::App& clean = *lock.add_subcommand("clean", "Remove a lock, whoever uses it");
    clean.add_option("NAME", options->name, "The lock's name")->required();
    clean.callback([options] { options->clean(); });
}

} // namespace tool
