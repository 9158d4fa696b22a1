#include <tests/support/Utf8Locale.h>
#include <zun/linux/log.h>
#include <zun/text/ACharString.h>

#include <clocale>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <memory>
#include <string>

namespace {

void require(bool condition) {
    if (!condition)
        std::abort();
}

/// Exactly what was measured is written; a byte more would be beyond the buffer.
void narrow(std::wstring const& text) {
    std::size_t const space = static_cast<std::size_t>(conversionSpaceRequired(text.c_str()));
    auto const written = std::make_unique<char[]>(space);
    convert(text.c_str(), written.get());
    require(std::memchr(written.get(), '\0', space) == written.get() + space - 1);
    ACharString const owned(text.c_str());
    require(static_cast<std::size_t>(owned.size()) + 1 == space);
    require(std::memcmp(owned, written.get(), space) == 0);
}

/// What is measured is converted, and converts back to itself.
void widen(std::string const& text) {
    int const count = conversionSpaceRequired(text.c_str());
    AString const wide(text.c_str());
    require(static_cast<std::size_t>(count) == wide.size());
    require(std::wcslen(wide) == wide.size());
    if (count > 0)
        require(std::strcmp(ACharString(wide), text.c_str()) == 0);
    for (char const byte : text)
        convertOne(byte);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    setLogging(false);
    return 0;
}

/// The input is taken as narrow text and as wide characters, in a locale without and with many bytes a
/// character.
extern "C" int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    std::string const bytes(reinterpret_cast<char const*>(data), size);
    std::wstring characters(size / sizeof(wchar_t), L'\0');
    if (!characters.empty())
        std::memcpy(characters.data(), data, characters.size() * sizeof(wchar_t));
    for (char const* const locale : {"C", utf8Locale}) {
        require(std::setlocale(LC_ALL, locale) != nullptr);
        narrow(characters);
        widen(bytes);
    }
    return 0;
}
