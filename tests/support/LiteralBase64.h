#pragma once

#include <cstring>
#include <string>
#include <string_view>

/// Base64 one character at a time: the reference that the fast coder is compared with.
namespace literal {

struct Base64Result {
    std::string written;
    unsigned long consumed = 0;
    int state = 0;

    bool operator==(Base64Result const&) const = default;
};

inline constexpr std::string_view base64Alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

inline Base64Result encodeBase64(std::string_view source, std::size_t room, int state) {
    Base64Result result;
    int phase = (state >> 6) & 3;
    int carried = state & 0x3c;
    auto const put = [&](int value) { result.written += base64Alphabet[static_cast<std::size_t>(value)]; };
    while (result.written.size() < room && (result.consumed < source.size() || phase == 3)) {
        if (phase == 3) {
            put(carried);
            phase = 0;
            carried = 0;
            continue;
        }
        int const byte = static_cast<unsigned char>(source[result.consumed++]);
        if (phase == 0) {
            put(byte >> 2);
            carried = (byte << 4) & 63;
            phase = 1;
        } else if (phase == 1) {
            put((byte >> 4) | carried);
            carried = (byte << 2) & 63;
            phase = 2;
        } else {
            put((byte >> 6) | carried);
            carried = byte & 63;
            phase = 3;
        }
    }
    if (phase != 0 && room - result.written.size() >= static_cast<std::size_t>(4 - phase)) {
        put(carried);
        result.written.append(static_cast<std::size_t>(3 - phase), '=');
        phase = 0;
        carried = 0;
    }
    result.state = phase * 64 | carried;
    return result;
}

inline Base64Result decodeBase64(std::string_view source, std::size_t room, int state) {
    Base64Result result;
    int phase = state & 3;
    int carried = state & 0xfc;
    auto const put = [&](int byte) { result.written += static_cast<char>(byte); };
    while (result.consumed < source.size() && result.written.size() < room) {
        char const character = source[result.consumed++];
        if (character == '=') {
            phase = 0;
            carried = 0;
            continue;
        }
        std::size_t const position = base64Alphabet.find(character);
        if (position == std::string_view::npos)
            continue;
        int const value = static_cast<int>(position);
        if (phase == 0) {
            carried = value << 2;
            phase = 1;
        } else if (phase == 1) {
            put(carried | (value >> 4));
            carried = (value << 4) & 0xff;
            phase = 2;
        } else if (phase == 2) {
            put(carried | (value >> 2));
            carried = (value << 6) & 0xff;
            phase = 3;
        } else {
            put(carried | value);
            phase = 0;
        }
    }
    result.state = carried | phase;
    return result;
}

} // namespace literal
