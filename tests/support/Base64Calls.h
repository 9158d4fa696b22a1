#pragma once

#include <tests/support/LiteralBase64.h>
#include <zun/binary/Base64.h>

#include <vector>

/// One call of a coder of the library, with source and destination in blocks of exactly their size.
template <typename Coder>
literal::Base64Result callBase64(Coder coder, std::string_view source, std::size_t room, int state) {
    literal::Base64Result result{{}, 0, state};
    std::vector<char> const input(source.begin(), source.end());
    std::vector<char> output(room);
    unsigned long const written =
        coder(input.data(), input.size(), output.data(), room, &result.state, &result.consumed);
    result.written.assign(output.data(), written);
    return result;
}

inline literal::Base64Result callBase64Encode(std::string_view source, std::size_t room, int state) {
    return callBase64(Base64Encode, source, room, state);
}

inline literal::Base64Result callBase64Decode(std::string_view source, std::size_t room, int state) {
    return callBase64(Base64Decode, source, room, state);
}
