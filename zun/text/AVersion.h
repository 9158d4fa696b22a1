#pragma once

#include <zun/Api.h>
#include <zun/text/AString.h>

#include <compare>
#include <cstdint>

/// A version number of four decimal parts, the most significant first, each 0 to 65535.
class ZUN_API AVersion {
public:
    /// 0.0.0.0
    AVersion() = default;

    /// As set.
    AVersion(int part1, int part2, int part3, int part4);
    // NOLINTNEXTLINE(google-explicit-constructor): callers pass a version's text
    AVersion(wchar_t const* text);

    /// A part out of its range spills into the parts above it.
    void set(int part1, int part2, int part3, int part4);

    /// Reads "1.2.3.4" as far as it goes, like scanf's "%d.%d.%d.%d"; parts that are missing are 0. Null
    /// reads as an empty text.
    void set(wchar_t const* text);

    int get1() const { return part(48); }
    int get2() const { return part(32); }
    int get3() const { return part(16); }
    int get4() const { return part(0); }

    /// All four parts: "1.2.0.0".
    AString getString() const;

    /// -1, 0 or 1 as this version is below, equal to or above the other.
    int compare(AVersion const* other) const;

    bool operator==(AVersion const&) const = default;
    // NOLINTNEXTLINE(modernize-use-nullptr): takes the 0 that an ordering is compared with for a pointer
    std::strong_ordering operator<=>(AVersion const&) const = default;

private:
    int part(int shift) const { return static_cast<std::uint16_t>(m_packed >> shift); }

    /// The four parts in 16 bits each.
    std::uint64_t m_packed = 0;
};
