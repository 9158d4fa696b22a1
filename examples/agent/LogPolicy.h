#pragma once

#include <zun/logger/ILogger.h>

/// The logging policy that all processes of the agent share: information level, and a log that rotates early
/// enough to be seen doing so.
inline void enforceLogPolicy() {
    orvane_com::zun::logger::ILogger::GetLogger()->EnforcePolicy(L"1", L"0", L"1", L"16");
}
