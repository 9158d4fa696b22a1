#pragma once

#include <string>

namespace orvane_com::zun::file {

/// Sets errno to `error`, and what reasonFor tells of it in this thread until the next look for a file.
/// `reason` is a literal that follows on the file's name: "it belongs to another user".
void refuse(int error, char const* reason);

/// Forgets the last refusal of this thread.
void forgetRefusal();

/// Whether the operation that has just failed with this error number was refused by this room, not by the
/// system.
bool isRefusal(int error);

/// Why the operation that has just failed with this error number did: the reason of a refusal by this room,
/// or the system's text.
std::string reasonFor(int error);

} // namespace orvane_com::zun::file
