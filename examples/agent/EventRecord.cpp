#include "EventRecord.h"

#include <zun/binary/ABinaryStream.h>

namespace {

constexpr bool bigEndian = false;
constexpr unsigned int signature = 0x5A455645;
constexpr int productWidth = 32;
constexpr unsigned int recordSize = 4 + 4 + 2 + 4 * 2 + productWidth;

} // namespace

AnObjectBuffer<unsigned char> EventRecord::encode() const {
    AnObjectBuffer<unsigned char> record(recordSize, nullptr);
    ABinaryStream stream(reinterpret_cast<unsigned char*>(record.cpp_str().data()), record.size(), bigEndian);
    stream.writeUint32(signature);
    stream.writeUint32(id);
    stream.writeShort(severity);
    for (int const part : {version.get1(), version.get2(), version.get3(), version.get4()})
        stream.writeShort(static_cast<unsigned short>(part));
    stream.writeString(productWidth, product);
    return record;
}

bool EventRecord::decode(ABuffer const& bytes) {
    ABinaryStream stream(bytes.getBytes(), bytes.size(), bigEndian);
    bool const isRecord = stream.readUint32() == signature;
    id = stream.readUint32();
    severity = stream.readShort();
    int parts[4];
    for (int& part : parts)
        part = stream.readShort();
    version.set(parts[0], parts[1], parts[2], parts[3]);
    stream.readString(productWidth, product);
    return isRecord && !stream.pastEndError();
}
