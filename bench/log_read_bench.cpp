#include <zun/logger/LogReader.h>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

// The errors among the records of a log of 100 MB in the page cache, each hundredth with two traces.

namespace {

using namespace orvane_com::zun::logger;

/// A log that is there for the length of the program.
struct Log {
    std::string directory = std::filesystem::temp_directory_path() / "log_read_bench_XXXXXX";
    std::string path;

    Log() {
        path = std::string(mkdtemp(directory.data())) + "/agent.log";
        std::FILE* const file = std::fopen(path.c_str(), "w");
        for (long written = 0, number = 0; written < 100'000'000; ++number) {
            auto const print = [&](char level, char const* message) {
                written += std::fprintf(
                    file,
                    "2026-11-21 %02ld:%02ld:%02ld.%03ld [%ld]  (140483093518848)     [Agent] [%c] %s %ld\r\n",
                    number / 3'600'000 % 24, number / 60'000 % 60, number / 1000 % 60, number % 1000,
                    4000 + number % 7, level, message, number);
            };
            if (number % 100 != 0) {
                print('I', "The policy of the product was enforced, number");
            } else {
                for (char const* const message :
                     {"Error trace:", " [Enforcing policies]->", " [Reading]->", "  No file"})
                    written += std::fprintf(
                        file, "2026-11-21 12:08:45.074 [5432]  (140483093518848)     [Agent] [E] %s\r\n",
                        message);
            }
        }
        std::fclose(file);
    }
    ~Log() { std::filesystem::remove_all(directory); }
};

Log const& log() {
    static Log const made;
    return made;
}

void readZun(benchmark::State& state) {
    for (auto _ : state) {
        LogReader reader(log().path);
        LogRecord record;
        std::size_t errors = 0;
        while (reader.next(record))
            errors += record.level == Err;
        benchmark::DoNotOptimize(errors);
    }
}

void readGetline(benchmark::State& state) {
    for (auto _ : state) {
        std::unique_ptr<std::FILE, int (*)(std::FILE*)> const file(std::fopen(log().path.c_str(), "r"),
                                                                   std::fclose);
        char* line = nullptr;
        std::size_t room = 0;
        std::size_t lines = 0;
        while (getline(&line, &room, file.get()) > 0)
            ++lines;
        std::free(line);
        benchmark::DoNotOptimize(lines);
    }
}

void countGrep(benchmark::State& state) {
    std::string const command = "LC_ALL=C grep -c '\\[E\\]   ' " + log().path + " | cat >/dev/null";
    for (auto _ : state)
        if (std::system(command.c_str()) != 0)
            state.SkipWithError("grep found nothing");
}

BENCHMARK(readZun)->Name("log_read/zun")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(readGetline)->Name("log_read/getline")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(countGrep)->Name("log_read/grep_c")->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace
