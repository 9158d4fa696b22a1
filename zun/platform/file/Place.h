#pragma once

#include <zun/platform/file/FileDescriptor.h>

#include <memory>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <sys/types.h>

namespace orvane_com::zun::file {

/// Where a path leads, found among strangers: every file that somebody else may have prepared is opened,
/// made, renamed and removed through a Place.
///
/// On the way each directory is judged. It is trusted when it belongs to the super-user or the process's user
/// and nobody else may write it: there everything is taken as it is found. In one that everybody may write
/// but where only owners may rename and remove (a sticky one: /tmp), a link is followed, and an existing file
/// opened, only when it belongs to the process's user or the directory's owner. For the super-user, from the
/// first other directory on, a link is followed only when it is the super-user's, and the directory is held
/// open, so that what was judged is what is used. See docs/security.md.
class Place {
public:
    /// What becomes of a symbolic link at the path's end.
    enum class LastLink { followed, kept };

    /// What an existing file has to be, beside that.
    enum class Kind {
        any,
        data,  ///< a regular file
        log,   ///< as `secret`, or a character device
        secret ///< a regular file: where strangers have a hand in it, the super-user's and with one name
    };

    /// None, with errno set and reasonFor it, when the path leads nowhere or must not be followed. A file
    /// that is missing has a place, one whose directory is missing has none.
    static std::optional<Place> find(std::string const& path, LastLink lastLink = LastLink::followed);

    /// Of another name in the same directory.
    Place sibling(std::string const& suffix) const;

    /// For the at functions of the system: openat(2) and its kin take both together.
    int directory() const;
    char const* name() const { return m_name.c_str(); }

    /// Whether the super-user found it by way of a directory of others.
    bool isAmongStrangers() const { return m_isAmongStrangers; }

    /// Of what has the name, a link itself included. None, with errno set, when nothing has.
    std::optional<struct stat> status() const;

    /// Opens, or with O_CREAT makes, the file; with O_TRUNC it is emptied once it was judged. Not open, with
    /// errno set and reasonFor it, on failure and where the file is not what it has to be.
    FileDescriptor open(Kind kind, int flags, mode_t mode = 0) const;

    /// Whether the process may make and remove names in the directory. Sets errno when it may not.
    bool mayAddNames() const;

    /// Makes changes of names in the directory durable. False, with errno set, on failure, as in a directory
    /// that may not be read.
    bool flushDirectory() const;

    /// Whether the file that the status is of may be opened, or replaced, as one of the kind. False with
    /// errno set and reasonFor it.
    bool accepts(Kind kind, struct stat const& status) const;

private:
    friend class Walk;

    Place() = default;

    std::string directoryPath() const;

    /// Open where strangers could exchange the directory meanwhile; the name is the whole path otherwise.
    std::shared_ptr<FileDescriptor const> m_directory;
    std::string m_name;
    /// Of a sticky directory that everybody may write.
    std::optional<uid_t> m_stickyOwner;
    bool m_isAmongStrangers = false;
};

/// Place::find and open with O_RDONLY.
FileDescriptor openForReading(std::string const& path, Place::Kind kind = Place::Kind::data);

/// Makes the directory and all missing parents, readable by everyone and writable by the owner within the
/// umask. False, with errno set and reasonFor it, when the path is no directory afterwards.
bool makeDirectories(std::string const& path);

} // namespace orvane_com::zun::file
