#include <zun/files/AFile.h>
#include <zun/files/AFiler.h>
#include <zun/files/APath.h>
#include <zun/platform/helper/CommonHelper.h>

#include <filesystem>
#include <iostream>

int main() {
    orvane_com::zun::helper::makeDirectories("cache/new");
    AString const from = APath(L"cache", L"policy.xml");
    AString const to = APath(L"cache/new", L"policy.xml");
    AFile::write(from, ABuffer("<Policies/>"));
    if (AFiler::copyFile(from, to)) // `to` appears whole
        AFiler::deleteFile(from);
    std::cout << (std::filesystem::exists("cache/policy.xml") ? "copied\n" : "moved\n");
    AFiler::deleteFolders(L"cache"); // but for hidden names; a link is not followed
    std::cout << (std::filesystem::exists("cache") ? "not empty\n" : "deleted\n");
    return 0;
}
