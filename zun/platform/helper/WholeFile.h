#pragma once

#include <string>
#include <string_view>

namespace orvane_com::zun::helper {

/// The file's bytes. False, with errno set and `bytes` as it was, when it cannot be read.
bool readWholeFile(std::string const& path, std::string& bytes);

/// Makes the file's contents `bytes`, durably: a reader, at whatever moment the writer ends, sees the old
/// file or the new one. An existing file keeps its mode and, as far as the process may, its owner; a symbolic
/// link stays and what it points to is replaced. A new file has `mode` within the umask. False, with errno
/// set and the old file untouched, on failure; std::bad_alloc leaves it untouched too.
bool replaceWholeFile(std::string const& path, std::string_view bytes, unsigned mode = 0666);

} // namespace orvane_com::zun::helper
