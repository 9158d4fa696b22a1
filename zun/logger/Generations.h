#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace orvane_com::zun::logger {

/// The numbered backups of one log file: base + "_backup_" + number + "." + extension, where base ends at the
/// first dot of the whole path. Readers of the logs know this rule: a dot in a directory's name counts.
class Generations {
public:
    explicit Generations(std::string const& path);

    std::string path(std::int32_t number) const;

    /// The numbers, below `end`, of the generations that exist; the oldest, which is the greatest, first.
    std::vector<std::int32_t> existing(std::int32_t end) const;

private:
    /// False where the directory may not be listed, or the locale cannot read the name.
    bool list(std::vector<std::int32_t>& numbers, std::int32_t end) const;

    std::optional<std::int32_t> numberOf(std::string const& backup) const;

    std::string m_before;
    std::string m_after;
};

} // namespace orvane_com::zun::logger
