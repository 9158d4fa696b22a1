#pragma once

#include <cerrno>

namespace orvane_com::zun::file {

/// An error function for glob(3), which then ends with GLOB_ABORTED: a directory that cannot be read for want
/// of memory is not one without matches.
inline int stopWithoutMemory(char const* /*directory*/, int error) {
    return error == ENOMEM ? 1 : 0;
}

} // namespace orvane_com::zun::file
