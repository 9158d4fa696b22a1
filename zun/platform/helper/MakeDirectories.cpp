#include <zun/platform/helper/CommonHelper.h>

#include <cerrno>
#include <sys/stat.h>

namespace orvane_com::zun::helper {

namespace {

bool isDirectory(char const* path) {
    struct stat status {};
    if (stat(path, &status) != 0)
        return false;
    if (S_ISDIR(status.st_mode))
        return true;
    errno = ENOTDIR;
    return false;
}

bool makeDirectory(char const* path) {
    return mkdir(path, 0755) == 0 || (errno == EEXIST && isDirectory(path));
}

} // namespace

bool makeDirectories(std::string const& path) {
    if (path.empty()) {
        errno = ENOENT;
        return false;
    }
    if (isDirectory(path.c_str()))
        return true;
    // A parent that cannot be made need not be missing: what counts is the last one.
    for (std::size_t end = path.find('/', 1); end != std::string::npos; end = path.find('/', end + 1))
        makeDirectory(path.substr(0, end).c_str());
    return makeDirectory(path.c_str());
}

} // namespace orvane_com::zun::helper
