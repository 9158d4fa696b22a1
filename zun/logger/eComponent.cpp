#include <zun/logger/ComponentNames.h>
#include <zun/logger/eComponent.h>

namespace orvane_com::zun::logger {

std::wstring const subsystem_framework(componentNames[Framework]);
std::wstring const subsystem_scheduler(componentNames[Scheduler]);
std::wstring const subsystem_agent(componentNames[Agent]);
std::wstring const subsystem_inetmgr(componentNames[InetMgr]);
std::wstring const subsystem_tsinet(componentNames[tsInet]);
std::wstring const subsystem_plugin(componentNames[Plugin]);
std::wstring const subsystem_management(componentNames[Management]);
std::wstring const subsystem_xml(componentNames[Xml]);
std::wstring const subsystem_updater(componentNames[Updater]);
std::wstring const subsystem_script(componentNames[Script]);
std::wstring const subsystem_listenserver(componentNames[ListenServer]);

} // namespace orvane_com::zun::logger
