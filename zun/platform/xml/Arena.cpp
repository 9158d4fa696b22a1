#include <zun/platform/xml/Arena.h>

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>
#include <new>
#include <stdexcept>
#include <utility>

namespace AdvXMLParser {

namespace {

constexpr std::size_t alignment = alignof(void*);

constexpr std::size_t aligned(std::size_t bytes) {
    return (bytes + alignment - 1) / alignment * alignment;
}

std::size_t sizeClass(std::size_t bytes) {
    return static_cast<std::size_t>(std::bit_width(bytes)) - 1;
}

std::byte* endOf(Slice const& slice) {
    return reinterpret_cast<std::byte*>(slice.data + slice.capacity);
}

} // namespace

void Arena::startChunk(std::size_t bytes) {
    std::size_t const size = std::max(bytes, m_nextChunk);
    m_chunks.push_back(allocateBlock(size));
    m_top = m_chunks.back().get();
    m_end = m_top + size;
    m_nextChunk = std::min(2 * m_nextChunk, largestChunk);
}

std::byte* Arena::allocatePiece(std::size_t& bytes) {
    bytes = aligned(bytes);
    if (bytes > largestPiece) {
        m_large.push_back(allocateBlock(bytes));
        return m_large.back().get();
    }
    if (m_reuses) {
        bytes = std::bit_ceil(bytes);
        Free*& list = m_free[sizeClass(bytes)];
        if (list != nullptr)
            return reinterpret_cast<std::byte*>(std::exchange(list, list->next));
    }
    return takeFromChunk(bytes);
}

std::byte* Arena::takeFromChunk(std::size_t bytes) {
    if (static_cast<std::size_t>(m_end - m_top) < bytes)
        startChunk(bytes);
    return std::exchange(m_top, m_top + bytes);
}

void* Arena::allocateNode(std::size_t bytes) {
    Free*& list = m_freeNodes[aligned(bytes) / sizeof(void*)];
    return list != nullptr ? std::exchange(list, list->next)
                           : static_cast<void*>(takeFromChunk(aligned(bytes)));
}

void Arena::releaseNode(void* memory, std::size_t bytes) {
    Free*& list = m_freeNodes[aligned(bytes) / sizeof(void*)];
    list = new (memory) Free{list};
}

void Arena::releasePiece(void* memory, std::size_t bytes) {
    if (bytes > largestPiece) {
        std::erase_if(m_large, [memory](auto const& piece) { return piece.get() == memory; });
    } else if (bytes >= sizeof(Free)) {
        Free*& list = m_free[sizeClass(bytes)];
        list = new (memory) Free{list};
    }
}

void Arena::grow(Slice& slice, std::size_t capacity) {
    // An even count of characters keeps the alignment.
    capacity += capacity % 2;
    std::size_t const added = (capacity - slice.capacity) * sizeof(wchar_t);
    if (slice.capacity > 0 && endOf(slice) == m_top && added <= static_cast<std::size_t>(m_end - m_top)) {
        m_top += added;
        slice.capacity = static_cast<std::uint32_t>(capacity);
        return;
    }
    std::size_t bytes =
        std::max(capacity, slice.capacity + std::size_t{slice.capacity} / 2) * sizeof(wchar_t);
    if (bytes / sizeof(wchar_t) > std::numeric_limits<std::uint32_t>::max() - 1)
        throw std::length_error("text too long for a document");
    Slice grown;
    grown.data = reinterpret_cast<wchar_t*>(allocatePiece(bytes));
    grown.size = slice.size;
    grown.capacity = static_cast<std::uint32_t>(bytes / sizeof(wchar_t));
    if (slice.size > 0)
        std::memcpy(grown.data, slice.data, slice.size * sizeof(wchar_t));
    release(slice);
    slice = grown;
}

void Arena::shrink(Slice& slice) {
    if (slice.capacity == 0 || endOf(slice) != m_top)
        return;
    slice.capacity = slice.size + slice.size % 2;
    m_top = endOf(slice);
}

void Arena::release(Slice& slice) {
    if (slice.capacity > 0)
        releasePiece(slice.data, slice.capacity * sizeof(wchar_t));
    slice = {};
}

} // namespace AdvXMLParser
