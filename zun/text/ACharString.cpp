#include <zun/linux/log.h>
#include <zun/text/ACharString.h>
#include <zun/text/NullText.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <limits>
#include <new>

namespace {

constexpr std::size_t conversionFailed = static_cast<std::size_t>(-1);

/// Calls `write(bytes, count)` with the narrow form of each character in turn.
template <typename Write>
void narrow(wchar_t const* text, Write write) {
    std::mbstate_t state{};
    char bytes[MB_LEN_MAX];
    for (wchar_t const* wide = textOf(text); *wide != L'\0'; ++wide) {
        std::size_t count = std::wcrtomb(bytes, *wide, &state);
        if (count == conversionFailed) {
            state = {};
            bytes[0] = '?';
            count = 1;
        }
        write(bytes, count);
    }
}

} // namespace

ACharString::ACharString() : ACharString(nullptr, 0) {}

ACharString::ACharString(wchar_t const* wide) {
    int const space = conversionSpaceRequired(wide);
    m_text.reset(checkNewChar(space));
    convert(wide, m_text.get());
    m_size = space - 1;
}

ACharString::ACharString(char const* bytes, int length) : m_size(length) {
    if (length < 0 || length == std::numeric_limits<int>::max())
        throw std::bad_array_new_length();
    m_text.reset(checkNewChar(length + 1));
    std::size_t const count = static_cast<std::size_t>(length);
    if (bytes)
        std::memcpy(m_text.get(), bytes, count);
    else
        std::memset(m_text.get(), 0, count);
    m_text[count] = '\0';
}

int conversionSpaceRequired(char const* narrowText) {
    std::size_t const count = std::mbstowcs(nullptr, textOf(narrowText), 0x7fffffff);
    if (count > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
        logError(L"String", L"couldn't query space for wide character conversion");
        return 0;
    }
    return static_cast<int>(count);
}

int conversionSpaceRequired(wchar_t const* wide) {
    std::size_t space = 1;
    narrow(wide, [&space](char const*, std::size_t count) { space += count; });
    if (space > static_cast<std::size_t>(std::numeric_limits<int>::max()))
        throw std::bad_array_new_length();
    return static_cast<int>(space);
}

void convert(wchar_t const* wide, char* destination) {
    narrow(wide, [&destination](char const* bytes, std::size_t count) {
        std::memcpy(destination, bytes, count);
        destination += count;
    });
    *destination = '\0';
}

wchar_t convertOne(char byte) {
    std::mbstate_t state{};
    wchar_t character = L'\0';
    if (std::mbrtowc(&character, &byte, 1, &state) != 1) {
        logError(L"String", L"couldn't convert a wide character");
        return L'\0';
    }
    return character;
}

char* checkNewChar(int count) {
    if (count < 0)
        throw std::bad_array_new_length();
    return new char[static_cast<std::size_t>(count)];
}

int wcsicmp(wchar_t const* left, wchar_t const* right) {
    left = textOf(left);
    right = textOf(right);
    for (;; ++left, ++right) {
        wint_t const difference =
            towupper(static_cast<wint_t>(*left)) - towupper(static_cast<wint_t>(*right));
        if (difference != 0 || *left == L'\0' || *right == L'\0')
            return static_cast<std::int32_t>(difference);
    }
}
