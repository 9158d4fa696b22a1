#pragma once

#include <zun/Api.h>

#include <string>
#include <string_view>

/// The common helper: what every room needs of text, time and the file system. All narrow text is UTF-8, in
/// every locale. Any thread may call these functions; none logs.
namespace orvane_com::zun::helper {

/// A malformed sequence becomes U+FFFD.
ZUN_API std::wstring toWide(std::string_view utf8);

/// An element that is no Unicode scalar value becomes U+FFFD.
ZUN_API std::string toNarrow(std::wstring_view wide);
ZUN_API void appendNarrow(std::string& utf8, std::wstring_view wide);

/// In decimal.
ZUN_API std::wstring longToWide(long number);
ZUN_API std::wstring unsignedLongToWide(unsigned long number);
ZUN_API std::string longToNarrow(long number);

/// The local time now, "YYYY-MM-DD hh:mm:ss.mmm".
ZUN_API std::wstring timeStamp();
ZUN_API void appendTimeStamp(std::string& text);

/// Makes the directory and all missing parents, readable by everyone and writable by the owner as far as the
/// process's umask allows. False, with errno set, when the path is no directory afterwards.
ZUN_API bool makeDirectories(std::string const& path);

/// Copies contents and mode; `target`, be it a symbolic link, is replaced whole or left as it was, and only
/// when `keepExisting` is 0. Returns non-zero on success; 0 with errno set on failure.
[[nodiscard]] ZUN_API int copyFile(std::string const& source, std::string const& target, int keepExisting);

/// A dynamic library's handle, to be given to freeLibrary; null with the system's text in `error` on failure.
ZUN_API void* loadLibrary(std::string const& path, std::string& error);

/// The symbol's address; null with the system's text in `error` when the library has none of that name.
ZUN_API void* getSymbol(void* library, char const* name, std::string& error);
ZUN_API void freeLibrary(void* library);

/// Writes a line and its line end to the process's standard output, after what stdio and std::wcout still
/// hold; to std::wcout when the program has given that a buffer of its own.
ZUN_API void writeLineToStandardOutput(std::string_view utf8);

} // namespace orvane_com::zun::helper
