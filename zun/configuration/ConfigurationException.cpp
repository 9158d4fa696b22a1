#include <zun/configuration/IConfiguration.h>
#include <zun/platform/helper/CommonHelper.h>

namespace orvane_com::zun::configuration {

ConfigurationException::ConfigurationException(std::wstring const& message, std::wstring const& place,
                                               int code)
    : m_message(message), m_code(code), m_place(place), m_what(helper::toNarrow(message)) {
    helper::writeLineToStandardOutput(m_what);
}

ConfigurationException::~ConfigurationException() = default;

} // namespace orvane_com::zun::configuration
