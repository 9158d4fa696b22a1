#pragma once

/// A locale in which narrow text is UTF-8, there on every system.
#ifdef __APPLE__
inline constexpr char const* utf8Locale = "en_US.UTF-8";
#else
inline constexpr char const* utf8Locale = "C.UTF-8";
#endif
