#pragma once

#include <string>
#include <string_view>

namespace orvane_com::zun::registry {

/// Equal for names that differ in case alone, whatever the process's locale: each character of a UTF-8 name
/// by Unicode's simple case folding, which knows no language (a dotted capital I is no i). Bytes that are no
/// UTF-8 stay as they are.
std::string foldCase(std::string_view name);

} // namespace orvane_com::zun::registry
