#include <zun/logger/LogFile.h>
#include <zun/platform/file/GlobErrors.h>
#include <zun/platform/file/Permissions.h>
#include <zun/platform/file/Place.h>
#include <zun/platform/helper/CommonHelper.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <fcntl.h>
#include <functional>
#include <glob.h>
#include <memory>
#include <new>
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

#ifdef __linux__
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

/// The numbered backups of one log file: base + "_backup_" + number + "." + extension, where base ends at the
/// first dot of the whole path. Readers of the logs know this rule: a dot in a directory's name counts.
class Generations {
public:
    explicit Generations(std::string const& path) {
        std::size_t const dot = path.find('.');
        m_before = path.substr(0, dot) + "_backup_";
        m_after = "." + (dot == std::string::npos ? "log" : path.substr(dot + 1));
    }

    std::string path(std::int32_t number) const { return m_before + helper::longToNarrow(number) + m_after; }

    /// The numbers, below `end`, of the generations that exist; the oldest, which is the greatest, first.
    std::vector<std::int32_t> existing(std::int32_t end) const {
        constexpr std::int32_t fewNames = 300; // to look for; more are listed
        std::vector<std::int32_t> numbers;
        bool const areListed = end > fewNames && list(numbers, end);
        for (std::int32_t number = 1; !areListed && number < end; ++number) {
            if (exists(number))
                numbers.push_back(number);
            else if (number >= fewNames)
                break; // no list to be had, and behind the few the generations end at a gap
        }
        std::sort(numbers.begin(), numbers.end(), std::greater<>());
        return numbers;
    }

private:
    bool exists(std::int32_t number) const { return access(path(number).c_str(), F_OK) == 0; }

    /// False where the directory may not be listed, or the locale cannot read the name.
    bool list(std::vector<std::int32_t>& numbers, std::int32_t end) const {
        glob_t found{};
        std::unique_ptr<glob_t, void (*)(glob_t*)> const owner(&found, globfree);
        int const result = glob((literal(m_before) + "*" + literal(m_after)).c_str(), GLOB_NOSORT,
                                file::stopWithoutMemory, &found);
        if (result == GLOB_NOSPACE || result == GLOB_ABORTED)
            throw std::bad_alloc();
        if (result != 0)
            return false;
        for (std::size_t i = 0; i < found.gl_pathc; ++i)
            if (std::optional<std::int32_t> const number = numberOf(found.gl_pathv[i]);
                number && *number < end)
                numbers.push_back(*number);
        return true;
    }

    /// A glob pattern that matches just this text.
    static std::string literal(std::string const& text) {
        std::string pattern;
        for (char const character : text) {
            if (std::string_view("*?[\\").find(character) != std::string_view::npos)
                pattern.push_back('\\');
            pattern.push_back(character);
        }
        return pattern;
    }

    std::optional<std::int32_t> numberOf(std::string const& backup) const {
        if (backup.size() < m_before.size() + m_after.size())
            return std::nullopt;
        char const* const begin = backup.data() + m_before.size();
        char const* const end = backup.data() + backup.size() - m_after.size();
        std::int32_t number = 0;
        auto const result = std::from_chars(begin, end, number);
        if (result.ec != std::errc() || number < 1 || path(number) != backup)
            return std::nullopt;
        return number;
    }

    std::string m_before;
    std::string m_after;
};

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
        return Condition::Missing;
    if (look->inode != m_inode || look->device != m_device)
        return Condition::Replaced;
    return look->size > limit ? Condition::TooLarge : Condition::Good;
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
