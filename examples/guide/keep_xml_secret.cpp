#include <zun/files/AFile.h>
#include <zun/linux/log.h>
#include <zun/platform/crypto/ACryptWrap.h>
#include <zun/platform/helper/CommonHelper.h>
#include <zun/structured/AnXml.h>
#include <zun/structured/AnXmlNode.h>

#include <iostream>

namespace helper = orvane_com::zun::helper;

int main() {
    setupLog(L"log/agent.log", L"", false, false);
    if (!ACryptWrap::useKeyFile("agent.key"))
        logError(L"Agent", AString(helper::toWide(ACryptWrap::lastError())));
    AnXml secrets;
    secrets.useNew(L"Secrets", L"token", L"4711");
    secrets.writeFile(L"secrets.xml", true, false);

    ABuffer stored;
    AFile::read(false, L"secrets.xml", stored);
    std::cout << (stored.cpp_str().find("4711") == std::string::npos ? "enciphered\n" : "plain\n");

    AString token;
    if (secrets.useExistingFile(L"secrets.xml", L"Secrets") && // plain or enciphered, it reads the same
        AnXmlNode(&secrets).getExistingValue(L"token", &token))
        std::cout << helper::toNarrow(token.const_cpp_str()) << '\n';
    return 0;
}
