#include <zun/platform/file/FileLock.h>
#include <zun/platform/file/SharedFile.h>
#include <zun/platform/file/WholeFile.h>

#include <cerrno>

namespace orvane_com::zun::file {

bool editSharedFile(std::string const& path, std::function<void(std::string&)> const& edit, mode_t mode) {
    FileLock const lock(path);
    std::string before;
    if (!lock.isHeld() || (!readWholeFile(path, before) && errno != ENOENT))
        return false;
    std::string after = before;
    edit(after);
    return after == before || replaceWholeFile(path, after, mode);
}

} // namespace orvane_com::zun::file
