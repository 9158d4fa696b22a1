#pragma once

#include <zun/Api.h>

#include <cstdint>
#include <memory>

// The locale's upper-case and lower-case mapping and white-space class: towupper, towlower, iswspace.
#include <wctype.h>

/// An owning, NUL-terminated narrow copy of a text, for the length of a system call. Not copyable.
class ZUN_API ACharString {
public:
    ACharString();

    /// The text in the process's current locale, up to its first NUL; a character that the locale cannot
    /// represent becomes "?". Null stands for "(null)", here and in the functions below.
    // NOLINTNEXTLINE(google-explicit-constructor): callers pass a wide text
    ACharString(wchar_t const* wide);

    /// `length` bytes as they are, with a NUL after them. Null `bytes` give an empty text of that size. A
    /// negative length throws as checkNewChar does.
    ACharString(char const* bytes, int length);

    ACharString(ACharString const&) = delete;
    ACharString& operator=(ACharString const&) = delete;

    /// Never null; valid as long as the object.
    // NOLINTNEXTLINE(google-explicit-constructor): it goes wherever a narrow text is taken
    operator char const*() const ZUN_LIFETIME_BOUND { return m_text.get(); }

    /// In bytes, without the terminating NUL.
    int size() const { return m_size; }

private:
    std::unique_ptr<char[]> m_text;
    std::int32_t m_size;
};

/// How many wide characters the narrow text, in the current locale, converts to. A text that cannot be
/// converted is logged under "String" and takes none.
ZUN_API int conversionSpaceRequired(char const* narrow);

/// How many bytes the narrow form takes, its terminating NUL included.
ZUN_API int conversionSpaceRequired(wchar_t const* wide);

/// Writes the narrow form and its terminating NUL: exactly conversionSpaceRequired(wide) bytes.
ZUN_API void convert(wchar_t const* wide, char* destination);

/// The byte as a whole character of the current locale, without any shift state. A byte that is none, and the
/// byte 0, are logged under "String" and give the character 0.
ZUN_API wchar_t convertOne(char byte);

/// A new array of `count` characters, owned by the caller. A negative count throws what a failed allocation
/// throws.
ZUN_API char* checkNewChar(int count);

/// Compares ignoring case in the current locale: the difference of the first pair of upper-cased characters
/// that differ, or 0.
ZUN_API int wcsicmp(wchar_t const* left, wchar_t const* right);
