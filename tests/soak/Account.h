#pragma once

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>
#include <sys/mman.h>
#include <system_error>
#include <unistd.h>

/// Numbered operations of one thread. Told in shared memory before and after each, so that a process that is
/// killed leaves doubt about one operation at most.
struct Progress {
    std::atomic<std::uint64_t> begun{0};
    /// The last one that was completed.
    std::atomic<std::uint64_t> ended{0};

    std::uint64_t begin() { return ++begun; }
    void end() { ended = begun.load(); }
};

/// What must not happen, and is counted when it does.
enum Fault {
    lostLine,
    doubledLine,
    mixedLine,
    lostUpdate,
    brokenDocument,
    overlappingHolds,
    failedOperation,
    leakedDescriptor,
    leakedSemaphore,
    strangersByte,
    blockedOperation,
    endedProcess,
    stuckProcess,
    faultCount
};

/// What the processes of a soak tell each other: it outlives each of them.
struct Account {
    static constexpr std::size_t workers = 32;
    static constexpr std::size_t threads = 3;

    std::atomic<bool> stop{false};
    std::array<std::array<Progress, threads>, workers> progress;
    std::array<std::atomic<std::uint64_t>, faultCount> faults{};
    /// Changed under the named lock only, in two steps.
    std::atomic<std::uint64_t> guarded{0};
    std::atomic<std::int64_t> longestWaitMicroseconds{0};
    std::atomic<std::uint64_t> timesFull{0};
    std::atomic<std::uint64_t> documentsRead{0};
    std::atomic<std::uint64_t> logsTakenAway{0};
    std::atomic<std::uint64_t> logrotateRuns{0};
    std::atomic<std::uint64_t> strangersDeeds{0};

    /// Counts it, and tells about the first ones of its kind.
    void blame(Fault fault, std::string const& what, std::uint64_t times = 1) {
        constexpr std::uint64_t told = 10;
        if (faults[fault].fetch_add(times) >= told)
            return;
        std::string const line = "soak: " + what + "\n";
        [[maybe_unused]] auto const written = write(STDERR_FILENO, line.data(), line.size());
    }
    /// Blames an operation that began at `start` and took longer than anything may wait.
    void expectUnblocked(std::chrono::steady_clock::time_point start, char const* what) {
        // The bound of the waiting itself is 10 seconds; the rest is for a busy machine.
        expect(std::chrono::steady_clock::now() - start < std::chrono::seconds(15), blockedOperation,
               std::string("held up: ") + what);
    }
    void expect(bool good, Fault fault, std::string const& what) {
        if (!good)
            blame(fault, what);
    }
};

/// Owns an Account that forked processes share.
class SharedAccount {
public:
    SharedAccount() {
        void* const memory =
            mmap(nullptr, sizeof(Account), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (memory == MAP_FAILED)
            throw std::system_error(errno, std::generic_category(), "mmap");
        m_account = new (memory) Account;
    }
    ~SharedAccount() { munmap(m_account, sizeof(Account)); }
    SharedAccount(SharedAccount const&) = delete;
    SharedAccount& operator=(SharedAccount const&) = delete;

    Account& operator*() const { return *m_account; }
    Account* operator->() const { return m_account; }

private:
    Account* m_account;
};
