#include "SharedSettings.h"

#include <zun/configuration/IConfiguration.h>
#include <zun/files/APath.h>
#include <zun/lock/InterProcessLock.h>
#include <zun/platform/helper/CommonHelper.h>
#include <zun/structured/AnIni2.h>

#include <chrono>

using orvane_com::zun::configuration::IConfiguration;
using orvane_com::zun::lock::InterProcessWriteLock;

namespace {

AString settingsFile() {
    return IConfiguration::GetConfiguration()->GetAgentIniFullPath();
}

} // namespace

std::string SharedSettings::lockName() {
    AString workspace;
    AString name;
    splitPath(IConfiguration::GetConfiguration()->GetAgentInstallLocation().c_str(), &workspace, nullptr);
    splitPath(workspace, nullptr, &name);
    return orvane_com::zun::helper::toNarrow(name) + ".settings";
}

void SharedSettings::countRun(std::wstring const& section) {
    constexpr unsigned int ignoredTimeout = 0;
    using Clock = std::chrono::steady_clock;
    InterProcessWriteLock lock(lockName());
    Clock::time_point const asked = Clock::now();
    if (!lock.lock(ignoredTimeout))
        return;
    auto const waited = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - asked);
    {
        AnIni2 settings(settingsFile());
        AString runs(L"0");
        settings.tryGet(section, L"Runs", runs);
        settings.set(section, L"Runs", AString(runs.toInt() + 1));
        settings.set(section, L"WaitedForLock", AString(waited.count()) << L" ms");
    }
    lock.unlock();
}

std::wstring SharedSettings::describe(std::wstring const& section) {
    AnIni2 settings(settingsFile());
    AString runs;
    AString waited;
    if (!settings.tryGet(section, L"Runs", runs) || !settings.tryGet(section, L"WaitedForLock", waited))
        return {};
    return L"run " + runs + L", waited " + waited + L" for the lock on agent.ini";
}
