#include <zun/files/AFile.h>
#include <zun/files/AFileIndex.h>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <glob.h>
#include <memory>
#include <string>

// Files in the page cache: a whole one of 100 MB, lines of 60 characters, a directory of 10,000 entries.

namespace {

/// A directory that is there for the length of the program.
std::filesystem::path const& directory() {
    struct Directory {
        std::filesystem::path path;
        Directory() {
            std::string pattern = std::filesystem::temp_directory_path() / "files_bench_XXXXXX";
            path = mkdtemp(pattern.data());
        }
        ~Directory() { std::filesystem::remove_all(path); }
    };
    static Directory const made;
    return made.path;
}

std::string const& wholeFile() {
    static std::string const path = [] {
        std::string name = directory() / "whole";
        std::string const megabyte(1'000'000, 'x');
        std::ofstream file(name);
        for (int i = 0; i < 100; ++i)
            file << megabyte;
        return name;
    }();
    return path;
}

std::string const& lineFile() {
    static std::string const path = [] {
        std::string name = directory() / "lines";
        std::ofstream file(name);
        for (int line = 0; line < 100'000; ++line)
            file << std::string(60, static_cast<char>('a' + line % 26)) << '\n';
        return name;
    }();
    return path;
}

std::string const& fullDirectory() {
    static std::string const path = [] {
        std::filesystem::path const name = directory() / "entries";
        std::filesystem::create_directory(name);
        for (int entry = 0; entry < 10'000; ++entry)
            std::ofstream(name / ("some_file_" + std::to_string(entry)));
        return std::string(name);
    }();
    return path;
}

struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, Close>;

void readWholeZun(benchmark::State& state) {
    AString const path(wholeFile().c_str());
    for (auto _ : state) {
        ABuffer buffer;
        AFile::read(true, path, buffer);
        benchmark::DoNotOptimize(buffer.getBytes());
    }
}

void readWholeFread(benchmark::State& state) {
    std::string const& path = wholeFile();
    for (auto _ : state) {
        File const file(std::fopen(path.c_str(), "r"));
        std::fseek(file.get(), 0, SEEK_END);
        auto const size = static_cast<std::size_t>(std::ftell(file.get()));
        std::fseek(file.get(), 0, SEEK_SET);
        std::unique_ptr<char[]> const buffer(new char[size]);
        benchmark::DoNotOptimize(std::fread(buffer.get(), 1, size, file.get()));
    }
}

void readLinesZun(benchmark::State& state) {
    AString const path(lineFile().c_str());
    for (auto _ : state) {
        AFile file;
        file.open(true, path);
        for (AString line; file.readLine(line);)
            benchmark::DoNotOptimize(line.size());
    }
}

/// getline(3) and mbstowcs(3) into text of the same kind.
void readLinesGetline(benchmark::State& state) {
    std::string const& path = lineFile();
    for (auto _ : state) {
        File const file(std::fopen(path.c_str(), "r"));
        char* narrow = nullptr;
        std::size_t room = 0;
        std::wstring line;
        for (ssize_t length; (length = getline(&narrow, &room, file.get())) > 0;) {
            line.resize(static_cast<std::size_t>(length));
            benchmark::DoNotOptimize(std::mbstowcs(line.data(), narrow, line.size()));
        }
        std::free(narrow);
    }
}

void enumerateZun(benchmark::State& state) {
    AString const path(fullDirectory().c_str());
    for (auto _ : state) {
        AFileIndex index(true, path, L"*");
        bool isDirectory = false;
        AString name;
        for (AString match; index.moveNext(&match, &isDirectory, &name, nullptr);)
            benchmark::DoNotOptimize(name.size());
    }
}

void enumerateGlob(benchmark::State& state) {
    std::string const pattern = fullDirectory() + "/*";
    for (auto _ : state) {
        glob_t matches{};
        benchmark::DoNotOptimize(glob(pattern.c_str(), GLOB_MARK | GLOB_NOSORT, nullptr, &matches));
        globfree(&matches);
    }
}

BENCHMARK(readWholeZun)->Name("file_read_whole/zun")->Unit(benchmark::kMillisecond);
BENCHMARK(readWholeFread)->Name("file_read_whole/fread")->Unit(benchmark::kMillisecond);
BENCHMARK(readLinesZun)->Name("file_read_lines/zun")->Unit(benchmark::kMillisecond);
BENCHMARK(readLinesGetline)->Name("file_read_lines/getline")->Unit(benchmark::kMillisecond);
BENCHMARK(enumerateZun)->Name("file_enumerate/zun")->Unit(benchmark::kMillisecond);
BENCHMARK(enumerateGlob)->Name("file_enumerate/glob")->Unit(benchmark::kMillisecond);

} // namespace
