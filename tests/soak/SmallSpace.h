#pragma once

#include <string>

/// A directory where the space for files runs out and comes back: a small file system of its own where the
/// process may mount one, else a limit to the size of files, which holds for the process that fills it.
class SmallSpace {
public:
    /// Makes the directory.
    explicit SmallSpace(std::string directory);
    ~SmallSpace();
    SmallSpace(SmallSpace const&) = delete;
    SmallSpace& operator=(SmallSpace const&) = delete;

    std::string file(std::string const& name) const { return m_directory + "/" + name; }
    bool isFileSystem() const { return m_mounted; }

    /// Leaves room for less than a page, or for `growing` to get a little longer.
    void fill(std::string const& growing) const;
    void free() const;

private:
    std::string const m_directory;
    bool m_mounted;
};
