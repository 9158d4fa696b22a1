#include <zun/platform/helper/CommonHelper.h>

#include <cerrno>
#include <cstdio>
#include <iostream>
#include <poll.h>
#include <string>
#include <unistd.h>

namespace orvane_com::zun::helper {

namespace {

/// What the wide stream starts with: it leads to the descriptor.
std::wstreambuf const* const ownBuffer = std::wcout.rdbuf();

void waitUntilWritable(int descriptor) {
    pollfd request{.fd = descriptor, .events = POLLOUT, .revents = 0};
    poll(&request, 1, -1);
}

} // namespace

void writeLineToStandardOutput(std::string_view utf8) {
    if (std::wcout.rdbuf() != ownBuffer) { // the program takes the wide text itself
        std::wcout << toWide(utf8) << std::endl;
        return;
    }
    // The streams' own conversion depends on the locale, and a wide stream that met a character it cannot
    // convert stays silent: the bytes go to the descriptor instead.
    std::wcout.flush();
    std::fflush(stdout);
    std::string line(utf8);
    line.push_back('\n');
    std::string_view rest = line;
    while (!rest.empty()) {
        ssize_t const count = write(STDOUT_FILENO, rest.data(), rest.size());
        if (count >= 0)
            rest.remove_prefix(static_cast<std::size_t>(count));
        else if (errno == EAGAIN)
            waitUntilWritable(STDOUT_FILENO);
        else if (errno != EINTR)
            return;
    }
}

} // namespace orvane_com::zun::helper
