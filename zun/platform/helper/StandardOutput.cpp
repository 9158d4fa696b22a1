#include <zun/platform/helper/CommonHelper.h>

#include <cerrno>
#include <cstdio>
#include <iostream>
#include <poll.h>
#include <string>
#include <unistd.h>

#ifdef __GLIBCXX__
#include <ext/stdio_filebuf.h>
#include <ext/stdio_sync_filebuf.h>
#else
#include <typeinfo>
#endif

namespace orvane_com::zun::helper {

namespace {

/// True for the C++ library's own buffer for standard output, be it synchronised with stdio or not. Told by
/// its type: which one the program has at which moment does not show when this library is loaded.
#ifdef __GLIBCXX__
bool isOfTheSystem(std::wstreambuf* buffer) {
    if (auto* const synchronised = dynamic_cast<__gnu_cxx::stdio_sync_filebuf<wchar_t>*>(buffer))
        return synchronised->file() == stdout;
    auto* const separate = dynamic_cast<__gnu_cxx::stdio_filebuf<wchar_t>*>(buffer);
    return separate && separate->fd() == STDOUT_FILENO;
}
#else
bool isOfTheSystem(std::wstreambuf* buffer) {
    return buffer && std::string_view(typeid(*buffer).name()).find("__stdoutbuf") != std::string_view::npos;
}
#endif

void waitUntilWritable(int descriptor) {
    pollfd request{.fd = descriptor, .events = POLLOUT, .revents = 0};
    poll(&request, 1, -1);
}

} // namespace

void writeLineToStandardOutput(std::string_view utf8) {
    if (!isOfTheSystem(std::wcout.rdbuf())) { // the program takes the wide text itself
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
