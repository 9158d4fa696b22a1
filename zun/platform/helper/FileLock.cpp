#include <zun/platform/helper/FileLock.h>

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

namespace orvane_com::zun::helper {

namespace {

bool lockExclusively(int descriptor) {
    int result;
    do
        result = flock(descriptor, LOCK_EX);
    while (result != 0 && errno == EINTR);
    return result == 0;
}

/// Before the descriptor is closed: a child that was forked meanwhile has it too, and would keep the lock.
/// Leaves errno as it was.
void unlock(int descriptor) {
    int const error = errno;
    flock(descriptor, LOCK_UN);
    errno = error;
}

/// False when the file was removed or replaced while its lock was waited for.
bool isNamed(std::string const& path, int descriptor) {
    struct stat named {};
    struct stat opened {};
    return stat(path.c_str(), &named) == 0 && fstat(descriptor, &opened) == 0 &&
           named.st_dev == opened.st_dev && named.st_ino == opened.st_ino;
}

} // namespace

FileLock::FileLock(std::string const& path, unsigned mode) {
    for (;;) {
        FileDescriptor file = FileDescriptor::open(path.c_str(), O_RDWR | O_CREAT, mode);
        if (!file.isOpen() || !lockExclusively(file.get()))
            return;
        if (isNamed(path, file.get())) {
            m_file = std::move(file);
            return;
        }
        unlock(file.get());
    }
}

FileLock::~FileLock() {
    if (isHeld())
        unlock(m_file.get());
}

} // namespace orvane_com::zun::helper
