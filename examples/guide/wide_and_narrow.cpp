#include <zun/platform/helper/CommonHelper.h>
#include <zun/text/AString.h>

#include <iostream>

namespace helper = orvane_com::zun::helper;

int main() {
    std::wstring const wide = L"Grüße, 世界";
    std::string const utf8 = helper::toNarrow(wide); // for the network, a UTF-8 file, a terminal
    std::wstring const back = helper::toWide(utf8);  // a malformed byte would become U+FFFD

    AString text(back);
    text.findAndReplace(L"世界", L"world");
    text << L" no. " << 2;
    std::cout << utf8 << ": " << wide.size() << " characters, " << utf8.size() << " bytes\n"
              << helper::toNarrow(text.const_cpp_str()) << '\n';
    return 0;
}
