#pragma once

#include <zun/platform/file/FileDescriptor.h>
#include <zun/platform/file/Permissions.h>
#include <zun/platform/file/Place.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace orvane_com::zun::file {

/// Of what is read whole.
constexpr std::size_t greatestSize = std::size_t{1} << 30;

/// The bytes of a regular file of at most 1 GiB. False, with errno set, reasonFor it and `bytes` as it was,
/// when it cannot be read or is none.
bool readWholeFile(std::string const& path, std::string& bytes);

/// The same of a file that is open at its beginning.
bool readWholeFile(FileDescriptor const& file, std::string& bytes);

/// Makes the file's contents `bytes`, durably: a reader, at whatever moment the writer ends, sees the old
/// file or the new one. An existing file keeps its permissions and, as far as the process may, its owner; a
/// symbolic link stays and what it points to is replaced. A new file has `mode` within the umask. A character
/// device has no contents to replace: it takes the bytes. False, with errno set, reasonFor it and the old
/// file untouched, on failure; std::bad_alloc leaves it untouched too.
bool replaceWholeFile(std::string const& path, std::string_view bytes, mode_t mode = newFileMode);
bool replaceWholeFile(Place const& target, std::string_view bytes, mode_t mode = newFileMode);

} // namespace orvane_com::zun::file
