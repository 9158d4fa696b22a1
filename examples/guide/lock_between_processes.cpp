#include <zun/linux/log.h>
#include <zun/lock/InterProcessLock.h>

#include <iostream>

using orvane_com::zun::lock::InterProcessReadLock;
using orvane_com::zun::lock::InterProcessWriteLock;

bool updateOnce() {
    InterProcessWriteLock lock("updater");
    if (!lock.tryLock())
        return false; // another process is updating
    logInfo(L"Update", L"Updating");
    return true; // the guard releases the lock
}

bool waitForUpdates() {
    InterProcessReadLock lock("updater");
    constexpr unsigned ignored = 0;
    return lock.lock(ignored); // waits as long as it takes
}

int main() {
    setupLog(L"log/agent.log", L"", false, false);
    if (updateOnce() && waitForUpdates())
        std::cout << "updated\n";
    return 0;
}
