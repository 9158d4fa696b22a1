#include <zun/linux/log.h>

#include <string>

/// Logs one line to the file that its argument names.
int main(int, char** arguments) {
    std::string const path = arguments[1];
    setupLog(std::wstring(path.begin(), path.end()).c_str(), L"", false, false);
    logInfo(L"Agent", L"The agent starts");
}
