#include <zun/binary/ABinaryStream.h>
#include <zun/binary/ByteOrder.h>
#include <zun/linux/log.h>
#include <zun/text/ACharString.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>

namespace {

constexpr wchar_t const group[] = L"BinStrm";

} // namespace

ABinaryStream::ABinaryStream(bool littleEndian) {
    construct(nullptr, nullptr, littleEndian);
}

ABinaryStream::ABinaryStream(unsigned char* block, unsigned long size, bool littleEndian)
    : m_littleEndian(littleEndian) {
    setPointer(block, size);
}

void ABinaryStream::construct(unsigned char* begin, unsigned char* end, bool littleEndian) {
    setPointer(begin, reinterpret_cast<std::uintptr_t>(end) - reinterpret_cast<std::uintptr_t>(begin));
    m_littleEndian = littleEndian;
}

void ABinaryStream::setPointer(unsigned char* block, unsigned long size) {
    m_block = block;
    m_size = size;
    m_position = 0;
    m_constant = false;
    m_pastEnd = false;
}

void ABinaryStream::setConstant(unsigned char const* block, unsigned long size) {
    setPointer(const_cast<unsigned char*>(block), size);
    m_constant = true;
}

/// No block wraps around the end of the address space: such a size is a negative one.
bool ABinaryStream::canExist() const {
    return m_block ? m_size <= std::numeric_limits<std::uintptr_t>::max() -
                                   reinterpret_cast<std::uintptr_t>(m_block)
                   : m_size == 0;
}

unsigned char* ABinaryStream::getPointer() {
    // As an address: beyond the block's end there is no pointer arithmetic.
    // NOLINTNEXTLINE(performance-no-int-to-ptr): for this reason
    return reinterpret_cast<unsigned char*>(reinterpret_cast<std::uintptr_t>(m_block) + m_position);
}

bool ABinaryStream::atEnd() const {
    return m_pastEnd || m_position == m_size || !canExist();
}

bool ABinaryStream::pastEndWith(unsigned long count) {
    if (!m_pastEnd && count <= m_size - m_position && canExist())
        return false;
    m_pastEnd = true;
    m_position += count;
    return true;
}

bool ABinaryStream::pastEndWriting(unsigned long count) {
    m_pastEnd = m_pastEnd || (m_constant && count > 0);
    return pastEndWith(count);
}

bool ABinaryStream::pastEndError() const {
    if (!m_pastEnd)
        return false;
    AString message(L"Tried to write past buffer end by ");
    message << static_cast<int>(m_position - m_size);
    logInternalError(group, message);
    return true;
}

/// The next `count` bytes, which must be there.
unsigned char* ABinaryStream::take(unsigned long count) {
    unsigned char* const bytes = m_block + m_position;
    m_position += count;
    return bytes;
}

template <typename Integer>
Integer ABinaryStream::read() {
    Integer value = 0;
    if (!pastEndWith(sizeof value))
        std::memcpy(&value, take(sizeof value), sizeof value);
    return value;
}

template <typename Integer>
void ABinaryStream::write(Integer value) {
    if (!pastEndWriting(sizeof value))
        std::memcpy(take(sizeof value), &value, sizeof value);
}

unsigned int ABinaryStream::readUint32() {
    auto const value = read<unsigned int>();
    return m_littleEndian ? Le2Host4(value) : Be2Host4(value);
}

unsigned short ABinaryStream::readShort() {
    auto const value = read<unsigned short>();
    return m_littleEndian ? Le2Host2(value) : Be2Host2(value);
}

char ABinaryStream::readChar() {
    return read<char>();
}

int ABinaryStream::readString(int width, AString& out) {
    if (pastEndWith(static_cast<unsigned long>(width))) {
        out = L"";
        return 0;
    }
    ACharString const field(reinterpret_cast<char const*>(getPointer()), width);
    out = static_cast<char const*>(field);
    take(static_cast<unsigned long>(width));
    return width;
}

int ABinaryStream::readString(int width, std::string& out) {
    out.clear();
    if (pastEndWith(static_cast<unsigned long>(width)))
        return 0;
    unsigned char const* const field = getPointer();
    out.assign(field, std::find(field, field + width, 0));
    take(static_cast<unsigned long>(width));
    return width;
}

int ABinaryStream::readBuffer(int count, AnObjectBuffer<unsigned char>& out) {
    if (pastEndWith(static_cast<unsigned long>(count))) {
        out.shrinkTo(0);
        return 0;
    }
    out.allocate(static_cast<unsigned long>(count), getPointer());
    take(static_cast<unsigned long>(count));
    return count;
}

void ABinaryStream::writeChar(char c) {
    write(c);
}

void ABinaryStream::writeUint32(unsigned int v) {
    write(m_littleEndian ? Host2Le4(v) : Host2Be4(v));
}

void ABinaryStream::writeShort(unsigned short v) {
    write(m_littleEndian ? Host2Le2(v) : Host2Be2(v));
}

void ABinaryStream::writeString(unsigned long width, AString const& text) {
    if (pastEndWriting(width))
        return;
    ACharString const narrow(text);
    putField(width, narrow, std::min(width, static_cast<unsigned long>(narrow.size())));
}

void ABinaryStream::writeString(AString const& text) {
    writeString(static_cast<unsigned long>(conversionSpaceRequired(text) - 1), text);
}

void ABinaryStream::writeBuffer(AnObjectBuffer<unsigned char> const& buffer, unsigned long count) {
    if (count == 0 || count > buffer.size())
        count = buffer.size();
    if (!pastEndWriting(count))
        putField(count, buffer.cpp_str().data(), count);
}

/// `count` bytes and as many zero bytes as fill up the width, for which there is room.
void ABinaryStream::putField(unsigned long width, char const* bytes, unsigned long count) {
    if (width == 0)
        return;
    unsigned char* const field = take(width);
    std::memmove(field, bytes, count);
    std::fill(field + count, field + width, static_cast<unsigned char>(0));
}
