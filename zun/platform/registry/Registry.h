#pragma once

#include <zun/Api.h>

#include <cstdint>
#include <string>

// The registry: keys in a tree, each with named values of typed bytes, kept in one text file that a person
// can read. Key and value names are UTF-8 without control characters and ignore case; a backslash separates
// the keys of a path, which is at most 512 keys long; the value without a name is the one whose name is empty
// (or null).
//
// Several threads and processes may share a store: a write is durable before the call returns, a killed
// writer leaves the store as it was before or after the write, and every call sees what others wrote before
// it. A write waits for others for up to 10 seconds. Nothing is logged, under "Registry", but the reason why
// the store is refused: it is no regular file or too large, somebody else prepared it, or another writer does
// not end. Every function but InitializeRegistry returns ERROR_SUCCESS or one of the errors below. A
// std::bad_alloc leaves the store as it was.

/// A key: HKEY_LOCAL_MACHINE, or one that was opened and belongs to the caller until RegCloseKey.
using HKEY = struct RegistryKey*;

// NOLINTNEXTLINE(performance-no-int-to-ptr): a number in a pointer's place, never followed
inline HKEY const HKEY_LOCAL_MACHINE = reinterpret_cast<HKEY>(std::uintptr_t{0x80000002});

/// Types of a value. The store keeps any number as a type; these are the usual ones.
inline constexpr unsigned long REG_SZ = 1;
inline constexpr unsigned long REG_BINARY = 3;
inline constexpr unsigned long REG_DWORD = 4;

inline constexpr long ERROR_SUCCESS = 0;
/// No such key or value.
inline constexpr long ERROR_FILE_NOT_FOUND = 2;
/// The process may not write the store.
inline constexpr long ERROR_ACCESS_DENIED = 5;
/// The key is not open.
inline constexpr long ERROR_INVALID_HANDLE = 6;
/// InitializeRegistry has not succeeded yet.
inline constexpr long ERROR_NOT_READY = 21;
/// The store could not be written, or not be read; errno tells why.
inline constexpr long ERROR_WRITE_FAULT = 29;
inline constexpr long ERROR_READ_FAULT = 30;
/// A null argument where one is needed, a name that is none, or a path of too many keys.
inline constexpr long ERROR_INVALID_PARAMETER = 87;

/// Opens the store, from now on the process's one, and creates it with all missing directories if need be.
/// Keys that are open stay open and refer to the new store. False, with errno set and the store in use as it
/// was, on failure. A text that is no store opens too: what can be read of it is used, and all of it is kept.
ZUN_API bool InitializeRegistry(std::wstring const& path);

/// Opens an existing key; an empty (or null) `subKey` opens `root` again.
[[nodiscard]] ZUN_API long RegOpenKey(HKEY root, char const* subKey, HKEY* key);

/// The same, creating the key when it is missing.
ZUN_API long RegCreateKey(HKEY root, char const* subKey, HKEY* key);

/// HKEY_LOCAL_MACHINE stays open. Takes no memory.
ZUN_API long RegCloseKey(HKEY key);

/// Copies the value's bytes to `data`, which has room for `*size`, and sets `*size` to how many were copied.
/// A longer value fills the room, without a terminator; behind a shorter REG_SZ value that does not end with
/// a NUL one is put, uncounted. Null `data` asks for the value's whole size. `type` (may be null) gets the
/// type; `reserved` is not used.
ZUN_API long RegQueryValueEx(HKEY key, char const* name, unsigned long* reserved, unsigned long* type,
                             unsigned char* data, unsigned long* size);

/// Sets a value of the key, which is created anew should it be gone. `reserved` is not used.
ZUN_API long RegSetValueEx(HKEY key, char const* name, unsigned long reserved, unsigned long type,
                           unsigned char const* data, unsigned long size);

ZUN_API long RegDeleteValue(HKEY key, char const* name);
