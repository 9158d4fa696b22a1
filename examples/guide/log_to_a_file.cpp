#include <zun/linux/log.h>

int main() {
    setupLog(L"log/agent.log", L"", false, false);
    logInfo(L"Agent", L"The agent starts");
    logDetail(L"Agent", L"Not written: the level is Info");
    setLogLevelDetailed(true);
    logDetail(L"Agent", AString(L"Written now, in line ") << 2);
    return 0;
}
