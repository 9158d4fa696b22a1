#pragma once

#include <zun/logger/eComponent.h>

#include <array>
#include <string_view>

namespace orvane_com::zun::logger {

/// Indexed by eComponent.
inline constexpr std::array<std::wstring_view, 11> componentNames = {
    L"Framework",  L"Scheduler", L"Agent",   L"InetMgr", L"tsInet",      L"Plugin",
    L"Management", L"xml",       L"Updater", L"script",  L"ListenServer"};

/// The agent's own name for a value that is no component.
constexpr std::wstring_view componentName(eComponent component) {
    bool const isKnown = component >= Framework && component <= ListenServer;
    return componentNames[static_cast<std::size_t>(isKnown ? component : Agent)];
}

} // namespace orvane_com::zun::logger
