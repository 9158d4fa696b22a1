#pragma once

#include <zun/Api.h>

#include <string>
#include <vector>

namespace orvane_com::zun::lock {

/// What a named lock's semaphores say at one moment.
struct LockStatus {
    std::string name;
    bool hasWriter;
    unsigned int readers;
    /// Objects on the lock, in all processes.
    unsigned int references;
};

/// The named locks whose files and sets exist, by name; those that the process may not examine are left out.
/// Takes no lock and changes nothing. False, with errno set, when the locks' directory cannot be listed.
ZUN_API bool listLocks(std::vector<LockStatus>& locks);

} // namespace orvane_com::zun::lock
