#pragma once

#include <fcntl.h>

/// How many descriptors the process has open, of the first thousand.
inline int openDescriptors() {
    int open = 0;
    for (int descriptor = 0; descriptor < 1024; ++descriptor)
        open += fcntl(descriptor, F_GETFD) != -1;
    return open;
}
