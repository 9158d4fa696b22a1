#include <zun/binary/ABuffer.h>
#include <zun/linux/log.h>

#include <algorithm>
#include <cstring>
#include <cwchar>
#include <exception>
#include <functional>
#include <iterator>
#include <optional>

namespace {

constexpr wchar_t const group[] = L"Buffer";

/// False, with the failure logged as one of a request for `requested` bytes, when `operation` throws.
template <typename Operation>
bool tryTo(Operation operation, unsigned long requested) {
    try {
        operation();
        return true;
    } catch (std::exception const& failure) {
        // Where memory is short, the report takes none.
        wchar_t message[256] = L"";
        std::swprintf(message, std::size(message), L"Exception %s trying to allocate %u bytes",
                      failure.what(), static_cast<unsigned int>(requested));
        logError(group, message);
        return false;
    }
}

/// Where in the store, its final zero byte included, `source` points.
std::optional<std::size_t> offsetInStore(std::string const& store, unsigned char const* source) {
    char const* const byte = reinterpret_cast<char const*>(source);
    std::less<> const before;
    if (!source || before(byte, store.data()) || before(store.data() + store.size(), byte))
        return std::nullopt;
    return static_cast<std::size_t>(byte - store.data());
}

/// Makes the store the `size` bytes from its own `offset` on.
void moveToFront(std::string& store, std::size_t offset, std::size_t size) {
    std::size_t const kept = std::min(size, store.size() - offset);
    store.resize(std::max(size, store.size()));
    std::memmove(store.data(), store.data() + offset, kept);
    std::fill(store.begin() + static_cast<std::ptrdiff_t>(kept), store.end(), '\0');
    store.resize(size);
}

} // namespace

ABuffer::ABuffer(unsigned long size, unsigned char const* source) {
    allocate(size, source);
}

ABuffer::ABuffer(char const* text) {
    if (text)
        m_store = text;
}

unsigned char const* ABuffer::allocate(unsigned long size, unsigned char const* source) {
    if (auto const offset = offsetInStore(m_store, source))
        moveToFront(m_store, *offset, size);
    else if (source)
        m_store.assign(reinterpret_cast<char const*>(source), size);
    else
        m_store.resize(size);
    return getBytes();
}

bool ABuffer::tryToChangeSizeTo(unsigned long size) {
    return tryTo([&] { m_store.resize(size); }, size);
}

bool ABuffer::tryToReserve(unsigned long size) {
    return tryTo([&] { m_store.reserve(size); }, size);
}

bool ABuffer::tryAllocate(unsigned long size, unsigned char const* source) {
    return tryTo([&] { allocate(size, source); }, size) && checkAllocation();
}

bool ABuffer::tryExpandBy(unsigned long count, unsigned char const* source) {
    std::size_t const oldSize = m_store.size();
    auto const expand = [&] {
        auto const offset = offsetInStore(m_store, source);
        if (source && !offset) {
            m_store.append(reinterpret_cast<char const*>(source), count);
            return;
        }
        bool const canExist = count <= m_store.max_size() - oldSize;
        m_store.resize(canExist ? oldSize + count : std::string::npos);
        if (offset)
            std::memmove(m_store.data() + oldSize, m_store.data() + *offset, count);
    };
    return tryTo(expand, oldSize + count) && checkAllocation();
}

void ABuffer::shrinkTo(unsigned long size) {
    if (size < m_store.size())
        m_store.resize(size);
}
