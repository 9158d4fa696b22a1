#pragma once

#include <zun/platform/file/FileDescriptor.h>
#include <zun/platform/registry/RegistryFormat.h>

#include <map>
#include <set>
#include <string>
#include <sys/stat.h>

namespace orvane_com::zun::registry {

/// What a store holds, read again only when the file has changed.
class RegistryView {
public:
    explicit RegistryView(std::string path);

    std::string const& path() const { return m_path; }

    /// Brings the view up to date; a missing file is an empty store. False, with errno set, when the file
    /// cannot be read.
    bool refresh();

    /// Whether the path, as a header writes it, is a key's or that of a key's parent.
    bool hasKey(std::string const& path) const;

    /// Null when the key has no such value; valid until the next refresh.
    RegistryValue const* find(std::string const& path, std::string_view name) const;

private:
    bool isCurrent() const;
    void parse(std::string_view text);

    std::string m_path;
    /// The file that was read, kept open so that no other file can get its inode number.
    file::FileDescriptor m_file;
    struct stat m_status {};
    bool m_statusIsReliable = false;
    std::set<std::string> m_keys;
    std::map<std::string, std::map<std::string, RegistryValue>> m_values;
};

} // namespace orvane_com::zun::registry
