#include <tests/allocation/FailingAllocations.h>
#include <tests/support/PrivateRoot.h>
#include <zun/lock/InterProcessLock.h>
#include <zun/lock/UnixLock.h>

using namespace orvane_com::zun::lock;

namespace {

TEST(LocksAllocation, NothingStaysHeld) {
    PrivateRoot const root;
    if (!root.isEntered())
        GTEST_SKIP() << "only the super-user may have a root directory of its own";
    std::string const lockDirectory = "/Library/Orvane/zun/scratch/";
    std::filesystem::create_directories(lockDirectory);
    LogCapture log;
    auto const run = [] {
        InterProcessWriteLock guard("agent");
        if (!guard.lock(0) || !guard.unlock())
            return false;
        UnixLock lock("agent");
        return lock.tryReadLock() && lock.readUnlock() && guard.tryLock();
    };
    auto const check = [&](bool) {
        EXPECT_FALSE(std::filesystem::exists(lockDirectory + "agent"));
        UnixLock lock("agent");
        EXPECT_TRUE(lock.tryWriteLock() && lock.writeUnlock());
    };
    failEachAllocation(run, check);
}

} // namespace
