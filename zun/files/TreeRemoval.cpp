#include <zun/files/TreeRemoval.h>
#include <zun/files/logReason.h>
#include <zun/linux/CallTrace.h>
#include <zun/platform/helper/CommonHelper.h>
#include <zun/text/ACharString.h>

#include <cerrno>
#include <climits>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace helper = orvane_com::zun::helper;
using orvane_com::zun::file::FileDescriptor;
using orvane_com::zun::file::Place;

namespace {

constexpr wchar_t const group[] = L"Filer";
constexpr wchar_t const enumerationGroup[] = L"FileInx";

struct CloseDirectory {
    void operator()(DIR* directory) const { closedir(directory); }
};

FileDescriptor openDirectory(int parent, std::string const& name) {
    return FileDescriptor::openAt(parent, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW);
}

/// Null, with errno set, on failure. The directory stays open behind the stream.
DIR* openStream(FileDescriptor const& directory) {
    int const copy = fcntl(directory.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    DIR* const stream = copy == -1 ? nullptr : fdopendir(copy);
    if (!stream)
        FileDescriptor const closed(copy);
    return stream;
}

TreeRemoval::Identity identityOf(struct stat const& status) {
    return {status.st_dev, status.st_ino};
}

TreeRemoval::Identity identityOf(FileDescriptor const& directory) {
    struct stat status {};
    fstat(directory.get(), &status);
    return identityOf(status);
}

bool isRoot(TreeRemoval::Identity const& directory) {
    struct stat root {};
    return stat("/", &root) != 0 || directory == identityOf(root);
}

/// Not open, with errno set, when the name is another directory's by now.
FileDescriptor openIfSame(int parent, std::string const& name, TreeRemoval::Identity const& identity) {
    FileDescriptor directory = openDirectory(parent, name);
    if (!directory.isOpen() || identityOf(directory) == identity)
        return directory;
    errno = ESTALE;
    return FileDescriptor();
}

bool isDirectory(FileDescriptor const& parent, dirent const& entry) {
    struct stat status;
    return entry.d_type == DT_UNKNOWN
               ? fstatat(parent.get(), entry.d_name, &status, AT_SYMLINK_NOFOLLOW) == 0 &&
                     S_ISDIR(status.st_mode)
               : entry.d_type == DT_DIR;
}

/// A "/" behind a symbolic link would follow it.
std::wstring withoutTrailingSlashes(std::wstring path) {
    while (path.size() > 1 && path.back() == L'/')
        path.pop_back();
    return path;
}

} // namespace

TreeRemoval::TreeRemoval(AString const& path) : m_path(withoutTrailingSlashes(path.const_cpp_str())) {}

bool TreeRemoval::run() {
    m_top = Place::find(std::string(ACharString(m_path.c_str())), Place::LastLink::kept);
    std::optional<struct stat> const status = m_top ? m_top->status() : std::nullopt;
    if (!status) {
        CallTrace const trace(group, L"rmdir", shownPath());
        return !logReasonIf(group, errno != ENOENT && errno != ENOTDIR);
    }
    if (S_ISLNK(status->st_mode))
        remove(m_top->name(), 0);
    else
        enter(m_top->name());
    while (!m_levels.empty()) {
        std::vector<std::string>& subdirectories = m_levels.back().subdirectories;
        if (subdirectories.empty()) {
            leave();
        } else {
            std::string const name = std::move(subdirectories.back());
            subdirectories.pop_back();
            enter(name);
        }
    }
    return m_allGone;
}

/// What names are looked up in.
int TreeRemoval::current() const {
    return m_current.isOpen() ? m_current.get() : m_top->directory();
}

/// Makes the directory the current one and empties it of all but directories, or removes one that cannot be
/// opened.
void TreeRemoval::enter(std::string const& name) {
    Level level{name, {}, {}, m_levels.empty() ? m_path.size() : lengthenPath(name)};
    std::vector<std::string> files;
    if (!open(level, files)) {
        remove(level.name, AT_REMOVEDIR);
        m_path.resize(level.pathSizeAbove);
        return;
    }
    m_levels.push_back(std::move(level));
    for (std::string const& file : files) {
        std::size_t const size = lengthenPath(file);
        remove(file, 0);
        m_path.resize(size);
    }
}

/// All names are read before any is removed: what readdir(3) yields of a directory that changes is not
/// defined. The root directory is not opened, and rmdir(2) refuses it.
bool TreeRemoval::open(Level& level, std::vector<std::string>& files) {
    CallTrace const trace(enumerationGroup, L"glob", AString(shownPath()) << L"/*");
    FileDescriptor directory = openDirectory(current(), level.name);
    if (!directory.isOpen()) {
        bool const isNone = errno == ENOENT || errno == ENOTDIR || errno == ELOOP;
        logErrnoIf(enumerationGroup, !isNone);
        return false;
    }
    level.identity = identityOf(directory);
    if (isRoot(level.identity))
        return false;
    std::unique_ptr<DIR, CloseDirectory> const stream(openStream(directory));
    while (stream) {
        errno = 0;
        dirent const* const entry = readdir(stream.get());
        if (!entry)
            break;
        if (entry->d_name[0] != '.')
            (isDirectory(directory, *entry) ? level.subdirectories : files).emplace_back(entry->d_name);
    }
    logErrnoIf(enumerationGroup, errno != 0);
    m_current = std::move(directory);
    return true;
}

/// Makes the directory above the current one the current one, and removes the one that was.
void TreeRemoval::leave() {
    Level const left = std::move(m_levels.back());
    m_levels.pop_back();
    if (m_levels.empty()) {
        m_current = FileDescriptor();
    } else {
        FileDescriptor above = openIfSame(m_current.get(), "..", m_levels.back().identity);
        if (!above.isOpen())
            above = openLastFromTop();
        if (!above.isOpen()) {
            CallTrace const trace(group, L"rmdir", shownPath());
            logErrno(group);
            m_allGone = false;
            m_levels.clear();
            return;
        }
        m_current = std::move(above);
    }
    remove(left.name, AT_REMOVEDIR);
    m_path.resize(left.pathSizeAbove);
}

/// The last level's directory by the way from the top: the current one may let nobody look for "..", or have
/// been moved. Not open, with errno set, when that way is gone.
FileDescriptor TreeRemoval::openLastFromTop() const {
    FileDescriptor directory;
    for (Level const& level : m_levels) {
        int const parent = directory.isOpen() ? directory.get() : m_top->directory();
        directory = openIfSame(parent, level.name, level.identity);
        if (!directory.isOpen())
            break;
    }
    return directory;
}

/// What m_path names, by its name in the current directory.
void TreeRemoval::remove(std::string const& name, int flags) {
    CallTrace const trace(group, flags == AT_REMOVEDIR ? L"rmdir" : L"unlink", shownPath());
    bool const isGone = unlinkat(current(), name.c_str(), flags) == 0 || errno == ENOENT ||
                        (flags == AT_REMOVEDIR && errno == ENOTDIR);
    if (logErrnoIf(group, !isGone))
        m_allGone = false;
}

/// Returns the size it had.
std::size_t TreeRemoval::lengthenPath(std::string const& name) {
    std::size_t const size = m_path.size();
    (m_path += L'/') += helper::toWide(name);
    return size;
}

/// For a trace. A path that is longer than the system takes is shown by its ends: traces would else make the
/// work grow with the square of the depth.
AString TreeRemoval::shownPath() const {
    constexpr std::size_t longest = PATH_MAX;
    if (m_path.size() <= longest)
        return m_path;
    return m_path.substr(0, longest / 2) + L" ... " + m_path.substr(m_path.size() - longest / 2);
}
