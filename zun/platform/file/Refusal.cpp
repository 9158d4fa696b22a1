#include <zun/platform/file/Refusal.h>

#include <cerrno>
#include <system_error>

namespace orvane_com::zun::file {

namespace {

struct LastRefusal {
    int error = 0;
    char const* reason = nullptr;
};

thread_local LastRefusal lastRefusal;

} // namespace

void refuse(int error, char const* reason) {
    lastRefusal = {error, reason};
    errno = error;
}

void forgetRefusal() {
    lastRefusal = {};
}

bool isRefusal(int error) {
    return lastRefusal.reason && lastRefusal.error == error;
}

std::string reasonFor(int error) {
    return isRefusal(error) ? lastRefusal.reason : std::generic_category().message(error);
}

} // namespace orvane_com::zun::file
