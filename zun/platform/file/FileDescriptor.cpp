#include <zun/platform/file/ErrnoKeeper.h>
#include <zun/platform/file/FileDescriptor.h>

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace orvane_com::zun::file {

namespace {

/// Programs and libraries write to the standard streams' descriptors unasked; a data file must not be there.
int moveOffStandardStreams(int descriptor) {
    if (descriptor == FileDescriptor::none || descriptor > STDERR_FILENO)
        return descriptor;
    int const moved = fcntl(descriptor, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    ErrnoKeeper const errnoKeeper;
    ::close(descriptor);
    return moved;
}

} // namespace

FileDescriptor& FileDescriptor::operator=(FileDescriptor&& other) noexcept {
    FileDescriptor closed(std::exchange(m_descriptor, std::exchange(other.m_descriptor, none)));
    return *this;
}

FileDescriptor::~FileDescriptor() {
    ErrnoKeeper const errnoKeeper;
    close();
}

FileDescriptor FileDescriptor::openAt(int directory, char const* path, int flags, mode_t mode) {
    int descriptor;
    do
        descriptor = ::openat(directory, path, flags | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, mode);
    while (descriptor == none && errno == EINTR);
    return FileDescriptor(moveOffStandardStreams(descriptor));
}

std::optional<struct stat> FileDescriptor::status() const {
    struct stat status {};
    if (fstat(m_descriptor, &status) != 0)
        return std::nullopt;
    return status;
}

std::optional<std::size_t> FileDescriptor::read(char* bytes, std::size_t size) const {
    std::size_t done = 0;
    while (done < size) {
        ssize_t const count = ::read(m_descriptor, bytes + done, size - done);
        if (count > 0)
            done += static_cast<std::size_t>(count);
        else if (count == 0)
            break;
        else if (errno != EINTR)
            return std::nullopt;
    }
    return done;
}

std::size_t FileDescriptor::write(std::string_view bytes) const {
    std::size_t written = 0;
    while (written < bytes.size()) {
        ssize_t const count = ::write(m_descriptor, bytes.data() + written, bytes.size() - written);
        if (count >= 0)
            written += static_cast<std::size_t>(count);
        else if (errno != EINTR)
            break;
    }
    return written;
}

bool FileDescriptor::flush() const {
#ifdef __APPLE__
    // fsync(2) leaves the data in the drive's cache; a file system without the full form has only that.
    return fcntl(m_descriptor, F_FULLFSYNC) == 0 || fsync(m_descriptor) == 0;
#else
    return fsync(m_descriptor) == 0;
#endif
}

bool FileDescriptor::close() {
    int const descriptor = std::exchange(m_descriptor, none);
    return descriptor == none || ::close(descriptor) == 0;
}

bool isSameFile(struct stat const& left, struct stat const& right) {
    return left.st_dev == right.st_dev && left.st_ino == right.st_ino;
}

std::string parentOf(std::string_view path) {
    std::size_t const slash = path.rfind('/');
    if (slash == std::string_view::npos)
        return ".";
    return std::string(path.substr(0, slash == 0 ? 1 : slash));
}

} // namespace orvane_com::zun::file
