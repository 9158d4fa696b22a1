#include <zun/binary/Base64.h>
#include <zun/binary/ByteOrder.h>
#include <zun/text/ACharString.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <exception>
#include <string>

namespace {

constexpr char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr char pad = '=';

/// The two characters of every 12 bits.
constexpr auto characterPairs = [] {
    std::array<std::array<char, 2>, 4096> pairs{};
    for (std::size_t bits = 0; bits < pairs.size(); ++bits)
        pairs[bits] = {alphabet[bits >> 6], alphabet[bits & 63]};
    return pairs;
}();

constexpr std::uint32_t noValue = 1u << 24;

/// The value of every character, each table for one place in a group of four, shifted there; noValue for a
/// character outside the alphabet.
constexpr auto placedValues = [] {
    std::array<std::array<std::uint32_t, 256>, 4> places{};
    for (std::uint32_t place = 0; place < places.size(); ++place) {
        places[place].fill(noValue);
        for (std::uint32_t value = 0; value < 64; ++value)
            places[place][static_cast<unsigned char>(alphabet[value])] = value << (18 - 6 * place);
    }
    return places;
}();
constexpr auto const& values = placedValues[3];

/// Four characters for the low 24 bits.
void encodeBits(unsigned int bits, char* destination) {
    std::memcpy(destination, characterPairs[bits >> 12 & 0xfff].data(), 2);
    std::memcpy(destination + 2, characterPairs[bits & 0xfff].data(), 2);
}

/// A group is 3 bytes and 4 characters.
void encodeGroups(unsigned char const* source, unsigned long groups, char* destination) {
    for (; groups >= 2; groups -= 2, source += 6, destination += 8) {
        unsigned int head = 0;
        unsigned int tail = 0;
        std::memcpy(&head, source, sizeof head);
        std::memcpy(&tail, source + 2, sizeof tail);
        encodeBits(Be2Host4(head) >> 8, destination);
        encodeBits(Be2Host4(tail), destination + 4);
    }
    if (groups > 0)
        encodeBits(static_cast<unsigned int>(source[0] << 16 | source[1] << 8 | source[2]), destination);
}

std::uint32_t groupBits(unsigned char const* source) {
    return placedValues[0][source[0]] | placedValues[1][source[1]] | placedValues[2][source[2]] |
           placedValues[3][source[3]];
}

/// Decodes groups up to the first that holds a character outside the alphabet. Returns how many.
unsigned long decodeGroups(unsigned char const* source, unsigned long groups, unsigned char* destination) {
    unsigned long done = 0;
    for (; groups - done >= 2; done += 2, source += 8, destination += 6) {
        std::uint32_t const first = groupBits(source);
        std::uint32_t const second = groupBits(source + 4);
        if ((first | second) & noValue)
            break;
        unsigned int const head = Host2Be4(first << 8 | second >> 16);
        unsigned short const tail = Host2Be2(static_cast<unsigned short>(second));
        std::memcpy(destination, &head, sizeof head);
        std::memcpy(destination + sizeof head, &tail, sizeof tail);
    }
    for (; done < groups; ++done, source += 4, destination += 3) {
        std::uint32_t const bits = groupBits(source);
        if (bits & noValue)
            break;
        destination[0] = static_cast<unsigned char>(bits >> 16);
        destination[1] = static_cast<unsigned char>(bits >> 8);
        destination[2] = static_cast<unsigned char>(bits);
    }
    return done;
}

} // namespace

unsigned long Base64Encode(void const* source, unsigned long sourceSize, char* destination,
                           unsigned long destinationSize, int* state, unsigned long* consumed) {
    auto const* const bytes = static_cast<unsigned char const*>(source);
    unsigned int const saved = state ? static_cast<unsigned int>(*state) : 0;
    unsigned int phase = saved >> 6 & 3;
    unsigned int carried = saved & 0x3c;
    unsigned long used = 0;
    unsigned long written = 0;

    while (bytes && written < destinationSize && (used < sourceSize || phase == 3)) {
        if (phase == 3) {
            destination[written++] = alphabet[carried];
            phase = 0;
            carried = 0;
            continue;
        }
        if (phase == 0) {
            carried = 0;
            unsigned long const groups = std::min((sourceSize - used) / 3, (destinationSize - written) / 4);
            if (groups > 0) {
                encodeGroups(bytes + used, groups, destination + written);
                used += groups * 3;
                written += groups * 4;
                continue;
            }
        }
        unsigned int const byte = bytes[used++];
        unsigned int const bitsLeft = 2 * (phase + 1);
        destination[written++] = alphabet[byte >> bitsLeft | carried];
        carried = byte << (6 - bitsLeft) & 63;
        ++phase;
    }

    if (phase != 0 && destinationSize - written >= 4 - phase) {
        destination[written++] = alphabet[carried];
        for (; phase < 3; ++phase)
            destination[written++] = pad;
        phase = 0;
        carried = 0;
    }
    if (state)
        *state = static_cast<int>(phase << 6 | carried);
    if (consumed)
        *consumed = used;
    return written;
}

unsigned long Base64Decode(char const* source, unsigned long sourceSize, void* destination,
                           unsigned long destinationSize, int* state, unsigned long* consumed) {
    constexpr unsigned long terminated = 0x7fffffff;
    if (sourceSize >= terminated)
        sourceSize = std::strlen(source);
    auto const* const characters = reinterpret_cast<unsigned char const*>(source);
    auto* const bytes = static_cast<unsigned char*>(destination);
    unsigned int const saved = state ? static_cast<unsigned int>(*state) : 0;
    unsigned int phase = saved & 3;
    unsigned int carried = saved & 0xfc;
    unsigned long used = 0;
    unsigned long written = 0;

    while (used < sourceSize && written < destinationSize) {
        if (phase == 0) {
            unsigned long const groups = decodeGroups(
                characters + used, std::min((sourceSize - used) / 4, (destinationSize - written) / 3),
                bytes + written);
            if (groups > 0) {
                used += groups * 4;
                written += groups * 3;
                carried = values[characters[used - 2]] << 6 & 0xff;
                continue;
            }
        }
        unsigned char const character = characters[used++];
        if (character == pad) {
            phase = 0;
            carried = 0;
        }
        unsigned int const value = values[character];
        if (value == noValue)
            continue;
        if (phase > 0)
            bytes[written++] = static_cast<unsigned char>(carried | value >> (6 - 2 * phase));
        if (phase < 3)
            carried = value << (2 + 2 * phase) & 0xff;
        phase = (phase + 1) & 3;
    }

    if (state)
        *state = static_cast<int>(carried | phase);
    if (consumed)
        *consumed = used;
    return written;
}

AString ABase64Encode::encode(ABuffer const& bytes) {
    return encode(bytes.getBytes(), bytes.size());
}

AString ABase64Encode::encode(unsigned char const* data, unsigned long const& size) {
    try {
        if (!data)
            return encode(ABuffer(size, nullptr));
        std::string narrow(size / 3 * 4 + 4, '\0');
        narrow.resize(Base64Encode(data, size, narrow.data(), narrow.size(), nullptr, nullptr));
        AString text;
        text.cpp_str().assign(narrow.begin(), narrow.end());
        return text;
    } catch (std::exception const&) {
        return {};
    }
}

AnObjectBuffer<unsigned char> ABase64Encode::decode(AString const& text) {
    try {
        ACharString const narrow(text);
        AnObjectBuffer<unsigned char> bytes;
        std::string& room = bytes.cpp_str();
        room.resize(text.size());
        room.resize(Base64Decode(narrow, static_cast<unsigned long>(narrow.size()), room.data(), room.size(),
                                 nullptr, nullptr));
        return bytes;
    } catch (std::bad_alloc const&) {
        return {};
    }
}
