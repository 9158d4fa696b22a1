#pragma once

#include <string>

namespace orvane_com::zun::file {

/// Copies a regular file's contents and permissions, without set-user-id, set-group-id and sticky bit;
/// `target`, be it a symbolic link, is replaced whole or left as it was, and only when it may be. False with
/// errno set and reasonFor it on failure.
bool copyFile(std::string const& source, std::string const& target, bool keepExisting);

} // namespace orvane_com::zun::file
