#include <zun/platform/helper/FileDescriptor.h>
#include <zun/platform/helper/ReplacementFile.h>
#include <zun/platform/helper/WholeFile.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <memory>
#include <new>
#include <sys/stat.h>
#include <unistd.h>

namespace orvane_com::zun::helper {

namespace {

std::string directoryOf(std::string const& path) {
    std::size_t const slash = path.rfind('/');
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

/// The path that a symbolic link at its end finally leads to, as far as it can be followed.
std::string followLinks(std::string const& path) {
    std::unique_ptr<char, void (*)(void*)> const resolved(realpath(path.c_str(), nullptr), std::free);
    if (!resolved && errno == ENOMEM)
        throw std::bad_alloc(); // the link itself must not be replaced
    return resolved ? resolved.get() : path;
}

bool takeOverIdentity(int descriptor, struct stat const& existing) {
    constexpr mode_t permissions = S_ISUID | S_ISGID | S_ISVTX | S_IRWXU | S_IRWXG | S_IRWXO;
    if (fchown(descriptor, existing.st_uid, existing.st_gid) != 0 && errno != EPERM)
        return false;
    return fchmod(descriptor, existing.st_mode & permissions) == 0;
}

} // namespace

bool readWholeFile(std::string const& path, std::string& bytes) {
    FileDescriptor const file = FileDescriptor::open(path.c_str(), O_RDONLY);
    if (!file.isOpen())
        return false;
    std::string content;
    struct stat status {};
    if (fstat(file.get(), &status) == 0 && status.st_size > 0)
        content.reserve(static_cast<std::size_t>(status.st_size));
    std::array<char, 64 * 1024> block;
    for (;;) {
        ssize_t const count = read(file.get(), block.data(), block.size());
        if (count == 0)
            break;
        if (count > 0)
            content.append(block.data(), static_cast<std::size_t>(count));
        else if (errno != EINTR)
            return false;
    }
    bytes = std::move(content);
    return true;
}

bool replaceWholeFile(std::string const& path, std::string_view bytes, unsigned mode) {
    std::string const target = followLinks(path);
    std::string const directoryPath = directoryOf(target);
    struct stat existing {};
    bool const exists = stat(target.c_str(), &existing) == 0;
    // What is no regular file, a device or a pipe, has no contents to replace: it takes the bytes if it can
    // at once.
    if (exists && !S_ISREG(existing.st_mode)) {
        FileDescriptor file = FileDescriptor::open(target.c_str(), O_WRONLY | O_NONBLOCK);
        return file.isOpen() && file.write(bytes) == bytes.size() && file.close();
    }
    // Until it has the existing file's owner and mode, nobody else may read the new one.
    ReplacementFile replacement(target, exists ? S_IRUSR | S_IWUSR : mode);
    FileDescriptor& file = replacement.file();
    if (!file.isOpen() || (exists && !takeOverIdentity(file.get(), existing)) ||
        file.write(bytes) != bytes.size() || !file.flush() || !file.close() || !replacement.replaceTarget())
        return false;
    FileDescriptor const directory = FileDescriptor::open(directoryPath.c_str(), O_RDONLY | O_DIRECTORY);
    if (directory.isOpen())
        directory.flush();
    return true;
}

} // namespace orvane_com::zun::helper
