#pragma once

#include <zun/platform/xml/AdvXMLParser.h>
#include <zun/platform/xml/Block.h>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

namespace AdvXMLParser {

/// The memory of one document. What a parser makes is taken in sequence and given back all at once at the
/// end. What an edit makes is the system's memory, piece by piece, and given back as soon as it is released:
/// a document that is kept for months does not grow. Whatever is left at the end is given back then.
class Arena {
public:
    /// The characters that a slice can count.
    static constexpr std::size_t longestText = std::numeric_limits<std::uint32_t>::max();

    /// No more than `limit` bytes are taken in sequence.
    explicit Arena(std::size_t limit) : m_remaining(limit) {}
    ~Arena();
    Arena(Arena const&) = delete;
    Arena& operator=(Arena const&) = delete;

    /// In sequence, aligned for pointers. Throws std::length_error beyond the limit.
    void* take(std::size_t bytes) {
        if (static_cast<std::size_t>(m_end - m_top) < bytes)
            startChunk(bytes);
        return std::exchange(m_top, m_top + aligned(bytes));
    }

    /// Room in sequence for `count` more characters behind the text, which is empty or what was taken last.
    /// Throws std::length_error beyond the limit, or beyond longestText.
    wchar_t* extend(Slice& text, std::size_t count) {
        if (text.size == 0)
            text.data = reinterpret_cast<wchar_t*>(m_top);
        auto const room = m_end - reinterpret_cast<std::byte*>(text.data + text.size);
        if (static_cast<std::size_t>(room) / sizeof(wchar_t) < count)
            moveToNewChunk(text, count);
        return text.data + text.size;
    }
    /// Takes what was filled of that room.
    void finish(Slice& text, wchar_t const* end) {
        text.size = static_cast<std::uint32_t>(end - text.data);
        m_top = reinterpret_cast<std::byte*>(text.data) + aligned(text.size * sizeof(wchar_t));
    }

    /// By itself, aligned for pointers; to be released, or given back at the end.
    void* allocate(std::size_t bytes);
    static void release(void* memory);

private:
    static constexpr std::size_t firstChunk = 2048;
    static constexpr std::size_t largestChunk = std::size_t{2} * 1024 * 1024;

    static constexpr std::size_t aligned(std::size_t bytes) {
        return (bytes + alignof(void*) - 1) / alignof(void*) * alignof(void*);
    }

    struct Chunk {
        Block memory;
        std::size_t size;
    };
    /// Stands before each piece that was allocated by itself; all of them make a ring.
    struct Link {
        Link* previous = this;
        Link* next = this;
    };

    void startChunk(std::size_t bytes);
    void moveToNewChunk(Slice& text, std::size_t count);

    std::byte* m_top = nullptr;
    std::byte* m_end = nullptr;
    std::size_t m_remaining;
    std::size_t m_nextChunk = firstChunk;
    std::vector<Chunk> m_chunks;
    Link m_pieces;
};

} // namespace AdvXMLParser
