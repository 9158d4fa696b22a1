#pragma once

#include <zun/Api.h>

#include <string>

/// Authenticated encryption of whole files, as the XML service's callbacks: XChaCha20-Poly1305 with the
/// process's key. A failure leaves the result as it was and its reason in lastError; nothing is logged. Any
/// thread may call any member.
class ZUN_API ACryptWrap {
public:
    /// Makes the file's 32 bytes the process's key; a missing file is created with a random key that only its
    /// owner can read, the same for all processes that come at once. False, with the key in use as it was,
    /// when the file cannot be read or created, has another size, is another user's, or someone but its owner
    /// can read it. Throws nothing.
    [[nodiscard]] static bool useKeyFile(std::string const& path);

    /// False without a key.
    [[nodiscard]] static bool encrypt_data(std::string const& clear, std::string& stored);

    /// Bytes that encrypt_data did not make pass unchanged. False for those that it made and that were
    /// altered or cut since, or made with another key, and without a key.
    [[nodiscard]] static bool decrypt_data(std::string const& stored, std::string& clear);

    /// Why the calling thread's last failed call of the above failed; empty before any did.
    static std::string const& lastError();
};
