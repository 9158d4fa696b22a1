#include <zun/files/ALibrary.h>
#include <zun/linux/log.h>

#include <iostream>

int main() {
    setupLog(L"log/agent.log", L"", false, false);
    ALibrary plugin;
    int (*start)() = nullptr;
    // "inventory" stands for libinventory.dylib, on every system.
    if (plugin.open(false, L"./inventory", true, false) && plugin.get(true, "start", &start))
        std::cout << start() << '\n';
    if (!plugin.open(false, L"./missing", true, false))
        std::cout << "no such plug-in\n";
    return 0;
}
