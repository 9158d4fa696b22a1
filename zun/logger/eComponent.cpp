#include <zun/logger/eComponent.h>

namespace orvane_com::zun::logger {

std::wstring const subsystem_framework = L"Framework";
std::wstring const subsystem_scheduler = L"Scheduler";
std::wstring const subsystem_agent = L"Agent";
std::wstring const subsystem_inetmgr = L"InetMgr";
std::wstring const subsystem_tsinet = L"tsInet";
std::wstring const subsystem_plugin = L"Plugin";
std::wstring const subsystem_management = L"Management";
std::wstring const subsystem_xml = L"xml";
std::wstring const subsystem_updater = L"Updater";
std::wstring const subsystem_script = L"script";
std::wstring const subsystem_listenserver = L"ListenServer";

} // namespace orvane_com::zun::logger
