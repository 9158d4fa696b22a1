#include <tests/support/Base64Calls.h>

#include <cstdlib>

/// Any text decodes as single steps decode it; what came out encodes and decodes to itself.
extern "C" int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    std::string_view const text(reinterpret_cast<char const*>(data), size);
    literal::Base64Result const decoded = callBase64Decode(text, size, 0);
    if (decoded != literal::decodeBase64(text, size, 0))
        std::abort();
    literal::Base64Result const encoded = callBase64Encode(decoded.written, size + 4, 0);
    if (callBase64Decode(encoded.written, size, 0).written != decoded.written)
        std::abort();
    return 0;
}
