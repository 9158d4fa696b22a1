#include <zun/platform/file/FileCopy.h>
#include <zun/platform/file/Permissions.h>
#include <zun/platform/file/Place.h>
#include <zun/platform/file/ReplacementFile.h>

#include <array>

namespace orvane_com::zun::file {

namespace {

bool copyContents(FileDescriptor const& source, FileDescriptor const& target) {
    std::array<char, 64 * 1024> block;
    for (;;) {
        std::optional<std::size_t> const count = source.read(block.data(), block.size());
        if (!count || target.write({block.data(), *count}) != *count)
            return false;
        if (*count < block.size())
            return true;
    }
}

bool copyPermissions(FileDescriptor const& source, FileDescriptor const& target) {
    std::optional<struct stat> const status = source.status();
    return status && fchmod(target.get(), status->st_mode & permissionBits) == 0;
}

} // namespace

bool copyFile(std::string const& source, std::string const& target, bool keepExisting) {
    FileDescriptor const from = openForReading(source);
    std::optional<Place> const place = Place::find(target, Place::LastLink::kept);
    if (!from.isOpen() || !place)
        return false;
    ReplacementFile replacement(*place, ownerOnly);
    FileDescriptor& to = replacement.file();
    return to.isOpen() && copyContents(from, to) && copyPermissions(from, to) && to.close() &&
           (keepExisting ? replacement.becomeTarget() : replacement.replaceTarget());
}

} // namespace orvane_com::zun::file
