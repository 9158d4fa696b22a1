#pragma once

#include <zun/Api.h>

/// Owns a loaded dynamic library. Errors are logged under "Library". One thread at a time.
class ZUN_API ALibrary {
public:
    ALibrary() = default;
    ALibrary(ALibrary const&) = delete;
    ALibrary& operator=(ALibrary const&) = delete;
    ~ALibrary();

    /// Loads the library, see dlopen(3), after closing the one that is open. With `decorate` the last part of
    /// `name` is a bare name: "n" stands for "libn.dylib". With `keepLoaded` the library stays in the process
    /// after close. `flag` is not used. False, with an error logged, on failure.
    bool open(bool flag, wchar_t const* name, bool decorate, bool keepLoaded);

    /// Stores the symbol's address through `out`, which points at a pointer. Without such a symbol, or
    /// without an open library, that is null, and false comes back, with an error logged if `logIfMissing`.
    bool get(bool logIfMissing, char const* symbol, void* out);

    void close();

private:
    void* m_handle = nullptr;
    bool m_keepLoaded = false;
};
