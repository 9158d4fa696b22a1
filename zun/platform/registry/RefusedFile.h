#pragma once

#include <string>

namespace orvane_com::zun::registry {

/// Logs, as an error of the group, why the file was refused, if that is what the operation that has just
/// failed met: it is no file to be used, a stranger's, or its lock was not had. Other failures are the
/// caller's to tell. Leaves errno as it was. Not while a lock is held.
void logRefusal(wchar_t const* group, std::string const& path);

} // namespace orvane_com::zun::registry
