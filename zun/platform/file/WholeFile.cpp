#include <zun/platform/file/Refusal.h>
#include <zun/platform/file/ReplacementFile.h>
#include <zun/platform/file/WholeFile.h>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace orvane_com::zun::file {

namespace {

bool takeOverIdentity(FileDescriptor const& file, struct stat const& existing) {
    if (fchown(file.get(), existing.st_uid, existing.st_gid) != 0 && errno != EPERM)
        return false;
    return fchmod(file.get(), existing.st_mode & permissionBits) == 0;
}

} // namespace

bool readWholeFile(FileDescriptor const& file, std::string& bytes) {
    std::optional<struct stat> const status = file.status();
    if (!status)
        return false;
    // The size need not be true, of the system's own files and of one that grows meanwhile: a byte more
    // tells.
    constexpr off_t smallestRoom = 4096;
    std::size_t room = static_cast<std::size_t>(std::max(status->st_size, smallestRoom)) + 1;
    std::string content;
    while (room - 1 <= greatestSize) {
        std::size_t const done = content.size();
        content.resize(room);
        std::optional<std::size_t> const count = file.read(content.data() + done, room - done);
        if (!count)
            return false;
        content.resize(done + *count);
        if (content.size() < room) {
            bytes = std::move(content);
            return true;
        }
        room = room == greatestSize + 1 ? room + 1 : std::min(room * 2, greatestSize + 1);
    }
    refuse(EFBIG, "it is larger than 1 GiB");
    return false;
}

bool readWholeFile(std::string const& path, std::string& bytes) {
    FileDescriptor const file = openForReading(path);
    return file.isOpen() && readWholeFile(file, bytes);
}

bool replaceWholeFile(std::string const& path, std::string_view bytes, mode_t mode) {
    std::optional<Place> const target = Place::find(path);
    return target && replaceWholeFile(*target, bytes, mode);
}

bool replaceWholeFile(Place const& target, std::string_view bytes, mode_t mode) {
    std::optional<struct stat> const existing = target.status();
    if (existing && S_ISCHR(existing->st_mode)) {
        FileDescriptor file = target.open(Place::Kind::any, O_WRONLY);
        return file.isOpen() && file.write(bytes) == bytes.size() && file.close();
    }
    if (existing && !target.accepts(Place::Kind::data, *existing))
        return false;
    // Until it has the existing file's owner and mode, nobody else may read the new one.
    ReplacementFile replacement(target, existing ? ownerOnly : mode);
    FileDescriptor& file = replacement.file();
    if (!file.isOpen() || (existing && !takeOverIdentity(file, *existing)) ||
        file.write(bytes) != bytes.size() || !file.flush() || !file.close() || !replacement.replaceTarget())
        return false;
    target.flushDirectory();
    return true;
}

} // namespace orvane_com::zun::file
