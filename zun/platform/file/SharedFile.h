#pragma once

#include <zun/platform/file/Permissions.h>

#include <functional>
#include <string>

namespace orvane_com::zun::file {

/// Changes a file that several threads and processes read and change: `edit` gets its bytes while nobody else
/// edits it, and what it made of them is kept durably, so that a reader, and whoever comes after a killed
/// writer, finds the old bytes or the new ones. A missing file is an empty one, created with `mode` within
/// the umask. False, with errno set, reasonFor it and the file's bytes as they were, on failure: among others
/// when somebody else edits it for longer than 10 seconds. `edit` must not log.
bool editSharedFile(std::string const& path, std::function<void(std::string&)> const& edit,
                    mode_t mode = newFileMode);

} // namespace orvane_com::zun::file
