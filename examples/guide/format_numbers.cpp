#include <zun/platform/helper/CommonHelper.h>
#include <zun/text/AFormat.h>
#include <zun/text/AString.h>

#include <iostream>

int main() {
    AString row;
    row << AFormat(L"disk", L"-^", 8, -1) // left-justified in 8, upper case
        << AFormat(47, L"0x", 6)          // hexadecimal, zeros in front
        << AFormat(-1, L"u", 12)          // unsigned, of the low 32 bits
        << AFormat(L"too long", L"", -1, 3);
    std::cout << orvane_com::zun::helper::toNarrow(row.const_cpp_str()) << '\n';
    return 0;
}
