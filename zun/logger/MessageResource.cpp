#include <zun/logger/MessageResource.h>
#include <zun/logger/MessageTable.h>
#include <zun/logger/logInSyslog.h>
#include <zun/platform/helper/CommonHelper.h>

#include <cstdlib>

namespace orvane_com::zun::logger {

bool MessageResource::isInitialized = false;

MessageResource::MessageResource(long id) : m_id(id) {}

bool MessageResource::initialize() {
    if (isInitialized)
        return true;
    std::string searchPath;
    if (char const* const current = std::getenv("NLSPATH"))
        searchPath.append(current).append(":");
    searchPath += "/usr/share/locale/en_US/LC_MESSAGES/%N";
    constexpr int overwrite = 1;
    if (setenv("NLSPATH", searchPath.c_str(), overwrite) != 0) {
        logInSyslog("Logger failed to set NLSPATH");
        return false;
    }
    isInitialized = true;
    return true;
}

bool MessageResource::getRawMessage(std::wstring& text) const {
    if (!isInitialized)
        return false;
    std::wstring found;
    bool const known = getCatalogMessage(found);
    text = std::move(found);
    return known;
}

bool MessageResource::getCatalogMessage(std::wstring& text) const {
    // Before initialize the table counts as empty.
    MessageIDPair const* const row = isInitialized ? findMessage(m_id) : nullptr;
    if (!row)
        return false;
    text = helper::toWide(row->getDefaultMessage());
    return true;
}

} // namespace orvane_com::zun::logger
