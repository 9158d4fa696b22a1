#include <zun/linux/log.h>

#include <algorithm>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sys/wait.h>
#include <unistd.h>

void work(int worker) {
    setupLog(L"log/agent.log", L"", false, false);
    for (int job = 1; job <= 100; ++job)
        logInfo(L"Worker", AString(L"worker ") << worker << L" does job " << job);
}

int main() {
    for (int worker = 1; worker <= 2; ++worker)
        if (fork() == 0) {
            work(worker);
            return 0;
        }
    while (wait(nullptr) > 0) {
    }
    std::ifstream log("log/agent.log");
    std::cout << std::count(std::istreambuf_iterator<char>(log), {}, '\n') << " lines\n";
    return 0;
}
