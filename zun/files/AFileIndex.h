#pragma once

#include <zun/Api.h>
#include <zun/text/AString.h>

#include <glob.h>

/// Goes once through the files and directories that match a pattern in a directory, see glob(3), in the order
/// in which the file system yields them. Names that begin with "." match only a pattern that does. Errors are
/// logged under "FileInx". One thread at a time.
class ZUN_API AFileIndex {
public:
    AFileIndex() = default;

    /// As open.
    AFileIndex(bool complainIfNone, wchar_t const* directory, wchar_t const* pattern);

    AFileIndex(AFileIndex const&) = delete;
    AFileIndex& operator=(AFileIndex const&) = delete;
    ~AFileIndex();

    /// Wildcards work in both arguments. False when nothing matches, which is logged only if
    /// `complainIfNone`, and on failure.
    bool open(bool complainIfNone, wchar_t const* directory, wchar_t const* pattern);

    /// The next match: its path with the directory as it was given, whether it is a directory (or a link to
    /// one), its name, and 0 for a size. Each may be null. A text that the locale cannot express is taken as
    /// UTF-8, malformed bytes as U+FFFD, and reported. False after the last one. A std::bad_alloc leaves the
    /// match for the next call.
    bool moveNext(AString* path, bool* isDirectory, AString* name, unsigned long* size);

    /// Ends the enumeration.
    void close();

private:
    glob_t m_matches{};
    char** m_next = nullptr;
};
