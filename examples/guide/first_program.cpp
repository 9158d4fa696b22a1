#include <zun/linux/log.h>

int main() {
    setupLog(L"/tmp/hello/agent.log", L"", false, false);
    AnInfoTrace const trace(L"Hello", L"Greeting the world");
    logInfo(L"Hello", L"Grüße, 世界");
    logError(L"Hello", L"Nobody answered");
    return 0;
}
