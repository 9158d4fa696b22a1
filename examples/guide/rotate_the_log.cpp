#include <zun/linux/log.h>
#include <zun/logger/ILogger.h>

#include <filesystem>
#include <iostream>

using orvane_com::zun::logger::ILogger;

int main() {
    setupLog(L"log/agent.log", L"", false, false);
    ILogger& logger = *ILogger::GetLogger();
    logger.setMaxLogFileSize(16);    // KiB
    logger.setNumberOfBackupLogs(3); // agent_backup_1.log, the newest, to agent_backup_3.log
    for (int number = 1; number <= 1000; ++number)
        logInfo(L"Agent", AString(L"Line ") << number);

    for (auto const* file : {"log/agent.log", "log/agent_backup_1.log", "log/agent_backup_3.log"})
        std::cout << file << ": " << (std::filesystem::exists(file) ? "here\n" : "missing\n");
    std::cout << (std::filesystem::exists("log/agent_backup_4.log") ? "too many\n" : "no other\n");
    return 0;
}
