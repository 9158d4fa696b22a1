#include <zun/platform/file/FileCopy.h>
#include <zun/platform/file/Place.h>
#include <zun/platform/helper/CommonHelper.h>

namespace orvane_com::zun::helper {

bool makeDirectories(std::string const& path) {
    return file::makeDirectories(path);
}

int copyFile(std::string const& source, std::string const& target, int keepExisting) {
    return file::copyFile(source, target, keepExisting != 0) ? 1 : 0;
}

} // namespace orvane_com::zun::helper
