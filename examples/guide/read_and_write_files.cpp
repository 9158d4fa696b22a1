#include <zun/files/AFile.h>
#include <zun/files/AFiler.h>
#include <zun/text/ACharString.h>

#include <iostream>

int main() {
    AFile notes;
    if (notes.openWrite(L"notes.txt", true)) {
        notes.writeLine(L"first");
        notes.writeLine(L"second");
        notes.close();
    }

    AString line;
    if (notes.open(true, L"notes.txt"))
        while (notes.readLine(line))
            std::cout << ACharString(line) << '\n';

    ABuffer contents;
    long size = 0;
    if (AFile::read(false, L"notes.txt", contents) && AFile::write(L"copy.txt", contents) &&
        AFiler::tryGetFileSize(L"copy.txt", size))
        std::cout << size << " bytes copied\n";
    return 0;
}
