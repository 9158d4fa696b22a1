#include <zun/platform/file/ErrnoKeeper.h>
#include <zun/platform/file/ReplacementFile.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <string>
#include <unistd.h>
#include <utility>

namespace orvane_com::zun::file {

namespace {

std::string uniqueSuffix() {
    static std::atomic<long> count{0};
    return "." + std::to_string(getpid()) + "-" + std::to_string(++count) + ".tmp";
}

} // namespace

ReplacementFile::ReplacementFile(Place target, mode_t mode) : m_target(std::move(target)), m_place(m_target) {
    do {
        m_place = m_target.sibling(uniqueSuffix());
        m_file =
            FileDescriptor::openAt(m_place.directory(), m_place.name(), O_WRONLY | O_CREAT | O_EXCL, mode);
    } while (!m_file.isOpen() && errno == EEXIST);
    m_isTemporary = m_file.isOpen();
}

ReplacementFile::~ReplacementFile() {
    ErrnoKeeper const errnoKeeper;
    if (m_isTemporary)
        unlinkat(m_place.directory(), m_place.name(), 0);
}

bool ReplacementFile::replaceTarget() {
    if (renameat(m_place.directory(), m_place.name(), m_target.directory(), m_target.name()) != 0)
        return false;
    m_isTemporary = false;
    return true;
}

bool ReplacementFile::becomeTarget() {
    return linkat(m_place.directory(), m_place.name(), m_target.directory(), m_target.name(), 0) == 0;
}

} // namespace orvane_com::zun::file
