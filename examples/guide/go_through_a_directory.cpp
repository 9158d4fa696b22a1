#include <zun/files/AFile.h>
#include <zun/files/AFileIndex.h>
#include <zun/platform/helper/CommonHelper.h>
#include <zun/text/ACharString.h>

#include <iostream>

int main() {
    orvane_com::zun::helper::makeDirectories("site/folder.xml");
    AFile::write(L"site/policy.xml", ABuffer("<Policies/>"));
    AFile::write(L"site/notes.txt", ABuffer("none"));

    AFileIndex index(false, L"site", L"*.xml");
    AString path;
    AString name;
    bool isDirectory = false;
    while (index.moveNext(&path, &isDirectory, &name, nullptr))
        if (!isDirectory)
            std::cout << ACharString(name) << ": " << ACharString(path) << '\n';
    return 0;
}
