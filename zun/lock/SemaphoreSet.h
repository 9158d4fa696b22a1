#pragma once

#include <sys/ipc.h>
#include <sys/sem.h>

/// What stands behind a named lock: a file in the lock directory, and the semaphore set that ftok(3) finds by
/// it.
namespace orvane_com::zun::lock {

constexpr char lock_path[] = "/Library/Orvane/zun/scratch/";
constexpr int projectId = 3737;

/// What each semaphore of a set counts.
enum Semaphore : unsigned short {
    writerFlag,     // 1 while a writer holds the lock
    holderCount,    // read holds, plus 1 for a write hold
    referenceCount, // objects on the set
    semaphoreCount
};

#ifdef __APPLE__
using SemctlArgument = ::semun;
#else
/// semctl(2) leaves the declaration to the caller.
union SemctlArgument {
    int val;
    semid_ds* buf;
    unsigned short* array;
};
#endif

} // namespace orvane_com::zun::lock
