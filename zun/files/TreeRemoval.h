#pragma once

#include <zun/platform/file/FileDescriptor.h>
#include <zun/platform/file/Place.h>
#include <zun/text/AString.h>

#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

/// Removes a directory and all that an enumeration with "*" lists in it, however deep and whatever others do
/// to it meanwhile: it goes down by descriptors that follow no symbolic link, and on the way up makes sure
/// that it comes back to where it was. Three descriptors are open at a time, and the work grows with what is
/// there, not with the length of the paths. Failures are logged, enumerations under "FileInx" and removals
/// under "Filer".
class TreeRemoval {
public:
    explicit TreeRemoval(AString const& path);

    /// Whether all of it is gone.
    bool run();

    /// Tells a directory from every other one.
    struct Identity {
        dev_t device;
        ino_t inode;

        bool operator==(Identity const&) const = default;
    };

private:
    /// A directory on the way from the top to the current one.
    struct Level {
        std::string name;
        Identity identity;
        std::vector<std::string> subdirectories;
        std::size_t pathSizeAbove;
    };

    int current() const;
    void enter(std::string const& name);
    bool open(Level& level, std::vector<std::string>& files);
    void leave();
    orvane_com::zun::file::FileDescriptor openLastFromTop() const;
    void remove(std::string const& name, int flags);
    std::size_t lengthenPath(std::string const& name);
    AString shownPath() const;

    std::wstring m_path;
    std::optional<orvane_com::zun::file::Place> m_top;
    orvane_com::zun::file::FileDescriptor m_current;
    std::vector<Level> m_levels;
    bool m_allGone = true;
};
