#include <zun/files/AFile.h>
#include <zun/linux/log.h>
#include <zun/text/ALocalizedString.h>
#include <zun/text/AResourceFile.h>

#include <cstdlib>

int main() {
    setupLog(L"log/agent.log", L"", false, false);
    // A catalog is made from its texts when the product is built.
    AFile::write(L"agent.msg", ABuffer("$set 1\n1 %1 Dateien nach %2 kopiert\n"));
    bool const isMade = std::system("gencat agent.cat agent.msg") == 0;

    AResourceFile catalog;
    if (isMade && catalog.openExisting(L"./agent.cat", 0))
        logInfo(L"Copy", ALocalizedString(1, &catalog) << 3 << L"/tmp");
    logInfo(L"Copy", ALocalizedString(L"Copied %1 files to %2") << 3 << L"/tmp");
    return 0;
}
