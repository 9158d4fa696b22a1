#include <zun/platform/crypto/ACryptWrap.h>
#include <zun/platform/file/FileDescriptor.h>
#include <zun/platform/file/Permissions.h>
#include <zun/platform/file/Place.h>
#include <zun/platform/file/Refusal.h>
#include <zun/platform/file/ReplacementFile.h>

#include <sodium.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <mutex>
#include <new>
#include <optional>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

// An enciphered text is
//
//   8 bytes   what it is; no UTF-8 text starts with the first
//   1 byte    the format's version, 1
//   24 bytes  a random nonce
//   the rest  the text enciphered by XChaCha20 and its Poly1305 tag, in libsodium's combined mode; name and
//             version are authenticated with it
//
// See
// https://doc.libsodium.org/secret-key_cryptography/aead/chacha20-poly1305/xchacha20-poly1305_construction

namespace {

using orvane_com::zun::file::FileDescriptor;
using orvane_com::zun::file::Place;
namespace file = orvane_com::zun::file;

constexpr std::string_view formatName = "\x8FZUNSEAL";
constexpr char formatVersion = 1;
constexpr std::size_t headerSize = formatName.size() + 1;
constexpr std::size_t nonceSize = crypto_aead_xchacha20poly1305_ietf_NPUBBYTES;
constexpr std::size_t keySize = crypto_aead_xchacha20poly1305_ietf_KEYBYTES;
constexpr std::size_t tagSize = crypto_aead_xchacha20poly1305_ietf_ABYTES;
constexpr std::size_t smallestSize = headerSize + nonceSize + tagSize;

/// A key in memory that is never swapped out and wiped before it is given back.
using Key = std::shared_ptr<unsigned char>;

thread_local std::string lastErrorOfThread;

bool fail(std::string reason) {
    lastErrorOfThread = std::move(reason);
    return false;
}

bool failForErrno(std::string const& what, std::string const& path) {
    return fail(what + " " + path + ": " + file::reasonFor(errno));
}

bool isLibraryReady() {
    static bool const isReady = sodium_init() >= 0;
    return isReady || fail("the encryption library cannot be initialized");
}

unsigned char* asBytes(char* text) {
    return reinterpret_cast<unsigned char*>(text);
}

unsigned char const* asBytes(char const* text) {
    return reinterpret_cast<unsigned char const*>(text);
}

class CurrentKey {
public:
    Key get() const {
        std::lock_guard const guard(m_mutex);
        return m_key;
    }
    void set(Key key) {
        std::lock_guard const guard(m_mutex);
        m_key.swap(key);
    }

private:
    mutable std::mutex m_mutex;
    Key m_key;
};

CurrentKey& currentKey() {
    static CurrentKey key;
    return key;
}

Key newKey() {
    Key key(static_cast<unsigned char*>(sodium_malloc(keySize)),
            [](unsigned char* bytes) { sodium_free(bytes); });
    if (!key)
        fail("no memory for a key");
    return key;
}

/// A file with a random key; one that another process made meanwhile stays.
bool createKeyFile(std::string const& path) {
    Key const key = newKey();
    if (!key)
        return false;
    randombytes_buf(key.get(), keySize);
    std::optional<Place> const place = Place::find(path);
    if (!place)
        return failForErrno("cannot create the key file", path);
    file::ReplacementFile created(*place, file::ownerOnly);
    FileDescriptor& file = created.file();
    std::string_view const bytes(reinterpret_cast<char const*>(key.get()), keySize);
    if (!file.isOpen() || file.write(bytes) != keySize || !file.flush() || !file.close() ||
        (!created.becomeTarget() && errno != EEXIST))
        return failForErrno("cannot create the key file", path);
    // Only now does the name survive a loss of power, and with it what the key will encipher. In a directory
    // that may not be read that is the system's affair.
    return place->flushDirectory() || errno == EACCES ||
           failForErrno("cannot save the name of the key file", path);
}

Key readKey(FileDescriptor const& file, std::string const& path) {
    std::optional<struct stat> const status = file.status();
    if (!status) {
        failForErrno("cannot examine the key file", path);
        return nullptr;
    }
    if (status->st_uid != geteuid()) {
        fail("the key file " + path + " belongs to another user");
        return nullptr;
    }
    if ((status->st_mode & (S_IRWXG | S_IRWXO)) != 0) {
        fail("the key file " + path + " is open to others than its owner");
        return nullptr;
    }
    Key key = newKey();
    if (!key)
        return nullptr;
    std::optional<std::size_t> const count = file.read(reinterpret_cast<char*>(key.get()), keySize);
    if (!count) {
        failForErrno("cannot read the key file", path);
        return nullptr;
    }
    if (*count != keySize || status->st_size != static_cast<off_t>(keySize)) {
        fail("the key file " + path + " does not hold a key of " + std::to_string(keySize) + " bytes");
        return nullptr;
    }
    return key;
}

/// Also when one byte of the name is damaged, or the text ends inside it: what was enciphered once must not
/// pass as clear text.
bool isEnciphered(std::string_view text) {
    std::string_view const name = text.substr(0, formatName.size());
    if (name.size() < formatName.size())
        return !name.empty() && formatName.starts_with(name);
    std::size_t damaged = 0;
    for (std::size_t at = 0; at < name.size(); ++at)
        damaged += name[at] != formatName[at] ? 1 : 0;
    return damaged <= 1;
}

bool takeKeyFrom(std::string const& path) {
    auto const open = [&path] { return file::openForReading(path, Place::Kind::secret); };
    FileDescriptor file = open();
    if (!file.isOpen() && errno == ENOENT) {
        if (!createKeyFile(path))
            return false;
        file = open();
    }
    if (!file.isOpen())
        return failForErrno("cannot open the key file", path);
    Key key = readKey(file, path);
    if (!key)
        return false;
    currentKey().set(std::move(key));
    return true;
}

} // namespace

bool ACryptWrap::useKeyFile(std::string const& path) {
    try {
        return isLibraryReady() && takeKeyFrom(path);
    } catch (std::bad_alloc const&) {
        return fail("no memory"); // takes none
    }
}

bool ACryptWrap::encrypt_data(std::string const& clear, std::string& stored) {
    Key const key = currentKey().get();
    if (!key)
        return fail("there is no key to encrypt with");
    std::string result(formatName);
    result += formatVersion;
    result.resize(smallestSize + clear.size());
    unsigned char* const header = asBytes(result.data());
    unsigned char* const nonce = header + headerSize;
    randombytes_buf(nonce, nonceSize);
    crypto_aead_xchacha20poly1305_ietf_encrypt(nonce + nonceSize, nullptr, asBytes(clear.data()),
                                               clear.size(), header, headerSize, nullptr, nonce, key.get());
    stored = std::move(result);
    return true;
}

bool ACryptWrap::decrypt_data(std::string const& stored, std::string& clear) {
    if (!isEnciphered(stored)) {
        clear = stored;
        return true;
    }
    if (stored.size() < smallestSize)
        return fail("the enciphered text is cut short");
    if (!stored.starts_with(formatName))
        return fail("the enciphered text is damaged");
    if (stored[formatName.size()] != formatVersion)
        return fail("the enciphered text has a format version other than " + std::to_string(formatVersion));
    Key const key = currentKey().get();
    if (!key)
        return fail("there is no key to decrypt the enciphered text with");
    unsigned char const* const header = asBytes(stored.data());
    unsigned char const* const nonce = header + headerSize;
    std::string result(stored.size() - smallestSize, '\0');
    if (crypto_aead_xchacha20poly1305_ietf_decrypt(asBytes(result.data()), nullptr, nullptr,
                                                   nonce + nonceSize, result.size() + tagSize, header,
                                                   headerSize, nonce, key.get()) != 0)
        return fail("the enciphered text is altered, cut short or made with another key");
    clear = std::move(result);
    return true;
}

std::string const& ACryptWrap::lastError() {
    return lastErrorOfThread;
}
