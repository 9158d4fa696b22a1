#include <zun/platform/file/FileLock.h>
#include <zun/platform/file/SharedFile.h>
#include <zun/platform/file/WholeFile.h>

#include <cerrno>
#include <fcntl.h>

namespace orvane_com::zun::file {

bool editSharedFile(std::string const& path, std::function<void(std::string&)> const& edit, mode_t mode) {
    std::optional<Place> const place = Place::find(path);
    if (!place)
        return false;
    FileLock const lock(*place);
    if (!lock.isHeld())
        return false;
    std::string before;
    FileDescriptor const current = place->open(Place::Kind::data, O_RDONLY);
    if (current.isOpen() ? !readWholeFile(current, before) : errno != ENOENT)
        return false;
    std::string after = before;
    edit(after);
    return after == before || replaceWholeFile(*place, after, mode);
}

} // namespace orvane_com::zun::file
