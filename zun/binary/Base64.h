#pragma once

#include <zun/Api.h>
#include <zun/binary/ABuffer.h>
#include <zun/text/AString.h>

// Base64 by RFC 4648: the standard alphabet, "=" for padding, no line breaks. Any thread may call these
// functions; none logs.
//
// A call that stops because the destination is full can be taken up by another one through `state`, an int
// that begins as 0; null starts afresh and saves nothing. `consumed`, unless null, receives how much of the
// source was used.

/// Returns the number of characters written; no NUL follows them. The padding is written at the end of every
/// call that has the room, so the source of one text goes into one call, or into several cut at multiples of
/// 3 bytes. When the destination has room for all but the last character of a group of 4, taking up loses the
/// low 2 bits of that character: give it multiples of 4. A null source writes what the state still holds.
[[nodiscard]] ZUN_API unsigned long Base64Encode(void const* source, unsigned long sourceSize,
                                                 char* destination, unsigned long destinationSize, int* state,
                                                 unsigned long* consumed);

/// Returns the number of bytes written. Characters outside the alphabet are skipped; "=" ends a group and
/// drops its unfinished byte. The source may be cut anywhere. A `sourceSize` of 0x7fffffff or more stands for
/// a NUL-terminated source.
[[nodiscard]] ZUN_API unsigned long Base64Decode(char const* source, unsigned long sourceSize,
                                                 void* destination, unsigned long destinationSize, int* state,
                                                 unsigned long* consumed);

/// Base64 between buffers and text. An allocation that fails gives an empty result.
class ZUN_API ABase64Encode {
public:
    static AString encode(ABuffer const& bytes);
    /// Null data stand for zero bytes.
    static AString encode(unsigned char const* data, unsigned long const& size);

    /// The text goes through the process's current locale, see ACharString.
    static AnObjectBuffer<unsigned char> decode(AString const& text);
};
