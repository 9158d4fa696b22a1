#pragma once

#include <zun/platform/file/FileDescriptor.h>
#include <zun/text/AString.h>

#include <string>
#include <sys/types.h>
#include <vector>

/// Removes a directory and all that is in it, however deep and whatever others do to it meanwhile: it goes
/// down by descriptors that follow no symbolic link, and on the way up makes sure that it comes back to where
/// it was. Two descriptors are open at a time. Failures are logged under "Filer".
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
        Identity identity;
        std::string name;
        std::vector<std::string> subdirectories;
    };

    bool enter(int parent, std::string const& name);
    bool leave();
    orvane_com::zun::file::FileDescriptor openLastFromTop() const;
    void listCurrent(std::vector<std::string>& files, std::vector<std::string>& subdirectories);
    void removeFile(std::string const& name);
    void removeDirectory(std::string const& name);
    AString pathOf(std::string const& name) const;

    AString m_top;
    std::wstring m_path;
    orvane_com::zun::file::FileDescriptor m_current;
    std::vector<Level> m_levels;
    bool m_allGone = true;
};
