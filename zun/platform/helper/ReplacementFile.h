#pragma once

#include <zun/platform/helper/FileDescriptor.h>

#include <string>

namespace orvane_com::zun::helper {

/// A new file that takes a target's place in one step, or vanishes. A process killed in between may leave the
/// new file, named after the target, beside it; it never touches the target.
class ReplacementFile {
public:
    /// Creates an empty file of its own beside the target, with `mode` within the umask. Not open, with errno
    /// set, on failure.
    ReplacementFile(std::string const& target, unsigned mode);
    ReplacementFile(ReplacementFile const&) = delete;
    ReplacementFile& operator=(ReplacementFile const&) = delete;
    ~ReplacementFile();

    std::string const& path() const { return m_path; }
    FileDescriptor& file() { return m_file; }

    /// Renames the file over the target; false with errno set on failure.
    bool replaceTarget();

    /// Gives the file the target's name unless that is taken; false with errno set on failure.
    bool becomeTarget();

private:
    std::string const m_target;
    std::string m_path;
    FileDescriptor m_file;
};

} // namespace orvane_com::zun::helper
