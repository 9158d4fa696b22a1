#include <zun/logger/ISubsystem.h>

namespace orvane_com::zun::subsystem {

ISubsystem::~ISubsystem() = default;

} // namespace orvane_com::zun::subsystem
