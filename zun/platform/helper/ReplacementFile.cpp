#include <zun/platform/helper/CommonHelper.h>
#include <zun/platform/helper/ReplacementFile.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace orvane_com::zun::helper {

namespace {

std::string uniqueSuffix() {
    static std::atomic<long> count{0};
    return "." + longToNarrow(getpid()) + "-" + longToNarrow(++count) + ".tmp";
}

/// The path, its last name cut between two UTF-8 characters so that the suffix still fits.
std::string withRoomFor(std::string const& suffix, std::string const& path) {
    std::size_t const name = path.rfind('/') + 1; // 0 without a slash
    std::size_t length = path.size();
    if (length - name + suffix.size() > NAME_MAX)
        for (length = name + NAME_MAX - suffix.size();
             length > name && (static_cast<unsigned char>(path[length]) & 0xC0) == 0x80;)
            --length;
    return path.substr(0, length);
}

} // namespace

ReplacementFile::ReplacementFile(std::string const& target, unsigned mode) : m_target(target) {
    do {
        std::string const suffix = uniqueSuffix();
        m_path = withRoomFor(suffix, m_target) + suffix;
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
