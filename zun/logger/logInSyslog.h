#pragma once

#include <zun/Api.h>

#include <cstdarg>

/// Sends one printf(3)-formatted line to the system's log at error priority, under the identifier "[ZUN]".
/// Any thread may call it.
ZUN_API void logInSyslog(char const* format, ...) __attribute__((format(printf, 1, 2)));

/// The same at a priority of syslog(3).
ZUN_API void vlogInSyslog(int priority, char const* format, std::va_list arguments)
    __attribute__((format(printf, 2, 0)));
