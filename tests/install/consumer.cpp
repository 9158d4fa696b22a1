#include <zun/linux/log.h>
#include <zun/text/AString.h>

namespace {

int logOneLine(int, char**) {
    AString line(L"line ");
    line << 1 << L" of an installed library's user";
    logInfo(L"Consumer", line);
    return line == L"line 1 of an installed library's user" ? 0 : 1;
}

} // namespace

/// Logs one line to the file that the first argument names.
int main(int argc, char** argv) {
    if (argc != 2) {
        return 2;
    }
    return runMainWithLogging(logOneLine, argc, argv, AString(argv[1]), L"", false);
}
