#pragma once

#include <zun/Api.h>

#include <string>
#include <vector>

namespace orvane_com::zun::logger {

/// The arguments of a catalog message, in the order of the %s places they fill.
class ZUN_API MultiArgs {
public:
    MultiArgs() = default;
    // NOLINTBEGIN(google-explicit-constructor): one argument is passed as it is
    MultiArgs(std::string const& argument);
    MultiArgs(std::wstring const& argument);
    // NOLINTEND(google-explicit-constructor)

    /// UTF-8; a malformed sequence becomes U+FFFD.
    MultiArgs& add(std::string const& argument);
    MultiArgs& add(std::wstring const& argument);
    /// In decimal, as a signed 32-bit number made of the low 32 bits.
    MultiArgs& add(long const& argument);
    MultiArgs& clear();

    std::vector<std::wstring> get() const;

private:
    std::vector<std::wstring> m_arguments;
};

} // namespace orvane_com::zun::logger
