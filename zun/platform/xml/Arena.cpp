#include <zun/platform/xml/Arena.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <stdexcept>

namespace AdvXMLParser {

Arena::~Arena() {
    while (m_pieces.next != &m_pieces)
        release(m_pieces.next + 1);
}

void Arena::startChunk(std::size_t bytes) {
    std::size_t const size = std::max(aligned(bytes), m_nextChunk);
    if (size > m_remaining)
        throw std::length_error("document too large for the length of its text");
    m_chunks.push_back({allocateBlock(size), size});
    m_remaining -= size;
    m_top = m_chunks.back().memory.get();
    m_end = m_top + size;
    m_nextChunk = std::min(2 * m_nextChunk, largestChunk);
}

void Arena::moveToNewChunk(Slice& text, std::size_t count) {
    std::size_t const needed = text.size + count;
    if (needed > longestText)
        throw std::length_error("text too long for a document");
    // A text that goes on growing gets twice the room, and gives back a chunk that it had for itself.
    bool const hadChunk =
        text.size > 0 && reinterpret_cast<std::byte*>(text.data) == m_chunks.back().memory.get();
    startChunk((text.size > 0 ? std::min(2 * needed, longestText) : needed) * sizeof(wchar_t));
    if (text.size > 0)
        std::memcpy(m_top, text.data, text.size * sizeof(wchar_t));
    text.data = reinterpret_cast<wchar_t*>(m_top);
    if (hadChunk) {
        auto const former = m_chunks.end() - 2;
        m_remaining += former->size;
        m_chunks.erase(former);
    }
}

void* Arena::allocate(std::size_t bytes) {
    auto* const link = new (::operator new(sizeof(Link) + bytes)) Link{m_pieces.previous, &m_pieces};
    link->previous->next = m_pieces.previous = link;
    return link + 1;
}

void Arena::release(void* memory) {
    Link* const link = static_cast<Link*>(memory) - 1;
    link->previous->next = link->next;
    link->next->previous = link->previous;
    ::operator delete(link);
}

} // namespace AdvXMLParser
