#pragma once

#include <functional>
#include <string>

namespace orvane_com::zun::registry {

/// Changes a file that several threads and processes read and change: `edit` gets its bytes while nobody else
/// edits it, and what it made of them is kept durably, so that a reader, and whoever comes after a killed
/// writer, finds the old bytes or the new ones. A missing file is an empty one, created with `mode` within
/// the umask. False, with errno set and the file's bytes as they were, on failure.
bool editSharedFile(std::string const& path, unsigned mode, std::function<void(std::string&)> const& edit);

} // namespace orvane_com::zun::registry
