#pragma once

#include <zun/Api.h>

#include <cstdint>
#include <string>

namespace orvane_com::zun::logger {

/// The part of the agent that a catalog message speaks for.
enum eComponent : std::int32_t {
    Framework = 0,
    Scheduler = 1,
    Agent = 2,
    InetMgr = 3,
    tsInet = 4,
    Plugin = 5,
    Management = 6,
    Xml = 7,
    Updater = 8,
    Script = 9,
    ListenServer = 10,
};

/// The components' names as they stand in a log line.
extern ZUN_API std::wstring const subsystem_framework;
extern ZUN_API std::wstring const subsystem_scheduler;
extern ZUN_API std::wstring const subsystem_agent;
extern ZUN_API std::wstring const subsystem_inetmgr;
extern ZUN_API std::wstring const subsystem_tsinet;
extern ZUN_API std::wstring const subsystem_plugin;
extern ZUN_API std::wstring const subsystem_management;
extern ZUN_API std::wstring const subsystem_xml;
extern ZUN_API std::wstring const subsystem_updater;
extern ZUN_API std::wstring const subsystem_script;
extern ZUN_API std::wstring const subsystem_listenserver;

} // namespace orvane_com::zun::logger
