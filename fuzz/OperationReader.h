#pragma once

#include <cstddef>

/// A fuzz target's input as a program: a byte an operation or an operand.
class OperationReader {
public:
    OperationReader(unsigned char const* data, std::size_t size) : m_next(data), m_end(data + size) {}

    bool isAtEnd() const { return m_next == m_end; }

    /// Below `count`; 0 at the end.
    std::size_t take(std::size_t count) { return isAtEnd() ? 0 : *m_next++ % count; }

    /// One of an array's elements.
    template <typename Item, std::size_t count>
    Item const& pick(Item const (&items)[count]) {
        return items[take(count)];
    }

private:
    unsigned char const* m_next;
    unsigned char const* m_end;
};
