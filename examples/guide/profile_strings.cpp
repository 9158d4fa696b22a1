#include <zun/files/AFile.h>
#include <zun/platform/helper/CommonHelper.h>
#include <zun/platform/registry/ProfileString.h>

#include <array>
#include <iostream>

int main() {
    AFile::write(L"site.ini", ABuffer("; the site\n[Server]\nName=old\nPort=80\n"));

    wchar_t const* const file = L"site.ini";
    WritePrivateProfileString(L"Server", L"Name", L"ams-01", file);
    WritePrivateProfileString(L"Server", L"Port", nullptr, file); // deletes the key
    std::array<wchar_t, 256> name{};
    GetPrivateProfileString(L"server", L"NAME", L"localhost", name.data(), name.size(), file);
    std::cout << orvane_com::zun::helper::toNarrow(name.data()) << '\n';
    return 0;
}
