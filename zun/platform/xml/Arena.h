#pragma once

#include <zun/platform/xml/AdvXMLParser.h>
#include <zun/platform/xml/Block.h>

#include <array>
#include <cstddef>
#include <vector>

namespace AdvXMLParser {

/// The memory of one document: handed out in sequence and given back all at once at the end. While a document
/// is edited, pieces that are released are handed out again: one that is kept for months does not grow.
class Arena {
public:
    Arena() = default;
    Arena(Arena const&) = delete;
    Arena& operator=(Arena const&) = delete;

    static constexpr std::size_t largestNode = 128;

    /// Aligned for pointers; at most `largestNode` bytes. To be released with the same count of bytes.
    void* allocateNode(std::size_t bytes);
    void releaseNode(void* memory, std::size_t bytes);

    /// Makes room for `capacity` characters in all; those that the slice has are kept. Throws
    /// std::length_error beyond what a slice can count.
    void reserve(Slice& slice, std::size_t capacity) {
        if (capacity > slice.capacity)
            grow(slice, capacity);
    }

    /// Gives back what the slice does not use, if nothing was allocated after it.
    void shrink(Slice& slice);

    void release(Slice& slice);

    /// From now on the memory of slices that were released is handed out again. For this it comes in powers
    /// of two.
    void startReusing() { m_reuses = true; }

private:
    static constexpr std::size_t firstChunk = 2048;
    static constexpr std::size_t largestChunk = 2 * 1024 * 1024;
    /// Greater pieces are allocated and freed by themselves.
    static constexpr std::size_t largestPiece = 64 * 1024;

    struct Free {
        Free* next;
    };

    void grow(Slice& slice, std::size_t capacity);
    std::byte* allocatePiece(std::size_t& bytes);
    void releasePiece(void* memory, std::size_t bytes);
    std::byte* takeFromChunk(std::size_t bytes);
    void startChunk(std::size_t bytes);

    std::byte* m_top = nullptr;
    std::byte* m_end = nullptr;
    std::size_t m_nextChunk = firstChunk;
    std::vector<Block> m_chunks;
    std::vector<Block> m_large;
    /// By the binary logarithm of the least size that a list holds.
    std::array<Free*, 17> m_free{};
    /// By the size, in pointers.
    std::array<Free*, largestNode / sizeof(void*) + 1> m_freeNodes{};
    bool m_reuses = false;
};

} // namespace AdvXMLParser
