// Takes the lock on the settings and hangs: what a service has to expect of any plug-in.

#include "../Plugin.h"
#include "../SharedSettings.h"
#include <zun/linux/log.h>
#include <zun/lock/InterProcessLock.h>

#include <cstdlib>
#include <iostream>
#include <unistd.h>

int runPlugin() {
    constexpr unsigned int ignoredTimeout = 0;
    AnInfoTrace const trace(L"Updater", L"Updating the settings");
    orvane_com::zun::lock::InterProcessWriteLock lock(SharedSettings::lockName());
    if (!lock.lock(ignoredTimeout))
        return EXIT_FAILURE;
    logInfo(L"Updater", L"holds the lock on agent.ini, and hangs");
    std::cout << "holding" << std::endl;
    for (;;)
        pause();
}
