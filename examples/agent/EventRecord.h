#pragma once

#include <zun/binary/ABuffer.h>
#include <zun/text/AString.h>
#include <zun/text/AVersion.h>

/// One event as the agent keeps it until the server wants it: a binary record of a fixed size.
struct EventRecord {
    unsigned int id = 0;
    unsigned short severity = 0;
    AVersion version;
    AString product;

    AnObjectBuffer<unsigned char> encode() const;

    /// False when the bytes are no such record.
    bool decode(ABuffer const& bytes);
};
