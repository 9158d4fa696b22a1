#include <tests/support/Base64Calls.h>

#include <cstdlib>
#include <cstring>

/// Calls that take each other up agree with single steps. The input is a first state, then per call a byte
/// that chooses the coder, one for the room, one for the length of the source, and the source.
extern "C" int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    std::string_view input(reinterpret_cast<char const*>(data), size);
    int state = 0;
    if (input.size() < sizeof state)
        return 0;
    std::memcpy(&state, input.data(), sizeof state);
    input.remove_prefix(sizeof state);
    while (input.size() >= 3) {
        bool const encode = input[0] & 1;
        std::size_t const room = static_cast<unsigned char>(input[1]);
        std::string_view const source = input.substr(3, static_cast<unsigned char>(input[2]));
        literal::Base64Result const result =
            encode ? callBase64Encode(source, room, state) : callBase64Decode(source, room, state);
        if (result != (encode ? literal::encodeBase64(source, room, state)
                              : literal::decodeBase64(source, room, state)))
            std::abort();
        state = result.state;
        input.remove_prefix(3 + source.size());
    }
    return 0;
}
