#include <zun/linux/log.h>
#include <zun/logger/ILogger.h>
#include <zun/text/AString.h>

namespace {

int logOneLine(int, char**) {
    AString greeting(L"installed and found");
    greeting << L" by a program of " << 2 << L" libraries";
    logInfo(L"Consumer", greeting);
    return greeting.size() == 45 ? 0 : 1;
}

} // namespace

/// Logs one line to the file that the first argument names.
int main(int argc, char** argv) {
    if (argc != 2) {
        return 2;
    }
    return runMainWithLogging(logOneLine, argc, argv, AString(argv[1]), L"", false);
}
