#include <zun/files/AFiler.h>
#include <zun/files/APath.h>
#include <zun/linux/CallTrace.h>
#include <zun/files/TreeRemoval.h>
#include <zun/platform/helper/CommonHelper.h>
#include <zun/text/ACharString.h>

#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace helper = orvane_com::zun::helper;
using orvane_com::zun::file::FileDescriptor;

namespace {

constexpr wchar_t const group[] = L"Filer";

struct CloseDirectory {
    void operator()(DIR* directory) const { closedir(directory); }
};

int openDirectory(int parent, char const* name) {
    return openat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
}

/// A stream of its own on an open directory; null, with errno set, on failure.
DIR* openForReading(int directory) {
    int const descriptor = openDirectory(directory, ".");
    DIR* const stream = descriptor == -1 ? nullptr : fdopendir(descriptor);
    if (!stream)
        FileDescriptor const closed(descriptor);
    return stream;
}

bool isSymbolicLink(char const* path) {
    struct stat status;
    return lstat(path, &status) == 0 && S_ISLNK(status.st_mode);
}

TreeRemoval::Identity identityOf(int descriptor) {
    struct stat status {};
    fstat(descriptor, &status);
    return {status.st_dev, status.st_ino};
}

/// Not open, with errno set, when the name is another directory's by now.
FileDescriptor openIfSame(int parent, char const* name, TreeRemoval::Identity const& identity) {
    FileDescriptor directory(openDirectory(parent, name));
    if (!directory.isOpen() || identityOf(directory.get()) == identity)
        return directory;
    errno = ESTALE;
    return FileDescriptor();
}

bool isDirectory(int parent, char const* name) {
    struct stat status;
    return fstatat(parent, name, &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(status.st_mode);
}

/// A "/" behind a symbolic link would follow it.
AString withoutTrailingSlashes(AString const& path) {
    std::wstring text = path;
    while (text.size() > 1 && text.back() == L'/')
        text.pop_back();
    return text;
}

} // namespace

TreeRemoval::TreeRemoval(AString const& path)
    : m_top(withoutTrailingSlashes(path)), m_path(m_top.const_cpp_str()) {}

bool TreeRemoval::run() {
    ACharString const top(m_top);
    if (isSymbolicLink(top))
        return AFiler::deleteFile(m_top);
    if (enter(AT_FDCWD, std::string(top))) {
        while (!m_levels.empty()) {
            std::vector<std::string>& subdirectories = m_levels.back().subdirectories;
            if (subdirectories.empty()) {
                if (!leave())
                    return false;
                continue;
            }
            std::string const name = std::move(subdirectories.back());
            subdirectories.pop_back();
            if (!enter(m_current.get(), name))
                removeDirectory(name);
        }
    }
    return privateDeleteFolder(false, m_top) && m_allGone;
}

/// Makes the directory the current one and empties it of all but directories.
bool TreeRemoval::enter(int parent, std::string const& name) {
    std::wstring const path = m_levels.empty() ? m_path : pathOf(name).const_cpp_str();
    CallTrace const trace(group, L"open", path.c_str());
    FileDescriptor directory(openDirectory(parent, name.c_str()));
    if (!directory.isOpen()) {
        bool const isNone = errno == ENOENT || errno == ENOTDIR || errno == ELOOP;
        logErrnoIf(group, !isNone);
        return false;
    }
    Identity const identity = identityOf(directory.get());
    FileDescriptor const root(openDirectory(AT_FDCWD, "/"));
    if (!root.isOpen() || identity == identityOf(root.get())) {
        logError(group, L"The root directory is not removed");
        return false;
    }
    m_current = std::move(directory);
    m_path = path;
    m_levels.push_back({identity, name, {}});
    std::vector<std::string> files;
    listCurrent(files, m_levels.back().subdirectories);
    for (std::string const& file : files)
        removeFile(file);
    return true;
}

/// Removes the current directory and makes the one above it the current one.
bool TreeRemoval::leave() {
    Level const left = std::move(m_levels.back());
    m_levels.pop_back();
    if (m_levels.empty()) {
        m_current = FileDescriptor();
        return true;
    }
    CallTrace const trace(group, L"open", m_path.c_str(), L"..");
    FileDescriptor parent = openIfSame(m_current.get(), "..", m_levels.back().identity);
    if (!parent.isOpen())
        parent = openLastFromTop();
    if (logErrnoIf(group, !parent.isOpen()))
        return false;
    m_current = std::move(parent);
    m_path.resize(m_path.rfind(L'/'));
    removeDirectory(left.name);
    return true;
}

/// The last level's directory by the way from the top: the current one may let nobody look for "..", or have
/// been moved. Not open, with errno set, when that way is gone.
FileDescriptor TreeRemoval::openLastFromTop() const {
    FileDescriptor directory;
    for (Level const& level : m_levels) {
        int const parent = directory.isOpen() ? directory.get() : AT_FDCWD;
        directory = openIfSame(parent, level.name.c_str(), level.identity);
        if (!directory.isOpen())
            break;
    }
    return directory;
}

/// All of them before any is removed: what readdir(3) yields of a directory that changes is not defined.
void TreeRemoval::listCurrent(std::vector<std::string>& files, std::vector<std::string>& subdirectories) {
    CallTrace const trace(group, L"readdir", m_path.c_str());
    std::unique_ptr<DIR, CloseDirectory> const directory(openForReading(m_current.get()));
    while (directory) {
        errno = 0;
        dirent const* const entry = readdir(directory.get());
        if (!entry)
            break;
        std::string_view const name(entry->d_name);
        if (name == "." || name == "..")
            continue;
        bool const isSubdirectory = entry->d_type == DT_UNKNOWN ? isDirectory(m_current.get(), entry->d_name)
                                                                : entry->d_type == DT_DIR;
        (isSubdirectory ? subdirectories : files).emplace_back(name);
    }
    logErrnoIf(group, errno != 0);
}

void TreeRemoval::removeFile(std::string const& name) {
    CallTrace const trace(group, L"unlink", pathOf(name));
    if (unlinkat(m_current.get(), name.c_str(), 0) != 0 && logErrnoIf(group, errno != ENOENT))
        m_allGone = false;
}

void TreeRemoval::removeDirectory(std::string const& name) {
    CallTrace const trace(group, L"rmdir", pathOf(name));
    if (unlinkat(m_current.get(), name.c_str(), AT_REMOVEDIR) != 0 &&
        logErrnoIf(group, errno != ENOENT && errno != ENOTDIR))
        m_allGone = false;
}

AString TreeRemoval::pathOf(std::string const& name) const {
    return APath(m_path, helper::toWide(name));
}
