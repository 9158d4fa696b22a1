#include <zun/linux/log.h>

int main() {
    setupLog(L"log/agent.log", L"", false, false);
    AnInfoTrace const update(L"Update", L"Installing version 2");
    AnInfoTrace step(L"Update", L"Downloading the archive");
    step.set(L"Unpacking the archive", true);
    logError(L"Update", L"The archive ends early");
    return 0;
}
