#include <zun/lock/LockFile.h>
#include <zun/platform/file/FileLock.h>

#include <fcntl.h>
#include <utility>

namespace orvane_com::zun::lock {

LockFile::~LockFile() {
    if (isHeld())
        file::unlockFile(m_file);
}

bool LockFile::lock() {
    while (m_place) {
        file::FileDescriptor opened = m_place->open(file::Place::Kind::secret, O_RDONLY);
        if (!opened.isOpen() || !file::lockFile(opened))
            return false;
        m_file = std::move(opened);
        if (isNamed())
            return true;
        file::unlockFile(m_file);
        m_file = file::FileDescriptor();
    }
    return false;
}

bool LockFile::isNamed() const {
    std::optional<struct stat> const named = m_place->status();
    std::optional<struct stat> const opened = m_file.status();
    return named && opened && file::isSameFile(*named, *opened);
}

} // namespace orvane_com::zun::lock
