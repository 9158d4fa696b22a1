#pragma once

#include <cstddef>
#include <filesystem>
#include <iterator>

/// How many descriptors the process has open.
inline std::ptrdiff_t openDescriptors() {
    return std::distance(std::filesystem::directory_iterator("/dev/fd"),
                         std::filesystem::directory_iterator());
}
