// One log line with one file attached, one of many writers' lines, and one that the level filters out, beside
// what others take for the same.

#include <zun/linux/log.h>
#include <zun/logger/ILogger.h>

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <glog/logging.h>
#include <iterator>
#include <memory>
#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/spdlog.h>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using orvane_com::zun::logger::ILogger;

namespace {

constexpr std::size_t unlimited = std::size_t{1} << 40;
constexpr wchar_t wideMessage[] = L"Next policy enforcement will be in 300 seconds, task queue is empty";
constexpr char message[] = "Next policy enforcement will be in 300 seconds, task queue is empty";

/// A directory for one benchmark's log, removed with it.
class Directory {
public:
    Directory() {
        std::string path = std::filesystem::temp_directory_path() / "zun_bench_XXXXXX";
        if (!mkdtemp(path.data()))
            std::abort();
        m_path = path;
    }
    ~Directory() { std::filesystem::remove_all(m_path); }
    std::string file() const { return m_path + "/agent.log"; }
    std::string const& path() const { return m_path; }

private:
    std::string m_path;
};

/// The logger with one file attached, at level Info.
class Logger {
public:
    explicit Logger(Directory const& directory) {
        std::string const path = directory.file();
        setupLog(std::wstring(path.begin(), path.end()).c_str(), L"", false, false);
        ILogger::GetLogger()->setMaxLogFileSize(unlimited / 1024);
    }
    ~Logger() { ILogger::FreeLogger(); }
};

void acceptedZun(benchmark::State& state) {
    Directory const directory;
    Logger const logger(directory);
    for (auto _ : state)
        logInfo(L"Agent", wideMessage);
}
BENCHMARK(acceptedZun)->Name("log_accepted_line/zun");

bool lookWithTimeStamps(char const* path) {
    struct stat status {};
    return stat(path, &status) == 0;
}

#ifdef __linux__
/// The library's own look, for which the kernel takes no fine time stamp at the next write.
bool lookWithoutTimeStamps(char const* path) {
    struct statx status {};
    return statx(AT_FDCWD, path, 0, STATX_TYPE | STATX_INO | STATX_SIZE, &status) == 0;
}
#endif

void acceptedBare(benchmark::State& state, bool (*look)(char const* path)) {
    Directory const directory;
    {
        Logger const logger(directory);
        logInfo(L"Agent", wideMessage);
    }
    std::ifstream written(directory.file(), std::ios::binary);
    std::string const line{std::istreambuf_iterator<char>(written), std::istreambuf_iterator<char>()};
    std::string const path = directory.file();
    int const file = open(path.c_str(), O_WRONLY | O_APPEND);
    for (auto _ : state) {
        benchmark::DoNotOptimize(look(path.c_str()));
        benchmark::DoNotOptimize(write(file, line.data(), line.size()));
    }
    close(file);
}
BENCHMARK_CAPTURE(acceptedBare, stat, lookWithTimeStamps)->Name("log_accepted_line/stat_and_write");
#ifdef __linux__
BENCHMARK_CAPTURE(acceptedBare, statx, lookWithoutTimeStamps)->Name("log_accepted_line/statx_and_write");
#endif

std::shared_ptr<spdlog::logger> rotatingLogger(Directory const& directory) {
    auto const sink = std::make_shared<spdlog::sinks::rotating_file_sink_mt>(directory.file(), unlimited, 5);
    auto logger = std::make_shared<spdlog::logger>("bench", sink);
    logger->set_pattern("%Y-%m-%d %H:%M:%S.%e [%P]  (%t)      [Agent] [I] %v\r");
    logger->set_level(spdlog::level::info);
    logger->flush_on(spdlog::level::trace);
    return logger;
}

void acceptedSpdlog(benchmark::State& state) {
    Directory const directory;
    auto const logger = rotatingLogger(directory);
    for (auto _ : state)
        logger->info(message);
}
BENCHMARK(acceptedSpdlog)->Name("log_accepted_line/spdlog_rotating_flushed");

/// What spdlog lacks: the look at the path that tells whether the file is still there.
void acceptedSpdlogWithLook(benchmark::State& state) {
    Directory const directory;
    auto const logger = rotatingLogger(directory);
    std::string const path = directory.file();
    for (auto _ : state) {
        benchmark::DoNotOptimize(lookWithTimeStamps(path.c_str()));
        logger->info(message);
    }
}
BENCHMARK(acceptedSpdlogWithLook)->Name("log_accepted_line/spdlog_and_stat");

void acceptedGlog(benchmark::State& state) {
    Directory const directory;
    FLAGS_log_dir = directory.path();
    FLAGS_logbuflevel = -1;
    FLAGS_stderrthreshold = google::GLOG_FATAL;
    FLAGS_max_log_size = 4095;
    google::SetLogDestination(google::GLOG_INFO, directory.file().c_str());
    for (auto _ : state)
        LOG(INFO) << message;
    google::FlushLogFiles(google::GLOG_INFO);
    google::SetLogDestination(google::GLOG_INFO, "");
}
BENCHMARK(acceptedGlog)->Name("log_accepted_line/glog_unbuffered");

struct ZunWriter {
    void write() { logInfo(L"Agent", wideMessage); }

    Directory const directory;
    Logger const logger{directory};
};

struct SpdlogWriter {
    void write() { logger->info(message); }

    Directory const directory;
    std::shared_ptr<spdlog::logger> const logger = rotatingLogger(directory);
};

template <typename Writer>
void manyThreads(benchmark::State& state) {
    static std::unique_ptr<Writer> writer; // of all threads, which begin and end their loops together
    if (state.thread_index() == 0)
        writer = std::make_unique<Writer>();
    for (auto _ : state)
        writer->write();
    if (state.thread_index() == 0)
        writer.reset();
}
BENCHMARK(manyThreads<ZunWriter>)
    ->Name("log_many_threads/zun")
    ->Threads(1)
    ->Threads(2)
    ->Threads(4)
    ->Threads(16)
    ->UseRealTime();
BENCHMARK(manyThreads<SpdlogWriter>)
    ->Name("log_many_threads/spdlog_rotating_flushed")
    ->Threads(1)
    ->Threads(2)
    ->Threads(4)
    ->Threads(16)
    ->UseRealTime();

/// An iteration is 5,000 lines of each process.
template <typename Writer>
void manyProcesses(benchmark::State& state) {
    constexpr int lines = 5000;
    Writer writer;
    for (auto _ : state) {
        for (std::int64_t process = 0; process < state.range(0); ++process)
            if (fork() == 0) {
                for (int line = 0; line < lines; ++line)
                    writer.write();
                _exit(0);
            }
        while (wait(nullptr) > 0)
            continue;
    }
}
BENCHMARK(manyProcesses<ZunWriter>)
    ->Name("log_many_processes/zun")
    ->ArgName("processes")
    ->Arg(2)
    ->Arg(4)
    ->UseRealTime();
BENCHMARK(manyProcesses<SpdlogWriter>)
    ->Name("log_many_processes/spdlog_rotating_flushed")
    ->ArgName("processes")
    ->Arg(2)
    ->Arg(4)
    ->UseRealTime();

void filteredZun(benchmark::State& state) {
    Directory const directory;
    Logger const logger(directory);
    for (auto _ : state)
        logDetail(L"Agent", wideMessage);
}
BENCHMARK(filteredZun)->Name("log_filtered_line/zun");

void filteredSpdlog(benchmark::State& state) {
    Directory const directory;
    auto const logger = rotatingLogger(directory);
    for (auto _ : state)
        logger->debug(message);
}
BENCHMARK(filteredSpdlog)->Name("log_filtered_line/spdlog");

} // namespace
