#include <zun/platform/helper/CommonHelper.h>
#include <zun/text/AStringList.h>
#include <zun/text/AStringParser.h>
#include <zun/text/AVersion.h>

#include <iostream>

using orvane_com::zun::helper::toNarrow;

int main() {
    AStringList list(L", ", false);
    list << L"scheduler" << 2 << L"updater"; // "scheduler, 2, updater"

    AStringParser parser(list, L",");
    while (!parser.atEnd()) {
        parser.skip(L" ");
        std::cout << '[' << toNarrow(parser.get(nullptr)) << "] ";
    }

    AString name;
    AString value;
    parseInTwo(L"proxy=http://a=b", &name, L"=", &value);
    std::cout << toNarrow(name.const_cpp_str()) << " is " << toNarrow(value.const_cpp_str()) << '\n';

    AVersion const installed(L"5.7.4.418");
    AVersion const wanted(5, 8, 0, 0);
    std::cout << (installed.compare(&wanted) < 0 ? "outdated\n" : "up to date\n");
    return 0;
}
