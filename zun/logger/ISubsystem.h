#pragma once

#include <zun/Api.h>

namespace orvane_com::zun::subsystem {

/// What the agent starts, stops, checks and configures alike.
class ZUN_API ISubsystem {
public:
    virtual bool Start() = 0;
    virtual bool Stop() = 0;
    /// True while started.
    virtual bool CheckSubsystem() = 0;
    virtual bool EnforcePolicy() = 0;
    virtual ~ISubsystem();
};

} // namespace orvane_com::zun::subsystem
