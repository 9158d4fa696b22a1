#pragma once

#include <zun/binary/Base64.h>

#include <memory>
#include <tests/support/LiteralBase64.h>

/// One call of the library's coder, with source and destination in blocks of exactly their size.
inline literal::Base64Result callBase64Encode(std::string_view source, std::size_t room, int state) {
    literal::Base64Result result{{}, 0, state};
    auto const bytes = std::make_unique<char[]>(source.size());
    auto const characters = std::make_unique<char[]>(room);
    source.copy(bytes.get(), source.size());
    unsigned long const written =
        Base64Encode(bytes.get(), source.size(), characters.get(), room, &result.state, &result.consumed);
    result.written.assign(characters.get(), written);
    return result;
}

/// The same of the decoder.
inline literal::Base64Result callBase64Decode(std::string_view source, std::size_t room, int state) {
    literal::Base64Result result{{}, 0, state};
    auto const characters = std::make_unique<char[]>(source.size());
    auto const bytes = std::make_unique<char[]>(room);
    source.copy(characters.get(), source.size());
    unsigned long const written =
        Base64Decode(characters.get(), source.size(), bytes.get(), room, &result.state, &result.consumed);
    result.written.assign(bytes.get(), written);
    return result;
}
