#include <zun/platform/helper/CommonHelper.h>
#include <zun/platform/helper/ReplacementFile.h>

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orvane_com::zun::helper {

namespace {

bool copyContents(FileDescriptor const& source, FileDescriptor const& target) {
    std::array<char, 64 * 1024> block;
    for (;;) {
        ssize_t const count = read(source.get(), block.data(), block.size());
        if (count == 0)
            return true;
        if (count > 0) {
            std::string_view const bytes(block.data(), static_cast<std::size_t>(count));
            if (target.write(bytes) != bytes.size())
                return false;
        } else if (errno != EINTR) {
            return false;
        }
    }
}

bool copyMode(FileDescriptor const& source, FileDescriptor const& target) {
    constexpr mode_t permissions = S_ISUID | S_ISGID | S_ISVTX | S_IRWXU | S_IRWXG | S_IRWXO;
    struct stat status {};
    return fstat(source.get(), &status) == 0 && fchmod(target.get(), status.st_mode & permissions) == 0;
}

} // namespace

int copyFile(std::string const& source, std::string const& target, int keepExisting) {
    // A path of its own is opened once only: in a directory that others may write to, it can become theirs.
    // O_NONBLOCK: a pipe is refused below and not waited for.
    FileDescriptor const from = FileDescriptor::open(source.c_str(), O_RDONLY | O_NONBLOCK);
    struct stat status {};
    if (!from.isOpen() || fstat(from.get(), &status) != 0)
        return 0;
    if (!S_ISREG(status.st_mode)) {
        errno = EINVAL;
        return 0;
    }
    ReplacementFile replacement(target, S_IRUSR | S_IWUSR);
    FileDescriptor& to = replacement.file();
    if (!to.isOpen() || !copyContents(from, to) || !copyMode(from, to) || !to.close())
        return 0;
    return keepExisting ? replacement.becomeTarget() : replacement.replaceTarget();
}

} // namespace orvane_com::zun::helper
