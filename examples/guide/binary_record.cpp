#include <zun/binary/ABinaryStream.h>
#include <zun/linux/log.h>
#include <zun/platform/helper/CommonHelper.h>

#include <array>
#include <iostream>

constexpr bool littleEndian = true;
constexpr int nameWidth = 16;

unsigned long writeRecord(unsigned char* block, unsigned long size, unsigned id, AString const& name) {
    ABinaryStream stream(block, size, littleEndian);
    stream.writeUint32(id);
    stream.writeShort(1);
    stream.writeString(nameWidth, name); // cut to the width, or filled up with zero bytes
    return stream.pastEndError() ? 0 : static_cast<unsigned long>(stream.getPointer() - block);
}

bool readRecord(unsigned char* block, unsigned long size, unsigned& id, AString& name) {
    ABinaryStream stream(block, size, littleEndian);
    id = stream.readUint32();
    bool const isKnown = stream.readShort() == 1;
    stream.readString(nameWidth, name);
    return !stream.pastEndError() && isKnown;
}

int main() {
    setupLog(L"log/agent.log", L"", false, false);
    std::array<unsigned char, 64> block{};
    unsigned long const size = writeRecord(block.data(), block.size(), 7, L"inventory");
    unsigned id = 0;
    AString name;
    if (readRecord(block.data(), size, id, name))
        std::cout << size << " bytes: " << id << ' '
                  << orvane_com::zun::helper::toNarrow(name.const_cpp_str()) << '\n';
    if (!readRecord(block.data(), size - 1, id, name))
        std::cout << "too short\n";
    return 0;
}
