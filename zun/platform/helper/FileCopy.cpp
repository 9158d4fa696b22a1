#include <zun/platform/helper/CommonHelper.h>
#include <zun/platform/helper/ReplacementFile.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

namespace orvane_com::zun::helper {

int copyFile(std::string const& source, std::string const& target, int keepExisting) {
    constexpr unsigned ownerOnly = 0600;
    ReplacementFile replacement(target, ownerOnly);
    if (!replacement.file().isOpen())
        return 0;
    std::error_code error;
    std::filesystem::copy_file(source, replacement.path(), std::filesystem::copy_options::overwrite_existing,
                               error);
    if (error) {
        errno = error.value();
        return 0;
    }
    return keepExisting ? replacement.becomeTarget() : replacement.replaceTarget();
}

} // namespace orvane_com::zun::helper
