#pragma once

#include <zun/Api.h>
#include <zun/text/AString.h>

#include <cstdint>

/// Operations on files and directories by path. Paths are converted as ACharString does. The result of every
/// operation is whether it succeeded; a failure is logged under "Filer", with the call and its arguments in
/// the trace. What makes, removes or copies follows no link on the way that a stranger may have prepared, see
/// docs/security.md. Any thread may call them, except where noted.
class ZUN_API AFiler {
public:
    /// The kinds of access that can be asked for.
    enum AFileAccess : std::int32_t {
        accessRead = 1,
        accessWrite = 2,
        accessExecute = 4,
        accessModify = 8, ///< the same as accessWrite
    };

    AFiler() = delete;

    /// The agent's data directory, the updater's, and "etc" in the first: as the configuration tells when it
    /// is first asked, and does not change afterwards. The first calls must come from one thread, after the
    /// configuration is set up.
    static wchar_t const* getZunDataPath();
    static wchar_t const* getUpdaterDataPath();
    static wchar_t const* getAlternateDataPath();

    /// A path that nothing has yet, in the directory that TMPDIR names, else in /var/tmp, see tempnam(3).
    static bool getTempFilePath(AString& out);

    /// A missing file is a success.
    static bool deleteFile(AString const& path);

    /// One level, for the owner alone. What exists already is a success.
    static bool createDirectory(AString const& path);

    /// Contents and permissions, without set-user-id, set-group-id and sticky bit, of a regular file; `to` is
    /// replaced whole, a symbolic link in its place too.
    static bool copyFile(AString const& from, AString const& to);

    /// Not provided: logs an internal error and returns false.
    static bool renameFile(AString const& from, AString const& to);

    /// An empty directory. One that is missing is a success.
    static bool deleteFolder(AString const& path);

    /// The same; one that is not empty stays, which is a success too.
    static bool deleteEmptyFolder(AString const& path);

    /// The directory with all that AFileIndex lists in it with "*". Symbolic links, `path` included, are
    /// removed and not followed; wildcards in `path` are taken literally. A failure does not stop the removal
    /// of the rest: names that begin with "." stay, and so do the directories above them, which are failures.
    /// A path of fewer than 4 characters, or one that leads to the root directory, removes nothing and is a
    /// failure. In traces a path longer than PATH_MAX is shown by its ends.
    static bool deleteFolders(AString const& path);

    /// Asks access(2). Both answers are false for a missing file; the result is false, and the answers are
    /// left alone, when there is none.
    static bool getFileAccessibility(AString const& path, AFileAccess access, bool& exists, bool& accessible);
    static bool getFileAccessibility(AString const& path, AFileAccess access, bool& exists);

    /// In bytes. Logged under "filer".
    static bool getExistingFileSize(AString const& path, long& size);

    /// The same; a missing file is not logged.
    static bool tryGetFileSize(AString const& path, long& size);
};

/// In bytes, under "filer". A missing file is logged only if `mustExist`.
ZUN_API bool getFileSize(bool mustExist, AString const& path, long& size);

/// deleteEmptyFolder when `emptyOnly`, else deleteFolder.
ZUN_API bool privateDeleteFolder(bool emptyOnly, AString const& path);
