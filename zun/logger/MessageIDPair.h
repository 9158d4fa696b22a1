#pragma once

#include <zun/Api.h>

#include <cstdint>

namespace orvane_com::zun::logger {

/// One row of the built-in message table.
class ZUN_API MessageIDPair {
public:
    constexpr MessageIDPair(std::int64_t id, char const* text) : m_id(id), m_text(text) {}
    constexpr std::int64_t getMessageID() const { return m_id; }
    /// ASCII; "%s" marks an argument's place.
    constexpr char const* getDefaultMessage() const { return m_text; }

private:
    std::int64_t m_id;
    char const* m_text;
};

} // namespace orvane_com::zun::logger
