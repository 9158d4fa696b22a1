#include <zun/logger/MultiArgs.h>
#include <zun/platform/helper/CommonHelper.h>

#include <cstdint>

namespace orvane_com::zun::logger {

MultiArgs::MultiArgs(std::string const& argument) {
    add(argument);
}

MultiArgs::MultiArgs(std::wstring const& argument) {
    add(argument);
}

MultiArgs& MultiArgs::add(std::string const& argument) {
    return add(helper::toWide(argument));
}

MultiArgs& MultiArgs::add(std::wstring const& argument) {
    m_arguments.push_back(argument);
    return *this;
}

MultiArgs& MultiArgs::add(long const& argument) {
    return add(helper::longToWide(static_cast<std::int32_t>(argument)));
}

MultiArgs& MultiArgs::clear() {
    m_arguments.clear();
    return *this;
}

std::vector<std::wstring> MultiArgs::get() const {
    return m_arguments;
}

} // namespace orvane_com::zun::logger
