#include <zun/platform/helper/FileLock.h>
#include <zun/platform/helper/WholeFile.h>
#include <zun/platform/registry/SharedFile.h>

namespace orvane_com::zun::registry {

bool editSharedFile(std::string const& path, unsigned mode, std::function<void(std::string&)> const& edit) {
    helper::FileLock const lock(path, mode);
    std::string before;
    if (!lock.isHeld() || !helper::readWholeFile(path, before))
        return false;
    std::string after = before;
    edit(after);
    return after == before || helper::replaceWholeFile(path, after, mode);
}

} // namespace orvane_com::zun::registry
