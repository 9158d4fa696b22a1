#pragma once

#include <zun/Api.h>

#include <compare>
#include <concepts>
#include <string>

/// A growable block of raw bytes with value semantics.
///
/// A zero byte stands behind the last counted byte, so that a buffer holding text reads as a NUL-terminated
/// one. Bytes gained by growing are zero. The "try" operations answer a failed allocation with false, an
/// error logged under "Buffer" and the contents as they were; allocate and the constructors let the
/// allocator's exception through. A `source` may point into the buffer itself: bytes past its end read as
/// zero. Distinct objects may be used by several threads at once, one object by one thread at a time.
class ZUN_API ABuffer {
public:
    ABuffer() = default;

    /// As allocate.
    ABuffer(unsigned long size, unsigned char const* source);

    /// The text's bytes without its terminator; null gives an empty buffer.
    // NOLINTNEXTLINE(google-explicit-constructor): callers pass a text for its bytes
    ABuffer(char const* text);

    /// Changes the size, then copies `size` bytes from `source` unless it is null. Returns getBytes().
    unsigned char const* allocate(unsigned long size,
                                  unsigned char const* source = nullptr) ZUN_LIFETIME_BOUND;

    /// True: the store has no guard to examine.
    bool checkAllocation() const { return true; }

    bool tryToChangeSizeTo(unsigned long size);

    /// Makes the room that the buffer takes to grow to `size` bytes; contents and size stay.
    bool tryToReserve(unsigned long size);

    /// allocate, without exceptions.
    bool tryAllocate(unsigned long size, unsigned char const* source = nullptr);

    /// Appends `count` bytes from `source`; zero bytes when it is null.
    bool tryExpandBy(unsigned long count, unsigned char const* source = nullptr);

    /// Cuts the buffer to `size` bytes; a shorter one is left alone.
    void shrinkTo(unsigned long size);

    /// In bytes.
    unsigned long size() const { return m_store.size(); }

    /// Valid until the size changes.
    unsigned char const* getBytes() const ZUN_LIFETIME_BOUND {
        return reinterpret_cast<unsigned char const*>(m_store.data());
    }

    std::string& cpp_str() ZUN_LIFETIME_BOUND { return m_store; }
    std::string const& cpp_str() const ZUN_LIFETIME_BOUND { return m_store; }

    /// Byte by byte.
    template <std::derived_from<ABuffer> Left, std::derived_from<ABuffer> Right>
    friend bool operator==(Left const& left, Right const& right) {
        return left.cpp_str() == right.cpp_str();
    }
    template <std::derived_from<ABuffer> Left, std::derived_from<ABuffer> Right>
    friend std::strong_ordering operator<=>(Left const& left, Right const& right) {
        return left.cpp_str().compare(right.cpp_str()) <=> 0;
    }
    // By itself too: with <=> alone, std::less<> would order the bytes' addresses.
    template <std::derived_from<ABuffer> Left, std::derived_from<ABuffer> Right>
    friend bool operator<(Left const& left, Right const& right) {
        return left.cpp_str() < right.cpp_str();
    }
    template <std::derived_from<ABuffer> Left, std::derived_from<ABuffer> Right>
    friend bool operator>(Left const& left, Right const& right) {
        return left.cpp_str() > right.cpp_str();
    }

private:
    std::string m_store;
};

/// A typed buffer; bytes are the one form there is.
template <typename Object>
class AnObjectBuffer;

template <>
class ZUN_API AnObjectBuffer<unsigned char> : public ABuffer {
public:
    AnObjectBuffer() = default;
    AnObjectBuffer(unsigned int count, unsigned char const* source) : ABuffer(count, source) {}

    // NOLINTNEXTLINE(google-explicit-constructor): it goes wherever bytes are taken
    operator unsigned char const*() const ZUN_LIFETIME_BOUND { return getBytes(); }
};
