#include <tests/allocation/FailingAllocations.h>
#include <zun/files/AFile.h>
#include <zun/files/AFileIndex.h>
#include <zun/files/AFiler.h>
#include <zun/files/ALibrary.h>

#include <filesystem>

namespace {

using FilesAllocation = AllocationTest;

TEST_F(FilesAllocation, AFileIsWrittenReadAndLookedAt) {
    AString const name = path("file");
    failEach([&] {
        AFile file;
        AString line;
        ABuffer all;
        long size = 0;
        bool exists = false;
        return file.openAlways(name) && file.writeLine(L"a line of some length") &&
               file.write(reinterpret_cast<unsigned char const*>("more\n"), 5) && file.open(true, name) &&
               file.readLine(line) && line == L"a line of some length" && file.read(all) &&
               all.size() == 27 && AFiler::getExistingFileSize(name, size) && size == 27 &&
               AFiler::getFileAccessibility(name, AFiler::accessRead, exists) && exists &&
               AFiler::getTempFilePath(line);
    });
}

TEST_F(FilesAllocation, ACopyIsWholeOrNotThere) {
    std::string const text(100'000, 't');
    write("source", text);
    auto const check = [&](bool done) {
        EXPECT_EQ(contents("target"), done ? text : "old");
        EXPECT_EQ(countFiles(), 2);
    };
    failEach([&] { return AFiler::copyFile(path("source"), path("target")); }, check,
             [&] { write("target", "old"); });
}

TEST_F(FilesAllocation, AnEnumerationSkipsNothing) {
    for (char const* const name : {"one of the files", "two of the files", "six of the files"})
        write(name, "");
    AFileIndex index;
    auto const open = [&] { return index.open(true, path(""), L"*"); };
    auto const check = [&](bool done) {
        int left = 0;
        while (index.moveNext(nullptr, nullptr, nullptr, nullptr))
            ++left;
        EXPECT_EQ(left, done ? 2 : 3);
        open();
    };
    auto const moveNext = [&] {
        AString name;
        return index.moveNext(nullptr, nullptr, &name, nullptr);
    };
    failEach(moveNext, check, open);
    failEach([&] { return open() && moveNext(); });
}

TEST_F(FilesAllocation, ATreeIsRemoved) {
    auto const remove = [this] { return AFiler::deleteFolders(path("tree")); };
    auto const check = [this](bool done) {
        EXPECT_FALSE(done && std::filesystem::exists(directory.file("tree")));
    };
    auto const prepare = [this] {
        std::filesystem::create_directories(directory.file("tree/with several/levels"));
        write("tree/with several/a file with a long name", "");
    };
    failEach(remove, check, prepare);
}

TEST_F(FilesAllocation, ALibraryIsLoadedOrNot) {
    failEach([] {
        ALibrary library;
        int (*answer)() = nullptr;
        return library.open(false, AString(LOADABLE_LIBRARY), false, false) &&
               library.get(true, "loadableAnswer", &answer) && answer() == 42;
    });
}

} // namespace
