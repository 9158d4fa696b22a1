#pragma once

#include <zun/Api.h>
#include <zun/binary/ABuffer.h>
#include <zun/text/AString.h>

#include <concepts>
#include <string>
#include <type_traits>

/// A record in memory that must not be written to.
template <typename Block>
concept AConstantRecord = std::convertible_to<Block const&, unsigned char const*> &&
                          !std::convertible_to<Block const&, unsigned char*> &&
                          !std::is_null_pointer_v<Block>;

/// Reads and writes packed binary records in a block of memory that stays the caller's and must outlive its
/// use.
///
/// An access that would leave the block touches nothing, sets a flag that stays set until setPointer, and
/// from then on every access is skipped; each still counts its size. So record code asks once, at a record's
/// end, with pastEndError. A negative count or width is such an overrun, and so is every access to a block
/// that cannot exist, and every write to a constant record. Nothing but pastEndError logs, short of text that
/// cannot be converted. An access that throws std::bad_alloc leaves the position where it was. One thread at
/// a time.
class ZUN_API ABinaryStream {
public:
    /// Without a block.
    explicit ABinaryStream(bool littleEndian);
    /// A block comes with its size and byte order.
    explicit ABinaryStream(std::convertible_to<void const volatile*> auto const& block) = delete;
    ABinaryStream(unsigned char* block, unsigned long size, bool littleEndian);
    /// For reading.
    ABinaryStream(AConstantRecord auto const& block, unsigned long size, bool littleEndian)
        : ABinaryStream(littleEndian) {
        setPointer(block, size);
    }

    /// Starts afresh on the bytes from `begin` up to `end`.
    void construct(unsigned char* begin, unsigned char* end, bool littleEndian);

    /// A new block in the same byte order; clears the overrun.
    void setPointer(unsigned char* block, unsigned long size);
    void setPointer(AConstantRecord auto const& block, unsigned long size) { setConstant(block, size); }

    /// The next byte to read, or to write where there is no constant record. After an overrun it counts on
    /// past the block's end, as an address that must not be used.
    unsigned char* getPointer();

    /// True as well after an overrun.
    bool atEnd() const;

    /// Whether an access of `count` bytes overruns; if so, it counts as one that did.
    bool pastEndWith(unsigned long count);

    /// Whether there was an overrun. If so, logs an internal error under "BinStrm" with the number of bytes
    /// that the record ran past the block, at every call.
    bool pastEndError() const;

    /// The reads give 0 or nothing on overrun.
    unsigned int readUint32();
    unsigned short readShort();
    char readChar();

    /// A field of `width` bytes, in the process's current locale, up to its first NUL. Returns the width; 0
    /// on overrun.
    int readString(int width, AString& out);

    /// The same field without conversion.
    int readString(int width, std::string& out);

    /// Replaces the contents of `out`. Returns the count; 0 on overrun.
    int readBuffer(int count, AnObjectBuffer<unsigned char>& out);

    void writeChar(char c);
    void writeUint32(unsigned int v);
    void writeShort(unsigned short v);

    /// A field of exactly `width` bytes: the text in the process's current locale, cut to the width or filled
    /// up with zero bytes.
    void writeString(unsigned long width, AString const& text);

    /// The text's bytes in the process's current locale and nothing after them.
    void writeString(AString const& text);

    /// The first `count` bytes of the buffer; all of them when `count` is 0 or not less than its size.
    void writeBuffer(AnObjectBuffer<unsigned char> const& buffer, unsigned long count);

private:
    void setConstant(unsigned char const* block, unsigned long size);
    bool canExist() const;
    bool pastEndWriting(unsigned long count);
    unsigned char* take(unsigned long count);
    template <typename Integer>
    Integer read();
    template <typename Integer>
    void write(Integer value);
    void putField(unsigned long width, char const* bytes, unsigned long count);

    unsigned char* m_block = nullptr;
    unsigned long m_size = 0;
    /// Counted modulo the address space; beyond m_size only after an overrun.
    unsigned long m_position = 0;
    bool m_constant = false;
    bool m_littleEndian = true;
    bool m_pastEnd = false;
};
