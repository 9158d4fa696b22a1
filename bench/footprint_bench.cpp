// What the library costs a program: one that logs a single line, beside one that writes it to std::wcout.

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <initializer_list>
#include <spawn.h>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

extern char** environ;

namespace {

constexpr char zun[] = FOOTPRINT_PROGRAMS "/footprint_log";
constexpr char wcout[] = FOOTPRINT_PROGRAMS "/footprint_wcout";

/// What the program took of the system.
rusage run(std::string program) {
    std::string log = std::filesystem::temp_directory_path() / "zun_footprint.log";
    char* const arguments[] = {program.data(), log.data(), nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t process = 0;
    int status = 0;
    rusage usage{};
    if (posix_spawn(&process, program.c_str(), &actions, nullptr, arguments, environ) != 0 ||
        wait4(process, &status, 0, &usage) != process || status != 0)
        std::abort();
    posix_spawn_file_actions_destroy(&actions);
    std::filesystem::remove(log);
    return usage;
}

void start(benchmark::State& state, char const* program) {
    for (auto _ : state)
        run(program);
}
BENCHMARK_CAPTURE(start, zun, zun)->Name("program_run/zun")->UseRealTime();
BENCHMARK_CAPTURE(start, wcout, wcout)->Name("program_run/wcout")->UseRealTime();

void memory(benchmark::State& state, char const* program) {
#ifdef __APPLE__
    constexpr double unit = 1;
#else
    constexpr double unit = 1024;
#endif
    for (auto _ : state)
        state.counters["bytes"] = static_cast<double>(run(program).ru_maxrss) * unit;
}
BENCHMARK_CAPTURE(memory, zun, zun)->Name("program_memory/zun")->Iterations(1);
BENCHMARK_CAPTURE(memory, wcout, wcout)->Name("program_memory/wcout")->Iterations(1);

/// Of files that were stripped when they were built.
void size(benchmark::State& state, std::initializer_list<char const*> files) {
    double bytes = 0;
    for (char const* const file : files)
        bytes += static_cast<double>(std::filesystem::file_size(file));
    for (auto _ : state)
        state.counters["bytes"] = bytes;
}
BENCHMARK_CAPTURE(size, zun, {FOOTPRINT_PROGRAMS "/footprint_log", FOOTPRINT_PROGRAMS "/footprint_library"})
    ->Name("program_size/zun")
    ->Iterations(1);
BENCHMARK_CAPTURE(size, wcout, {FOOTPRINT_PROGRAMS "/footprint_wcout"})
    ->Name("program_size/wcout")
    ->Iterations(1);

} // namespace
