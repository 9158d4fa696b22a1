#include <zun/linux/log.h>
#include <zun/logger/ILogger.h>
#include <zun/logger/MultiArgs.h>

using namespace orvane_com::zun::logger;

int main() {
    setupLog(L"log/agent.log", L"", false, false);
    ILogger& logger = *ILogger::GetLogger();
    constexpr long failedToOpenFile = 0x4003;
    constexpr long supportIs = 0x40CF;
    logger.logMessage(Err, Plugin, failedToOpenFile, L"/etc/agent.conf");
    logger.logMessage(Info, ListenServer, supportIs, MultiArgs(std::wstring(L"IPv6")).add(L"enabled"));
    return 0;
}
