#include <tests/soak/SmallSpace.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sys/mount.h>
#include <sys/resource.h>
#include <unistd.h>

namespace {

#ifdef __linux__
bool mountSmallFileSystem(std::string const& directory) {
    return mount("tmpfs", directory.c_str(), "tmpfs", MS_NOSUID | MS_NODEV, "size=256k") == 0;
}

void unmount(std::string const& directory) {
    umount2(directory.c_str(), MNT_DETACH);
}
#else
bool mountSmallFileSystem(std::string const&) {
    return false;
}

void unmount(std::string const&) {}
#endif

void limitFileSize(rlim_t size) {
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = std::min(size, limit.rlim_max);
    setrlimit(RLIMIT_FSIZE, &limit);
}

} // namespace

SmallSpace::SmallSpace(std::string directory) : m_directory(std::move(directory)) {
    std::filesystem::create_directory(m_directory);
    m_mounted = mountSmallFileSystem(m_directory);
}

SmallSpace::~SmallSpace() {
    if (m_mounted)
        unmount(m_directory);
}

void SmallSpace::fill(std::string const& growing) const {
    if (!m_mounted) {
        std::error_code missing;
        auto const size = std::filesystem::file_size(growing, missing);
        std::signal(SIGXFSZ, SIG_IGN);
        limitFileSize((missing ? 0 : size) + 500);
        return;
    }
    constexpr std::size_t page = 4096;
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> const ballast(std::fopen(file("ballast").c_str(), "a"),
                                                                  std::fclose);
    std::string const block(page, 'x');
    while (ballast && std::fwrite(block.data(), 1, page, ballast.get()) == page &&
           std::fflush(ballast.get()) == 0) {
    }
}

void SmallSpace::free() const {
    if (m_mounted)
        unlink(file("ballast").c_str());
    else
        limitFileSize(RLIM_INFINITY);
}
