#include <zun/linux/log.h>

#include <unistd.h>

bool removeOldVersion(char const* path) {
    AnInfoTrace const trace(L"Update", L"Removing the old version");
    return !logErrnoIf(L"Update", rmdir(path) != 0);
}

int main() {
    setupLog(L"log/agent.log", L"", false, false);
    return removeOldVersion("version-1") ? 1 : 0; // it is not there
}
