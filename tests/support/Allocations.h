#pragma once

#include <cstddef>

/// How often the calling thread has called operator new in this program.
long allocationCount();

/// How many bytes it has asked for that way.
std::size_t allocatedBytes();

/// How many pieces of operator new the calling thread has taken more than it has given back.
long allocationsAlive();

/// While it lives, allocations of the calling thread fail: those of operator new in all its forms and, with
/// glibc and without a sanitizer, those of malloc, calloc and realloc. One a thread at a time.
class AllocationFailure {
public:
    enum class Extent { one, allFromThere };

    /// The allocation of that number fails, counted from 1 from now on.
    AllocationFailure(long number, Extent extent);
    ~AllocationFailure();
    AllocationFailure(AllocationFailure const&) = delete;
    AllocationFailure& operator=(AllocationFailure const&) = delete;

    /// Whether an allocation has failed.
    static bool happened();
};
