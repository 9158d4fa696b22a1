#pragma once

#include <zun/Api.h>

namespace orvane_com::zun::lock {

/// A reader/writer lock: read holds are shared, a write hold excludes all others. Each operation returns
/// whether it took, or gave back, the hold.
class ZUN_API ILock {
public:
    virtual ~ILock() {}

    /// Without waiting.
    virtual bool tryReadLock() = 0;
    virtual bool tryWriteLock() = 0;

    virtual bool readLock(unsigned int timeout) = 0;
    virtual bool writeLock(unsigned int timeout) = 0;

    virtual bool readUnlock() = 0;
    virtual bool writeUnlock() = 0;
};

} // namespace orvane_com::zun::lock
