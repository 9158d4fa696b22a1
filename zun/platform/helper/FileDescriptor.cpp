#include <zun/platform/helper/FileDescriptor.h>

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace orvane_com::zun::helper {

FileDescriptor::~FileDescriptor() {
    int const error = errno;
    close();
    errno = error;
}

FileDescriptor FileDescriptor::open(char const* path, int flags, unsigned mode) {
    int descriptor;
    do
        descriptor = ::open(path, flags | O_CLOEXEC, mode);
    while (descriptor == none && errno == EINTR);
    return FileDescriptor(descriptor);
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

} // namespace orvane_com::zun::helper
