#include <fuzz/ScratchFile.h>
#include <zun/platform/crypto/ACryptWrap.h>

#include <cstdlib>

/// The input is the place of an alteration and a text. No text that nobody enciphered is deciphered; an
/// enciphered one comes back, and is refused when it is altered or cut.
extern "C" int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    static ScratchFile const keyFile("enciphered_fuzz");
    static bool const hasKey = ACryptWrap::useKeyFile(keyFile.path());
    if (!hasKey)
        std::abort();
    std::string const text(reinterpret_cast<char const*>(data), size);
    std::string result;
    if (ACryptWrap::decrypt_data(text, result) && result != text)
        std::abort();
    std::string stored;
    if (!ACryptWrap::encrypt_data(text, stored) || !ACryptWrap::decrypt_data(stored, result) ||
        result != text)
        std::abort();
    if (size < 3)
        return 0;
    std::size_t const at = (data[0] + data[1] * 256u) % stored.size();
    if (at != 0 && ACryptWrap::decrypt_data(stored.substr(0, at), result))
        std::abort();
    stored[at] = static_cast<char>(stored[at] ^ (data[2] == 0 ? 1 : data[2]));
    if (ACryptWrap::decrypt_data(stored, result))
        std::abort();
    return 0;
}
