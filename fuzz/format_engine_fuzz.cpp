#include <tests/support/CLibraryFormat.h>
#include <zun/text/AString.h>

#include <cstdlib>
#include <cstring>
#include <cwctype>

namespace {

std::wstring expected(AFormat const& request) {
    std::wstring text = formatWithCLibrary(request);
    bool const upper = std::wcschr(request.flags, L'^') != nullptr;
    bool const lower = std::wcschr(request.flags, L'_') != nullptr;
    for (wchar_t& character : text) {
        std::wint_t const c = static_cast<std::wint_t>(character);
        character = static_cast<wchar_t>(upper ? std::towupper(c) : lower ? std::towlower(c) : c);
    }
    return text;
}

void compare(AFormat const& request) {
    if (AString(request).const_cpp_str() != expected(request))
        std::abort();
}

} // namespace

/// The input is a width, a precision, a value, a count of directives, these, and a text. The engine formats
/// as the C library does.
extern "C" int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    std::int64_t value;
    constexpr std::size_t headSize = 3 + sizeof(value);
    if (size < headSize)
        return 0;
    int const width = static_cast<std::int8_t>(data[0]);
    int const precision = static_cast<std::int8_t>(data[1]);
    int flagCount = data[2] % 8;
    std::memcpy(&value, data + 3, sizeof(value));
    data += headSize;
    size -= headSize;

    std::wstring flags;
    for (; flagCount > 0 && size > 0; --flagCount, ++data, --size)
        flags += L"-0^_ux"[*data % 6];
    std::wstring const text(data, data + size);

    AFormat number(static_cast<long>(value), flags.c_str(), width);
    number.precision = precision;
    compare(number);
    compare(AFormat(text.c_str(), flags.c_str(), width, precision));
    return 0;
}
