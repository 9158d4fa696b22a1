// Processes that do everything at once to the same files, are killed and started again, and an account at the
// end of what became of their work. Its verdicts depend on no time; only how much work is done does.

#include <tests/soak/Account.h>
#include <tests/soak/LogReader.h>
#include <tests/soak/SmallSpace.h>
#include <tests/soak/Workers.h>
#include <tests/support/TemporaryDirectory.h>
#include <zun/lock/UnixLock.h>
#include <zun/logger/ILogger.h>
#include <zun/platform/helper/CommonHelper.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/wait.h>
#include <thread>
#include <vector>

namespace {

using namespace orvane_com::zun;
using Clock = std::chrono::steady_clock;

volatile std::sig_atomic_t interrupted = 0;

struct Job {
    char const* name;
    void (*run)(Worker const&);
    /// Of the log it reports to; the one it writes to all the time is the counted one.
    char const* log;
    int processes;
    /// Descriptors that the library keeps to the process's end.
    int keeps = 0;
};

constexpr Job jobs[] = {
    {"log writer", writeLogs, "log/agent.log", 4},
    {"log rotator", takeLogsAway, "reports.log", 1},
    {"profile counter", countInProfile, "reports.log", 3},
    {"registry counter", countInRegistry, "reports.log", 3, 1},
    {"document writer", replaceDocument, "reports.log", 2},
    {"document reader", readDocument, "reports.log", 2},
    {"lock user", countUnderLock, "reports.log", 4},
    {"small space", workInSmallSpace, "reports.log", 1},
    {"stranger", actAsStranger, "reports.log", 2},
};

std::ptrdiff_t openDescriptors() {
    return std::distance(std::filesystem::directory_iterator("/dev/fd"), {});
}

/// The system's semaphore sets; none on a system that does not list them.
std::set<int> semaphoreSets() {
    std::set<int> sets;
    std::ifstream list("/proc/sysvipc/sem");
    std::string line;
    std::getline(list, line);
    while (std::getline(list, line)) {
        long key = 0;
        int set = 0;
        if (std::istringstream(line) >> key >> set)
            sets.insert(set);
    }
    return sets;
}

/// Takes the semaphores away that the stranger has planted.
void removeStrangersSets(std::set<int> const& before) {
    std::ifstream list("/proc/sysvipc/sem");
    std::string line;
    while (std::getline(list, line)) {
        long key = 0;
        int set = 0;
        int permissions = 0;
        int count = 0;
        uid_t owner = 0;
        if (std::istringstream(line) >> key >> set >> permissions >> count >> owner && owner == strangerId &&
            !before.contains(set))
            semctl(set, 0, IPC_RMID);
    }
}

/// The directory of the named locks' files, made when it is missing and then removed at the end.
class LockDirectory {
public:
    static constexpr char const* path = "/Library/Orvane/zun/scratch";

    LockDirectory() {
        if (geteuid() != 0)
            return;
        for (std::filesystem::path missing = path; !exists(missing); missing = missing.parent_path())
            m_made.push_back(missing);
        std::error_code notAllowed;
        std::filesystem::create_directories(path, notAllowed);
        // While this is there, nobody else who made the directory removes it.
        std::ofstream(m_placeholder).put('\n');
        m_isUsable = std::filesystem::exists(m_placeholder);
    }
    ~LockDirectory() {
        std::error_code inUse;
        std::filesystem::remove(m_placeholder, inUse);
        for (auto const& made : m_made)
            std::filesystem::remove(made, inUse);
    }
    LockDirectory(LockDirectory const&) = delete;
    LockDirectory& operator=(LockDirectory const&) = delete;

    bool isUsable() const { return m_isUsable; }

private:
    std::string const m_placeholder = path + std::string("/zun_soak_") + std::to_string(getpid());
    std::vector<std::filesystem::path> m_made;
    bool m_isUsable = false;
};

struct Totals {
    std::uint64_t rounds = 0;
    std::uint64_t kills = 0;
    std::uint64_t lines = 0;
    std::uint64_t linesCutOff = 0;
    std::uint64_t linesCutOffFound = 0;
    std::uint64_t linesCutAtPage = 0;
    std::uint64_t backups = 0;
    std::uint64_t profileWrites = 0;
    std::uint64_t registryWrites = 0;
    std::uint64_t documentWrites = 0;
    std::uint64_t lockedUpdates = 0;
    std::uint64_t leftTemporaries = 0;
    std::set<pid_t> processes;
};

/// A few seconds of all workers on new files, and what was left of their work.
class Round {
public:
    Round(Account& account, Totals& totals, std::string const& lockName, std::mt19937& random)
        : m_account(account), m_totals(totals), m_random(random),
          m_smallSpace(m_directory.file("small")), m_place{m_directory.path(), m_smallSpace, lockName,
                                                           getpid()} {
        m_account.stop = false;
        m_account.guarded = 0;
        for (auto& worker : m_account.progress)
            for (Progress& progress : worker) {
                progress.begun = 0;
                progress.ended = 0;
            }
        using std::filesystem::perms;
        for (char const* name : {"log", "documents", "sticky"})
            std::filesystem::create_directory(m_directory.file(name));
        std::filesystem::permissions(m_directory.path(), static_cast<perms>(0711));
        std::filesystem::permissions(m_directory.file("sticky"), static_cast<perms>(01777));
        writeFile(m_place.victim(), "");
        for (Job const& job : jobs)
            for (int process = 0; process < job.processes; ++process)
                if ((job.run != countUnderLock || !lockName.empty()) &&
                    (job.run != actAsStranger || geteuid() == 0))
                    m_processes.push_back({&job, 0, {}});
    }

    void run(Clock::time_point end) {
        for (std::size_t index = 0; index < m_processes.size(); ++index)
            start(index);
        while (Clock::now() < end && !interrupted) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1 + m_random() % 20));
            std::size_t const index = m_random() % m_processes.size();
            kill(m_processes[index].id, SIGKILL);
            ++m_totals.kills;
            reap(index, true);
            start(index);
        }
        m_account.stop = true;
        for (std::size_t index = 0; index < m_processes.size(); ++index)
            join(index);
        ++m_totals.rounds;
        settle();
    }

    bool hasSmallFileSystem() const { return m_smallSpace.isFileSystem(); }

private:
    struct Process {
        Job const* job;
        pid_t id;
        /// What was begun and not ended by a kill, for each thread.
        std::array<std::set<std::uint64_t>, Account::threads> cutOff;
    };

    void start(std::size_t index) {
        Job const& job = *m_processes[index].job;
        Worker const worker{m_place, m_account, index, static_cast<unsigned>(m_random())};
        pid_t const process = fork();
        if (process == 0) {
            auto const before = openDescriptors();
            logger::ILogger& log = *logger::ILogger::GetLogger();
            log.Start();
            log.attach(helper::toWide(m_place.file(job.log)));
            job.run(worker);
            logger::ILogger::FreeLogger();
            m_account.expect(openDescriptors() <= before + job.keeps, leakedDescriptor,
                             std::string("a descriptor is left open by a ") + job.name);
            _exit(0);
        }
        m_processes[index].id = process;
        m_totals.processes.insert(process);
    }

    void join(std::size_t index) {
        // Far longer than anything takes: who is not back by then waits for something that does not come.
        auto const end = Clock::now() + std::chrono::seconds(60);
        Process& process = m_processes[index];
        siginfo_t state{};
        while (waitid(P_PID, static_cast<id_t>(process.id), &state, WEXITED | WNOHANG | WNOWAIT) == 0 &&
               state.si_pid == 0) {
            if (Clock::now() > end) {
                m_account.blame(stuckProcess, std::string("stuck: a ") + process.job->name);
                kill(process.id, SIGKILL);
                reap(index, true);
                return;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        reap(index, false);
    }

    void reap(std::size_t index, bool isKilled) {
        Process& process = m_processes[index];
        int status = 0;
        waitpid(process.id, &status, 0);
        bool const asKilled = isKilled && WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
        m_account.expect(asKilled || (WIFEXITED(status) && WEXITSTATUS(status) == 0), endedProcess,
                         std::string("ended by itself: a ") + process.job->name);
        for (std::size_t thread = 0; thread < Account::threads; ++thread) {
            Progress const& progress = m_account.progress[index][thread];
            if (progress.begun != progress.ended)
                process.cutOff[thread].insert(progress.begun);
        }
    }

    void settle() {
        settleLogs();
        std::uint64_t lockedBegun = 0;
        std::uint64_t lockedEnded = 0;
        for (std::size_t index = 0; index < m_processes.size(); ++index) {
            auto const run = m_processes[index].job->run;
            Progress const& progress = m_account.progress[index][0];
            std::uint64_t const done = progress.begun - m_processes[index].cutOff[0].size();
            if (run == countInProfile) {
                m_totals.profileWrites += done;
                settleCounter(progress, counterInProfile(m_place, index));
            } else if (run == countInRegistry) {
                m_totals.registryWrites += done;
                settleCounter(progress, counterInRegistry(m_place, index));
            } else if (run == replaceDocument) {
                m_totals.documentWrites += done;
            } else if (run == countUnderLock) {
                lockedBegun += progress.begun;
                lockedEnded += done;
            }
        }
        m_totals.lockedUpdates += lockedEnded;
        std::uint64_t const guarded = m_account.guarded;
        if (guarded < lockedEnded)
            m_account.blame(lostUpdate, "lost under the lock: " + std::to_string(lockedEnded - guarded),
                            lockedEnded - guarded);
        m_account.expect(guarded <= lockedBegun, lostUpdate, "a counter went too far under the lock");
        for (auto const& entry : std::filesystem::directory_iterator(m_directory.file("documents")))
            m_totals.leftTemporaries += entry.path().filename() != "soak.xml";
        std::istringstream reports(readFile(m_directory.file("reports.log")));
        for (std::string line; std::getline(reports, line);)
            m_account.expect(line.find("] [E] ") == std::string::npos || isStrangersSet(line),
                             failedOperation, line);
        m_account.expect(readFile(m_place.victim()).empty(), strangersByte,
                         "the stranger's file was written to");
    }

    /// Whether an error line tells that a planted semaphore set was made anew, as it has to.
    static bool isStrangersSet(std::string const& line) {
        return line.ends_with("] [E] Error trace:\r") ||
               line.find("A non-root instance of this semaphore encountered") != std::string::npos;
    }

    void settleCounter(Progress const& progress, std::uint64_t value) {
        m_account.expect(value >= progress.ended && value <= progress.begun, lostUpdate,
                         "a counter came to " + std::to_string(value) + " of " +
                             std::to_string(progress.ended));
    }

    void settleLogs() {
        LogReader reader;
        reader.readDirectory(m_directory.file("log"), "agent");
        for (auto const& entry : std::filesystem::directory_iterator(m_directory.file("log")))
            m_totals.backups += entry.path().filename().string().rfind("agent_backup_", 0) == 0;
        std::uint64_t cutOff = 0;
        auto found = reader.found();
        for (std::size_t index = 0; index < m_processes.size(); ++index) {
            if (m_processes[index].job->run != writeLogs)
                continue;
            for (std::size_t thread = 0; thread < Account::threads; ++thread) {
                auto& numbers = found[{index, thread}];
                auto const& open = m_processes[index].cutOff[thread];
                cutOff += open.size();
                for (std::uint64_t number = 1; number <= m_account.progress[index][thread].begun; ++number) {
                    int const times = numbers[number];
                    if (open.contains(number))
                        m_totals.linesCutOffFound += times > 0;
                    else
                        ++m_totals.lines;
                    std::string const name = soakMessage(index, thread, number).substr(0, 30);
                    m_account.expect(times >= 1 || open.contains(number), lostLine, "lost: " + name);
                    m_account.expect(times <= 1, doubledLine, "written twice: " + name);
                }
            }
        }
        m_totals.linesCutOff += cutOff;
        m_totals.linesCutAtPage += reader.cutAtPage();
        if (reader.mixed() > 0 || reader.cutAtPage() > cutOff)
            m_account.blame(mixedLine, std::to_string(reader.mixed()) +
                                           " lines are mixed or torn: " + reader.firstMixed());
    }

    Account& m_account;
    Totals& m_totals;
    std::mt19937& m_random;
    TemporaryDirectory const m_directory;
    SmallSpace const m_smallSpace;
    Place const m_place;
    std::vector<Process> m_processes;
};

/// Of the sets that were not there before, those that a process of the soak used last.
void settleSemaphores(Account& account, std::set<int> const& before, Totals const& totals,
                      std::string const& lockName) {
    { lock::UnixLock const last(lockName); }
    account.expect(!std::filesystem::exists(std::string(LockDirectory::path) + "/" + lockName),
                   leakedSemaphore, "a lock file is left");
    for (int const set : semaphoreSets()) {
        if (before.contains(set))
            continue;
        for (int semaphore = 0; semaphore < 3; ++semaphore) {
            pid_t const user = semctl(set, semaphore, GETPID);
            if (user == getpid() || totals.processes.contains(user)) {
                account.blame(leakedSemaphore, "a semaphore set is left");
                break;
            }
        }
    }
}

void tell(char const* what, std::uint64_t count, std::string const& more = "") {
    std::printf("  %-44s %12llu%s%s\n", what, static_cast<unsigned long long>(count),
                more.empty() ? "" : "   ", more.c_str());
}

bool tellAccount(Account const& account, Totals const& totals, bool hasLocks, bool hasSmallFileSystem) {
    auto const number = [](std::uint64_t value) { return std::to_string(value); };
    std::printf("Done\n");
    tell("processes killed and started again", totals.kills, "in " + number(totals.rounds) + " rounds");
    tell("log lines", totals.lines,
         number(totals.backups) + " rotations, " + number(account.logsTakenAway) + " logs taken away");
    tell("log lines cut off by a kill", totals.linesCutOff,
         number(totals.linesCutOffFound) + " of them in the log, " + number(totals.linesCutAtPage) +
             " cut by the kernel at a page's end");
    tell("profile string writes", totals.profileWrites);
    tell("registry writes", totals.registryWrites);
    tell("XML documents replaced", totals.documentWrites,
         number(account.documentsRead) + " read meanwhile, " + number(totals.leftTemporaries) +
             " temporary files of killed writers left");
    if (hasLocks)
        tell("updates under a named lock", totals.lockedUpdates,
             "longest wait " + number(static_cast<std::uint64_t>(account.longestWaitMicroseconds) / 1000) +
                 " ms");
    else
        std::printf("  named locks left out: their directory takes the super-user\n");
    tell("runs of logrotate", account.logrotateRuns);
    tell("rounds of a stranger", account.strangersDeeds, geteuid() == 0 ? "" : "take the super-user");
    tell("times the space ran out", account.timesFull,
         hasSmallFileSystem ? "a file system of 256 KiB" : "a limit to the size of files");

    constexpr char const* names[] = {"log lines lost",
                                     "log lines written twice",
                                     "files with log lines torn or mixed",
                                     "updates lost (settings, registry, lock)",
                                     "documents that were not whole",
                                     "lock holds that did not exclude others",
                                     "operations that failed",
                                     "descriptors leaked",
                                     "semaphore sets leaked",
                                     "times a stranger's file was written to",
                                     "operations held up",
                                     "processes that ended by themselves",
                                     "processes stuck"};
    static_assert(std::size(names) == faultCount);
    std::printf("Wrong\n");
    std::uint64_t sum = 0;
    for (int fault = 0; fault < faultCount; ++fault) {
        tell(names[fault], account.faults[static_cast<std::size_t>(fault)]);
        sum += account.faults[static_cast<std::size_t>(fault)];
    }
    return sum == 0;
}

} // namespace

int main(int argc, char** argv) {
    double const minutes = argc > 1 ? std::atof(argv[1]) : 1;
    unsigned const seed = argc > 2 ? static_cast<unsigned>(std::atoi(argv[2])) : std::random_device()();
    if (!(minutes > 0)) {
        std::fprintf(stderr, "usage: soak MINUTES [SEED]\n");
        return 2;
    }
    for (int const signal : {SIGINT, SIGTERM})
        std::signal(signal, [](int) { interrupted = 1; });
    std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    std::printf("soak: %g minutes, seed %u\n", minutes, seed);

    std::mt19937 random(seed);
    SharedAccount const account;
    Totals totals;
    LockDirectory const lockDirectory;
    std::string const lockName =
        lockDirectory.isUsable() ? "zun_soak_" + std::to_string(getpid()) + "_lock" : "";
    std::set<int> const setsBefore = semaphoreSets();
    bool hasSmallFileSystem = false;
    auto const end = Clock::now() +
                     std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(minutes * 60));
    do {
        // The files of a round are read and removed at its end, so that a long soak needs no more room.
        constexpr auto roundLength = std::chrono::seconds(5);
        Round round(*account, totals, lockName, random);
        hasSmallFileSystem = round.hasSmallFileSystem();
        round.run(std::min(end, Clock::now() + roundLength));
    } while (Clock::now() < end && !interrupted);
    removeStrangersSets(setsBefore);
    if (!lockName.empty())
        settleSemaphores(*account, setsBefore, totals, lockName);
    return tellAccount(*account, totals, lockDirectory.isUsable(), hasSmallFileSystem) ? 0 : 1;
}
