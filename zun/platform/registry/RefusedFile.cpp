#include <zun/linux/log.h> // what is refused is an error of the program's, for which the services have no channel
#include <zun/platform/file/ErrnoKeeper.h>
#include <zun/platform/file/Refusal.h>
#include <zun/platform/helper/CommonHelper.h>
#include <zun/platform/registry/RefusedFile.h>

#include <cerrno>

namespace orvane_com::zun::registry {

void logRefusal(wchar_t const* group, std::string const& path) {
    if (!file::isRefusal(errno))
        return;
    file::ErrnoKeeper const errnoKeeper;
    std::string const reason = file::reasonFor(errno);
    logError(group, helper::toWide("The file \"" + path + "\" is refused: " + reason).c_str());
}

} // namespace orvane_com::zun::registry
