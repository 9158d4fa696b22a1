#include <zun/linux/log.h>
#include <zun/logger/LogReader.h>

#include <iostream>

using namespace orvane_com::zun::logger;

int main() {
    setupLog(L"log/agent.log", L"", false, false);
    AnInfoTrace const trace(L"Update", L"Installing version 2");
    logError(L"Update", L"The archive ends early");

    LogReader reader("log/agent.log");
    LogRecord record;
    while (reader.next(record))
        if (record.level == Err)
            std::cout << record.message << ", while " << record.trace.front() << '\n';
    return 0;
}
