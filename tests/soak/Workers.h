#pragma once

#include <tests/soak/Account.h>
#include <tests/soak/SmallSpace.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <sys/types.h>

/// Where the workers of a round work, each kind in files of its own.
struct Place {
    std::string directory;
    SmallSpace const& smallSpace;
    /// Empty when named locks are not to be had.
    std::string lockName;
    pid_t parent;

    /// What the stranger wants written to.
    std::string victim() const { return file("victim"); }
    std::string file(std::string const& name) const { return directory + "/" + name; }
};

/// A process's part in a round.
struct Worker {
    Place const& place;
    Account& account;
    std::size_t index;
    unsigned seed;

    /// True, too, for an orphan.
    bool isOver() const { return account.stop || getppid() != place.parent; }
    Progress& progress(std::size_t thread = 0) const { return account.progress[index][thread]; }
};

/// Several threads write to a counted log, from which no line may be missing, and to one that gets deleted.
void writeLogs(Worker const& worker);

/// Takes the counted log away, by logrotate(8) where that is installed and as others do, and deletes the
/// other one.
void takeLogsAway(Worker const& worker);

/// Each counts in an entry of its own, in a file that all of them change.
void countInProfile(Worker const& worker);
void countInRegistry(Worker const& worker);

void replaceDocument(Worker const& worker);
void readDocument(Worker const& worker);

/// Adds to Account::guarded under a named lock that is made and removed all the time.
void countUnderLock(Worker const& worker);

/// Logs, and replaces a document and a setting, while the space runs out and comes back.
void workInSmallSpace(Worker const& worker);

/// Need not be known to the system.
constexpr uid_t strangerId = 54321;

/// As another local user: locks, links and plants on all that he may touch.
void actAsStranger(Worker const& worker);

/// What a counter has come to; 0 when it is not there.
std::uint64_t counterInProfile(Place const& place, std::size_t index);
std::uint64_t counterInRegistry(Place const& place, std::size_t index);
