#pragma once

#include <zun/logger/MessageIDPair.h>

#include <cstddef>
#include <cstdint>

namespace orvane_com::zun::logger {

inline constexpr std::size_t messageCount = 301;

/// The row of the built-in message table, ordered by id; null when there is none.
MessageIDPair const* findMessage(std::int64_t id);

} // namespace orvane_com::zun::logger
