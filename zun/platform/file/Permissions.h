#pragma once

#include <sys/stat.h>

namespace orvane_com::zun::file {

constexpr mode_t permissionBits = S_IRWXU | S_IRWXG | S_IRWXO;
constexpr mode_t ownerOnly = S_IRUSR | S_IWUSR;

/// Of a new file, within the umask: never writable by everybody.
constexpr mode_t newFileMode = S_IRUSR | S_IWUSR | S_IRGRP | S_IWGRP | S_IROTH;

} // namespace orvane_com::zun::file
