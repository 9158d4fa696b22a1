#pragma once

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
        int const byte = phase == 3 ? 0 : static_cast<unsigned char>(source[result.consumed++]);
        switch (phase++) {
        case 0:
            put(byte >> 2);
            carried = (byte << 4) & 63;
            break;
        case 1:
            put((byte >> 4) | carried);
            carried = (byte << 2) & 63;
            break;
        case 2:
            put((byte >> 6) | carried);
            carried = byte & 63;
            break;
        default:
            put(carried);
            phase = carried = 0;
        }
    }
    if (phase != 0 && room - result.written.size() >= static_cast<std::size_t>(4 - phase)) {
        put(carried);
        result.written.append(static_cast<std::size_t>(3 - phase), '=');
        phase = carried = 0;
    }
    result.state = phase * 64 | carried;
    return result;
}

inline Base64Result decodeBase64(std::string_view source, std::size_t room, int state) {
    Base64Result result;
    int phase = state & 3;
    int carried = state & 0xfc;
    while (result.consumed < source.size() && result.written.size() < room) {
        char const character = source[result.consumed++];
        if (character == '=')
            phase = carried = 0;
        std::size_t const position = base64Alphabet.find(character);
        if (position == std::string_view::npos)
            continue;
        int const value = static_cast<int>(position);
        int const bitsUsed = 2 * phase; // of the value, by the byte that it completes
        if (phase > 0)
            result.written += static_cast<char>(carried | (value >> (6 - bitsUsed)));
        if (phase < 3)
            carried = (value << (2 + bitsUsed)) & 0xff;
        phase = (phase + 1) % 4;
    }
    result.state = carried | phase;
    return result;
}

} // namespace literal
