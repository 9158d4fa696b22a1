#include <zun/structured/AnIni2.h>

#include <iostream>

int main() {
    AnIni2 settings(L"agent.ini");
    settings.set(L"Agent", L"PolicyInterval", L"300"); // in memory
    AString value;
    if (!settings.tryGet(L"Agent", L"Language", value))
        settings.set(L"Agent", L"Language", L"日本語");
    settings.getExisting(L"Agent", L"PolicyInterval", value); // were it missing, an error would be logged
    std::cout << value.toInt() << '\n';
    settings.write(); // now; close and the destructor write what changed, too
    return 0;
}
