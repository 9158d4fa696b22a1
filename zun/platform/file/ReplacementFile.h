#pragma once

#include <zun/platform/file/FileDescriptor.h>
#include <zun/platform/file/Place.h>

#include <sys/stat.h>

namespace orvane_com::zun::file {

/// A new file that takes a target's place in one step, or vanishes. A process killed in between may leave the
/// new file, named after the target, beside it; it never touches the target.
class ReplacementFile {
public:
    /// Creates an empty file of its own beside the target, with `mode` within the umask. Not open, with errno
    /// set, on failure.
    ReplacementFile(Place target, mode_t mode);
    ReplacementFile(ReplacementFile const&) = delete;
    ReplacementFile& operator=(ReplacementFile const&) = delete;
    ~ReplacementFile();

    FileDescriptor& file() { return m_file; }

    /// Renames the file over the target; false with errno set on failure.
    bool replaceTarget();

    /// Gives the file the target's name unless that is taken; false with errno set on failure.
    bool becomeTarget();

private:
    Place const m_target;
    Place m_place;
    FileDescriptor m_file;
    bool m_isTemporary = false;
};

} // namespace orvane_com::zun::file
