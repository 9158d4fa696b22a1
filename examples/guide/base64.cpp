#include <zun/binary/Base64.h>
#include <zun/platform/helper/CommonHelper.h>

#include <iostream>
#include <string>
#include <vector>

/// Of a text that comes in pieces, cut anywhere.
std::string decodeInPieces(std::vector<std::string> const& pieces) {
    std::string bytes;
    int state = 0;
    for (std::string const& piece : pieces) {
        std::vector<char> room(piece.size());
        unsigned long const count =
            Base64Decode(piece.data(), piece.size(), room.data(), room.size(), &state, nullptr);
        bytes.append(room.data(), count);
    }
    return bytes;
}

int main() {
    AnObjectBuffer<unsigned char> bytes;
    bytes.allocate(4, reinterpret_cast<unsigned char const*>("\x00\xff\x10\x80"));
    AString const text = ABase64Encode::encode(bytes);
    AnObjectBuffer<unsigned char> const again = ABase64Encode::decode(text);
    std::cout << orvane_com::zun::helper::toNarrow(text.const_cpp_str()) << '\n'
              << (again.cpp_str() == bytes.cpp_str() ? "the same bytes\n" : "other bytes\n")
              << decodeInPieces({"SGVs", "bG8sIH", "d", "vcmxk\r\n"}) << '\n';
    return 0;
}
