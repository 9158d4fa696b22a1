#pragma once

#include <zun/platform/file/FileDescriptor.h>
#include <zun/platform/registry/RegistryFormat.h>

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <utility>

namespace orvane_com::zun::registry {

/// How many keys deep a path may lead below its first name, the root.
inline constexpr std::size_t mostKeyLevels = 512;

/// Whether a path, as a header writes it, is no deeper than that. Deeper ones are no keys of the view.
bool isWithinKeyLevels(std::string_view path);

/// What a store holds, read again only when the file has changed.
class RegistryView {
public:
    explicit RegistryView(std::string path);

    std::string const& path() const { return m_path; }

    /// Brings the view up to date; a missing file is an empty store. False, with errno set, when the file
    /// cannot be read.
    bool refresh();

    /// Whether the path, as a header writes it, is a key's or that of a key's parent.
    bool hasKey(std::string_view path) const { return findKey(path) != 0; }

    /// Null when the key has no such value; valid until the next refresh.
    RegistryValue const* find(std::string_view path, std::string_view name) const;

private:
    /// A key's number, counted from 1, or a value; by the number of the key that it is in and its folded
    /// name.
    template <typename Item>
    using Tree = std::map<std::pair<std::size_t, std::string>, Item>;

    bool isCurrent() const;
    void parse(std::string_view text);
    /// The key's number; 0 when there is none.
    std::size_t findKey(std::string_view path) const;

    std::string m_path;
    /// The file that was read, kept open so that no other file can get its inode number.
    file::FileDescriptor m_file;
    struct stat m_status {};
    bool m_statusIsReliable = false;
    Tree<std::size_t> m_keys;
    Tree<RegistryValue> m_values;
};

} // namespace orvane_com::zun::registry
