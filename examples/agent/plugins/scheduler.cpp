// Runs the agent's tasks, several at a time.

#include "../Plugin.h"
#include "../SharedSettings.h"
#include <zun/linux/log.h>
#include <zun/logger/ILogger.h>

#include <cstdlib>
#include <thread>
#include <vector>

using namespace orvane_com::zun::logger;

namespace {

constexpr int workers = 2;
constexpr int tasksOfAWorker = 60;

void runTasks(int worker) {
    constexpr long invoking = 0x8004;
    constexpr long finished = 0x8007;
    AString message;
    message << L"Worker " << worker << L" is at work";
    AnInfoTrace const trace(L"Tasks", message);
    for (int task = 0; task < tasksOfAWorker; ++task) {
        AString name;
        name << L"Task " << worker << L"." << AFormat(task, L"0", 3);
        MultiArgs const arguments(name);
        ILogger::GetLogger()->logMessage(Info, Scheduler, invoking, arguments);
        ILogger::GetLogger()->logMessage(Info, Scheduler, finished, arguments);
    }
}

} // namespace

int runPlugin() {
    AnInfoTrace const trace(L"Tasks", L"Running the task queue");
    SharedSettings::countRun(L"scheduler");
    std::vector<std::thread> threads;
    for (int worker = 1; worker <= workers; ++worker)
        threads.emplace_back(runTasks, worker);
    for (std::thread& thread : threads)
        thread.join();
    return EXIT_SUCCESS;
}
