#pragma once

#include <zun/linux/log.h>
#include <zun/platform/file/ErrnoKeeper.h>
#include <zun/platform/file/Refusal.h>
#include <zun/platform/helper/CommonHelper.h>

/// logErrno, after an operation on a Place: with the reason where it was refused.
inline void logReason(wchar_t const* group) {
    namespace zun = orvane_com::zun;
    zun::file::ErrnoKeeper const keeper;
    logError(group, zun::helper::toWide(zun::file::reasonFor(keeper.error())).c_str());
}

/// Returns `failed`.
inline bool logReasonIf(wchar_t const* group, bool failed) {
    if (failed)
        logReason(group);
    return failed;
}
