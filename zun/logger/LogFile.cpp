#include <zun/logger/Generations.h>
#include <zun/logger/LogFile.h>
#include <zun/platform/file/Permissions.h>
#include <zun/platform/file/Place.h>
#include <zun/platform/helper/CommonHelper.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <optional>
#ifdef __linux__
#include <sys/sysmacros.h>
#endif
#include <unistd.h>
#include <utility>
#include <vector>

namespace orvane_com::zun::logger {

namespace {

/// Which file a path names, and how large it is.
struct Look {
    dev_t device;
    ino_t inode;
    std::int64_t size;
};

std::optional<Look> lookWithTimeStamps(std::string const& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0)
        return std::nullopt;
    return Look{status.st_dev, status.st_ino, status.st_size};
}

#if defined(__linux__) && !defined(ZUN_PORTABLE_BODIES)
/// Asks for no time stamp: a kernel that was asked for one takes a finer, dearer one at the next write.
std::optional<Look> lookAt(std::string const& path) {
    static std::atomic<bool> isRefused{false}; // by the kernel, or by a filter of system calls
    if (!isRefused.load(std::memory_order_relaxed)) {
        struct statx status;
        if (statx(AT_FDCWD, path.c_str(), 0, STATX_TYPE | STATX_INO | STATX_SIZE, &status) == 0)
            return Look{makedev(status.stx_dev_major, status.stx_dev_minor),
                        static_cast<ino_t>(status.stx_ino), static_cast<std::int64_t>(status.stx_size)};
        if (errno != ENOSYS && errno != EPERM)
            return std::nullopt;
        isRefused = true;
    }
    return lookWithTimeStamps(path);
}
#else
std::optional<Look> lookAt(std::string const& path) {
    return lookWithTimeStamps(path);
}
#endif

/// A failure is silent: what could not be renamed grows on.
void move(std::string const& from, std::string const& to) {
    std::optional<file::Place> const source = file::Place::find(from, file::Place::LastLink::kept);
    std::optional<file::Place> const target = file::Place::find(to, file::Place::LastLink::kept);
    if (source && target)
        renameat(source->directory(), source->name(), target->directory(), target->name());
}

file::FileDescriptor openForAppending(std::string const& path) {
    std::optional<file::Place> const place = file::Place::find(path);
    return place ? place->open(file::Place::Kind::log, O_WRONLY | O_CREAT | O_APPEND, file::newFileMode)
                 : file::FileDescriptor();
}

} // namespace

LogFile::LogFile(std::string path) : m_path(std::move(path)) {
    reopen();
}

bool LogFile::reopen() {
    file::makeDirectories(m_path.substr(0, m_path.rfind('/')));
    file::FileDescriptor opened = openForAppending(m_path);
    if (!opened.isOpen() && (errno == EMFILE || errno == ENFILE)) {
        m_file.close();
        opened = openForAppending(m_path);
    }
    std::optional<struct stat> const status = opened.isOpen() ? opened.status() : std::nullopt;
    if (!status) {
        // What another file keeps from being opened goes on in the open one.
        if (!lookAt(m_path))
            m_file.close();
        return m_file.isOpen();
    }
    if (status->st_dev != m_device || status->st_ino != m_inode)
        m_endsInFragment = false;
    m_device = status->st_dev;
    m_inode = status->st_ino;
    m_file = std::move(opened);
    return true;
}

LogFile::Condition LogFile::examine(std::int64_t limit) const {
    std::optional<Look> const look = lookAt(m_path);
    if (!look)
        return Condition::missing;
    if (look->inode != m_inode || look->device != m_device)
        return Condition::replaced;
    return look->size > limit ? Condition::tooLarge : Condition::good;
}

bool LogFile::append(std::string_view lines) {
    std::string mended;
    if (m_endsInFragment) {
        // The line that a full device cut short ends here, so that the next one stands by itself.
        mended.append("\r\n").append(lines);
        lines = mended;
    }
    std::size_t const written = m_file.write(lines);
    m_endsInFragment = written < lines.size() && (written > 0 || m_endsInFragment);
    return written == lines.size();
}

bool LogFile::rotate(std::int32_t backups) {
    // All the names first: a rotation that stops half-way would overwrite a generation when it is repeated.
    std::vector<std::pair<std::string, std::string>> moves;
    if (backups > 0) {
        Generations const generations(m_path);
        for (std::int32_t const number : generations.existing(backups))
            moves.emplace_back(generations.path(number), generations.path(number + 1));
        moves.emplace_back(m_path, generations.path(1));
    }
    for (auto const& [from, to] : moves)
        move(from, to);
    return reopen();
}

} // namespace orvane_com::zun::logger
