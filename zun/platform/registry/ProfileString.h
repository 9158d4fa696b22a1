#pragma once

#include <zun/Api.h>

// Profile strings: the settings of an INI file, read and written one at a time.
//
// The file is UTF-8. "[section]" lines head "key=value" lines; a line that starts with ";" is a comment.
// Section and key names ignore case; blanks around names and values do not count, nor does one pair of
// quotes, single or double, around a value. Several threads and processes may read and write one file: a
// write is durable, loses no other writer's, and readers see the file before it or after it. It waits for
// other writers for up to 10 seconds. Nothing is logged, under "ini", but the reason why a file is refused:
// it is no regular file or too large, somebody else prepared it, or another writer does not end.

/// Copies the value to `buffer`, `size` characters with the terminating NUL: a longer one is cut. Without the
/// section, the key or the file, `fallback` is taken for the value (null: an empty text). A null `key` stands
/// for the names of the section's keys, a null `section` for the names of all sections: each name ends with a
/// NUL and the list with one more; a longer list is cut, its two NULs are not. Returns how many characters
/// were copied, without the last NUL, or the last two of a list that was cut; 0 when there is no buffer.
ZUN_API unsigned long GetPrivateProfileString(wchar_t const* section, wchar_t const* key,
                                              wchar_t const* fallback, wchar_t* buffer, unsigned long size,
                                              wchar_t const* file);

/// Sets the key's value, adding key, section and file as needed. A null `value` deletes the key, a null `key`
/// the section; what is not there counts as deleted. All other lines of the file stay as they are. False,
/// with errno set and the file as it was, on failure: EINVAL for a null section, a name that could not be
/// read back and a value of several lines, ETIMEDOUT when another writer does not end.
ZUN_API bool WritePrivateProfileString(wchar_t const* section, wchar_t const* key, wchar_t const* value,
                                       wchar_t const* file);
