#pragma once

#include <array>
#include <string_view>

namespace orvane_com::zun::logger {

/// Indexed by eComponent.
inline constexpr std::array<std::wstring_view, 11> componentNames = {
    L"Framework",  L"Scheduler", L"Agent",   L"InetMgr", L"tsInet",      L"Plugin",
    L"Management", L"xml",       L"Updater", L"script",  L"ListenServer"};

} // namespace orvane_com::zun::logger
