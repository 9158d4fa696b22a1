#pragma once

#include <zun/Api.h>
#include <zun/text/AResourceFile.h>
#include <zun/text/AString.h>

#include <cstdint>

/// A text with numbered places, "%1" to "%9", filled in order as arguments are streamed in:
///
///     ALocalizedString(L"Copied %1 files to %2") << 3 << L"/tmp"     // "Copied 3 files to /tmp"
class ZUN_API ALocalizedString : public AString {
public:
    ALocalizedString() = default;
    // NOLINTBEGIN(google-explicit-constructor): callers pass a text or a message's number
    ALocalizedString(wchar_t const* text);

    /// The message from the default catalog; without one the text says so.
    ALocalizedString(int id);
    // NOLINTEND(google-explicit-constructor)

    /// The message from the given catalog, see AResourceFile::getString. A null `file` is an unset default.
    ALocalizedString(int id, AResourceFile* file);
    void open(int id, AResourceFile const& file);

    /// Replaces every "%n" of the next number by the argument, formatted as AString does. An argument without
    /// a place still counts.
    template <AScalarSource Argument>
    ALocalizedString& operator<<(Argument argument) {
        return fill(AString() << argument);
    }
    template <AClassSource Argument>
    ALocalizedString& operator<<(Argument const& argument) {
        return fill(AString() << argument);
    }

    /// The catalog of all localized strings made by number alone. It stays the caller's and has to outlive
    /// their making; set it before other threads make any.
    static void setDefaultResourceFile(AResourceFile* file);

    /// Null until set.
    static AResourceFile* DefaultResourceFile;

private:
    ALocalizedString& fill(AString const& argument);

    std::int32_t m_nextArgument = 1;
};
