#include <zun/platform/file/Place.h>
#include <zun/platform/file/Refusal.h>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <limits.h>
#include <string_view>
#include <unistd.h>

namespace orvane_com::zun::file {

namespace {

constexpr uid_t superUser = 0;
constexpr mode_t directoryMode = S_IRWXU | S_IRGRP | S_IXGRP | S_IROTH | S_IXOTH;

constexpr char foreignLink[] = "a symbolic link on the way belongs to another user";
constexpr char foreignFile[] = "it belongs to another user";
constexpr char manyNames[] = "it has other names, in a directory that others may write";
constexpr char irregularFile[] = "it is no regular file";

/// For looking up names in a directory: asks for the right to search it only.
#if defined(__linux__) && !defined(ZUN_PORTABLE_BODIES)
constexpr int forSearching = O_PATH;
#elif defined(O_SEARCH)
constexpr int forSearching = O_SEARCH;
#else
constexpr int forSearching = O_RDONLY;
#endif

bool isStickyForEverybody(mode_t mode) {
    return (mode & S_ISVTX) != 0 && (mode & S_IWOTH) != 0;
}

/// Whether none but the super-user and the process's user can exchange what they own in the directory.
bool isTrusted(struct stat const& directory) {
    bool const isOurs = directory.st_uid == superUser || directory.st_uid == geteuid();
    bool const isClosed = (directory.st_mode & (S_IWGRP | S_IWOTH)) == 0;
    return isOurs && (isClosed || isStickyForEverybody(directory.st_mode));
}

bool waitsLikeOthers(int descriptor) {
    int const flags = fcntl(descriptor, F_GETFL);
    return flags != -1 && fcntl(descriptor, F_SETFL, flags & ~O_NONBLOCK) != -1;
}

} // namespace

/// The way of one path, directory by directory. Its place names the directory that was reached.
class Walk {
public:
    enum class Missing { fails, isMade };

    Walk(Place::LastLink lastLink, Missing missing) : m_lastLink(lastLink), m_missing(missing) {}

    std::optional<Place> go(std::string const& path) {
        forgetRefusal();
        if (path.empty()) {
            errno = ENOENT;
            return std::nullopt;
        }
        m_rest = path;
        if (!start())
            return std::nullopt;
        while (std::optional<std::string> const component = next())
            if (!step(*component))
                return std::nullopt;
        return std::move(m_place);
    }

private:
    /// Begins at the root or the current directory, whichever the rest says.
    bool start() {
        bool const isAbsolute = m_rest.starts_with('/');
        m_position = isAbsolute ? 1 : 0;
        m_place.m_directory.reset();
        m_place.m_name = isAbsolute ? "/" : ".";
        std::optional<struct stat> const status = m_place.status();
        if (!status || !enter(Place(m_place), *status))
            return false;
        if (!isAbsolute)
            m_place.m_name.clear();
        return true;
    }

    /// Without those that lead nowhere. A slash at the end asks for a directory, as a "." does.
    std::optional<std::string> next() {
        while (m_position < m_rest.size()) {
            std::size_t const slash = std::min(m_rest.find('/', m_position), m_rest.size());
            std::string component = m_rest.substr(m_position, slash - m_position);
            bool const isDirectory = slash + 1 == m_rest.size();
            m_position = slash + 1;
            if (isDirectory)
                m_rest += '.';
            if (!component.empty() && (component != "." || isLast()))
                return component;
        }
        return std::nullopt;
    }

    bool isLast() const { return m_position >= m_rest.size(); }

    /// Follows the component to the next directory, or to the place itself.
    bool step(std::string const& component) {
        Place entry = m_place;
        bool const needsSlash = !m_place.m_directory && !m_place.m_name.empty() && m_place.m_name != "/";
        entry.m_name = m_place.m_directory ? component : m_place.m_name + (needsSlash ? "/" : "") + component;
        std::optional<struct stat> status = entry.status();
        if (!status && errno == ENOENT && m_missing == Missing::isMade) {
            if (mkdirat(entry.directory(), entry.name(), directoryMode) != 0 && errno != EEXIST)
                return false;
            status = entry.status();
        }
        bool const mayBeMissing = isLast() && m_missing == Missing::fails;
        if (!status && !(errno == ENOENT && mayBeMissing))
            return false;
        bool const isLink = status && S_ISLNK(status->st_mode);
        if (isLink && !(isLast() && m_lastLink == Place::LastLink::kept))
            return follow(entry, *status);
        if (mayBeMissing) {
            m_place = std::move(entry);
            return true;
        }
        if (S_ISDIR(status->st_mode))
            return enter(std::move(entry), *status);
        errno = ENOTDIR;
        return false;
    }

    bool follow(Place const& link, struct stat const& status) {
        constexpr int mostLinks = 40; // the kernel's own limit
        if (++m_links > mostLinks) {
            errno = ELOOP;
            return false;
        }
        bool const isStrangersInSticky =
            m_place.m_stickyOwner && status.st_uid != geteuid() && status.st_uid != m_place.m_stickyOwner;
        if (isStrangersInSticky ||
            (m_place.m_isAmongStrangers && (status.st_uid != superUser || status.st_nlink != 1))) {
            refuse(EACCES, foreignLink);
            return false;
        }
        std::string target(PATH_MAX, '\0');
        ssize_t const length = readlinkat(link.directory(), link.name(), target.data(), target.size());
        if (length <= 0)
            return false;
        target.resize(static_cast<std::size_t>(length));
        bool const isAbsolute = target.starts_with('/');
        m_rest = isLast() ? std::move(target) : target.append("/").append(m_rest, m_position);
        m_position = 0;
        return !isAbsolute || start();
    }

    bool enter(Place directory, struct stat const& status) {
        if (m_place.m_directory)
            return hold(directory);
        m_place = directory;
        judge(status);
        return !m_place.m_isAmongStrangers || hold(directory);
    }

    /// Holds the directory open, from where strangers could exchange it, and judges what was opened: it may
    /// be another one by now.
    bool hold(Place const& directory) {
        auto opened = std::make_shared<FileDescriptor>(FileDescriptor::openAt(
            directory.directory(), directory.name(), forSearching | O_DIRECTORY | O_NOFOLLOW));
        std::optional<struct stat> const status = opened->isOpen() ? opened->status() : std::nullopt;
        if (!status)
            return false;
        judge(*status);
        m_place.m_directory = std::move(opened);
        m_place.m_name.clear();
        return true;
    }

    void judge(struct stat const& directory) {
        m_place.m_stickyOwner =
            isStickyForEverybody(directory.st_mode) ? std::optional(directory.st_uid) : std::nullopt;
        if (geteuid() == superUser && !isTrusted(directory))
            m_place.m_isAmongStrangers = true;
    }

    Place::LastLink const m_lastLink;
    Missing const m_missing;
    Place m_place;
    /// What is still to go begins at the position.
    std::string m_rest;
    std::size_t m_position = 0;
    int m_links = 0;
};

std::optional<Place> Place::find(std::string const& path, LastLink lastLink) {
    return Walk(lastLink, Walk::Missing::fails).go(path);
}

Place Place::sibling(std::string const& suffix) const {
    std::size_t const start = m_name.rfind('/') + 1; // 0 without a slash
    std::size_t length = m_name.size();
    // A name that gets too long is cut between two UTF-8 characters.
    if (length - start + suffix.size() > NAME_MAX)
        for (length = start + NAME_MAX - suffix.size();
             length > start && (static_cast<unsigned char>(m_name[length]) & 0xC0) == 0x80;)
            --length;
    Place other = *this;
    other.m_name.resize(length);
    other.m_name += suffix;
    return other;
}

int Place::directory() const {
    return m_directory ? m_directory->get() : AT_FDCWD;
}

std::optional<struct stat> Place::status() const {
    struct stat status {};
    if (fstatat(directory(), name(), &status, AT_SYMLINK_NOFOLLOW) != 0)
        return std::nullopt;
    return status;
}

bool Place::accepts(Kind kind, struct stat const& status) const {
    bool const isOwn = !m_stickyOwner || status.st_uid == geteuid() || status.st_uid == *m_stickyOwner;
    bool const mustBeSuperUsers = m_isAmongStrangers && (kind == Kind::log || kind == Kind::secret);
    bool const mayBeDevice = kind == Kind::log && !m_isAmongStrangers;
    if (S_ISDIR(status.st_mode) && kind != Kind::any)
        errno = EISDIR;
    else if (kind != Kind::any && !S_ISREG(status.st_mode) && !(mayBeDevice && S_ISCHR(status.st_mode)))
        refuse(EINVAL, irregularFile);
    else if (!isOwn || (mustBeSuperUsers && status.st_uid != superUser))
        refuse(EACCES, foreignFile);
    else if (mustBeSuperUsers && status.st_nlink != 1)
        refuse(EACCES, manyNames);
    else
        return true;
    return false;
}

FileDescriptor Place::open(Kind kind, int flags, mode_t mode) const {
    constexpr int mostTries = 100; // against somebody who makes and removes the file all the while
    for (int tries = 0; tries < mostTries; ++tries) {
        // What must not be opened is not: opening alone can wake a device or the other end of a pipe.
        std::optional<struct stat> const before = status();
        if (before && !accepts(kind, *before))
            return FileDescriptor();
        bool const isNew = !before && (flags & O_CREAT) != 0;
        FileDescriptor opened = FileDescriptor::openAt(
            directory(), name(), (flags & ~(O_TRUNC | O_CREAT)) | (isNew ? O_CREAT | O_EXCL : 0) | O_NOFOLLOW,
            mode);
        if (!opened.isOpen()) {
            bool const hasChanged = isNew ? errno == EEXIST && (flags & O_EXCL) == 0
                                          : before && errno == ENOENT && (flags & O_CREAT) != 0;
            if (hasChanged)
                continue;
            return opened;
        }
        std::optional<struct stat> const status = opened.status();
        if (!status || !accepts(kind, *status))
            return FileDescriptor();
        if (S_ISREG(status->st_mode)) {
            if ((flags & O_TRUNC) != 0 && status->st_size != 0 && ftruncate(opened.get(), 0) != 0)
                return FileDescriptor();
        } else if (!waitsLikeOthers(opened.get())) {
            return FileDescriptor();
        }
        return opened;
    }
    return FileDescriptor();
}

std::string Place::directoryPath() const {
    return m_directory ? "." : parentOf(m_name);
}

bool Place::mayAddNames() const {
    return faccessat(directory(), directoryPath().c_str(), W_OK | X_OK, AT_EACCESS) == 0;
}

bool Place::flushDirectory() const {
    FileDescriptor const opened =
        FileDescriptor::openAt(directory(), directoryPath().c_str(), O_RDONLY | O_DIRECTORY);
    return opened.isOpen() && opened.flush();
}

FileDescriptor openForReading(std::string const& path, Place::Kind kind) {
    std::optional<Place> const place = Place::find(path);
    return place ? place->open(kind, O_RDONLY) : FileDescriptor();
}

bool makeDirectories(std::string const& path) {
    return Walk(Place::LastLink::followed, Walk::Missing::isMade).go(path).has_value();
}

} // namespace orvane_com::zun::file
