#include <zun/platform/helper/CommonHelper.h>
#include <zun/platform/helper/ReplacementFile.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace orvane_com::zun::helper {

namespace {

std::string uniqueSuffix() {
    static std::atomic<long> count{0};
    return "." + longToNarrow(getpid()) + "-" + longToNarrow(++count) + ".tmp";
}

} // namespace

ReplacementFile::ReplacementFile(std::string const& target, unsigned mode) : m_target(target) {
    do {
        m_path = m_target + uniqueSuffix();
        m_file = FileDescriptor::open(m_path.c_str(), O_WRONLY | O_CREAT | O_EXCL, mode);
    } while (!m_file.isOpen() && errno == EEXIST);
    if (!m_file.isOpen())
        m_path.clear();
}

ReplacementFile::~ReplacementFile() {
    int const error = errno;
    if (!m_path.empty())
        unlink(m_path.c_str());
    errno = error;
}

bool ReplacementFile::replaceTarget() {
    if (rename(m_path.c_str(), m_target.c_str()) != 0)
        return false;
    m_path.clear();
    return true;
}

bool ReplacementFile::becomeTarget() {
    return link(m_path.c_str(), m_target.c_str()) == 0;
}

} // namespace orvane_com::zun::helper
