#pragma once

#if __cplusplus < 202002L
#error "zun needs C++20 or later: compile with -std=c++20"
#endif

/// Marks what a program that links the library may use. Everything else is hidden from it.
#define ZUN_API __attribute__((visibility("default")))

/// The result points into the object: a compiler that knows the mark warns when it outlives a temporary one.
#if __has_cpp_attribute(clang::lifetimebound)
#define ZUN_LIFETIME_BOUND [[clang::lifetimebound]]
#else
#define ZUN_LIFETIME_BOUND
#endif
