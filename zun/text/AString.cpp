#include <zun/linux/log.h>
#include <zun/text/ACharString.h>
#include <zun/text/AString.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <cwchar>
#include <utility>

namespace {

constexpr wchar_t overrunGuard = 0xABCD;
constexpr std::int64_t longestNumber = 34;

wchar_t const* orNull(wchar_t const* text) {
    return text ? text : L"(null)";
}

void appendNarrow(std::wstring& text, char const* narrow) {
    char const* const source = narrow ? narrow : "(null)";
    int const count = conversionSpaceRequired(source);
    if (count == 0)
        return;
    std::size_t const oldLength = text.size();
    text.resize(oldLength + static_cast<std::size_t>(count));
    AString::convert(source, text.data() + oldLength, 0, count);
}

/// The 32-bit value of a number request, which drops the upper half on purpose.
std::uint32_t lowHalf(std::int64_t value) {
    return static_cast<std::uint32_t>(static_cast<std::uint64_t>(value));
}

std::uint32_t magnitude(std::int32_t value) {
    return value < 0 ? 0u - static_cast<std::uint32_t>(value) : static_cast<std::uint32_t>(value);
}

/// The digits of a number, and room for a sign before them, without a heap allocation.
class Digits {
public:
    static Digits decimal(std::uint32_t value) {
        Digits digits;
        while (value >= 100) {
            digits.prependPair(value % 100);
            value /= 100;
        }
        if (value >= 10)
            digits.prependPair(value);
        else
            digits.prepend(static_cast<wchar_t>(L'0' + value));
        return digits;
    }

    static Digits signedDecimal(std::int32_t value) {
        Digits digits = decimal(magnitude(value));
        if (value < 0)
            digits.prepend(L'-');
        return digits;
    }

    static Digits hexadecimal(std::uint32_t value) {
        Digits digits;
        do {
            digits.prepend(L"0123456789abcdef"[value & 0xf]);
            value >>= 4;
        } while (value != 0);
        return digits;
    }

    void padWithZeros(std::size_t count) {
        while (size() < count)
            prepend(L'0');
    }

    void drop() { m_first = m_characters.size(); }

    wchar_t const* data() const { return m_characters.data() + m_first; }
    std::size_t size() const { return m_characters.size() - m_first; }

private:
    void prepend(wchar_t character) { m_characters[--m_first] = character; }

    void prependPair(std::uint32_t value) {
        prepend(static_cast<wchar_t>(L'0' + value % 10));
        prepend(static_cast<wchar_t>(L'0' + value / 10));
    }

    std::array<wchar_t, 11> m_characters;
    std::size_t m_first = m_characters.size();
};

Digits digitsOf(long number) {
    return Digits::signedDecimal(static_cast<std::int32_t>(lowHalf(number)));
}

Digits digitsOf(unsigned long number) {
    return Digits::decimal(static_cast<std::uint32_t>(number));
}

Digits digitsOf(void* pointer) {
    Digits digits =
        Digits::hexadecimal(static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(pointer)));
    digits.padWithZeros(8);
    return digits;
}

enum class NumberType { signedDecimal, unsignedDecimal, hexadecimal };

struct Directives {
    bool leftJustify = false;
    bool zeroPad = false;
    bool upperCase = false;
    bool lowerCase = false;
    NumberType type = NumberType::signedDecimal;
    std::int64_t width = 0;
};

Directives readDirectives(AFormat const& request) {
    Directives directives;
    for (wchar_t const* flag = request.flags; *flag != L'\0'; ++flag) {
        switch (*flag) {
        case L'-':
            directives.leftJustify = true;
            break;
        case L'0':
            directives.zeroPad = true;
            break;
        case L'^':
            directives.upperCase = true;
            break;
        case L'_':
            directives.lowerCase = true;
            break;
        case L'u':
            directives.type = NumberType::unsignedDecimal;
            break;
        case L'x':
            directives.type = NumberType::hexadecimal;
            break;
        default:
            logInternalError(L"String", (std::wstring(L"unknown format character [") + *flag + L"]").c_str());
        }
    }
    if (request.width >= 0) {
        directives.width = request.width;
    } else if (request.width != -1) {
        directives.leftJustify = true;
        directives.width = -std::int64_t{request.width};
    }
    return directives;
}

/// Lays a number out as printf(3) does, cut to the longest that a number may take.
void layOutNumber(std::wstring& text, AFormat const& request, Directives const& directives) {
    std::uint32_t const bits = lowHalf(request.value);
    bool negative = false;
    Digits digits = [&] {
        switch (directives.type) {
        case NumberType::hexadecimal:
            return Digits::hexadecimal(bits);
        case NumberType::unsignedDecimal:
            return Digits::decimal(bits);
        default:
            negative = static_cast<std::int32_t>(bits) < 0;
            return Digits::decimal(magnitude(static_cast<std::int32_t>(bits)));
        }
    }();
    if (bits == 0 && request.precision == 0)
        digits.drop();

    std::int64_t const sign = negative ? 1 : 0;
    std::int64_t const count = static_cast<std::int64_t>(digits.size());
    std::int64_t zeros = 0;
    if (request.precision >= 0)
        zeros = std::max<std::int64_t>(request.precision - count, 0);
    else if (directives.zeroPad && !directives.leftJustify)
        zeros = std::max<std::int64_t>(directives.width - sign - count, 0);
    std::int64_t const blanks = std::max<std::int64_t>(directives.width - sign - zeros - count, 0);

    text.clear();
    auto const append = [&text](std::int64_t repeat, wchar_t character) {
        std::int64_t const room = longestNumber - static_cast<std::int64_t>(text.size());
        text.append(static_cast<std::size_t>(std::min(repeat, room)), character);
    };
    text.reserve(static_cast<std::size_t>(std::min(sign + zeros + count + blanks, longestNumber)));
    if (!directives.leftJustify)
        append(blanks, L' ');
    append(sign, L'-');
    append(zeros, L'0');
    text.append(digits.data(),
                std::min(digits.size(), static_cast<std::size_t>(longestNumber) - text.size()));
    if (directives.leftJustify)
        append(blanks, L' ');
}

/// `request.text` may be a part of `text`.
void layOutText(std::wstring& text, AFormat const& request, Directives const& directives) {
    wchar_t const* const source = orNull(request.text);
    std::size_t const length = request.precision < 0
                                   ? std::wcslen(source)
                                   : wcsnlen(source, static_cast<std::size_t>(request.precision));
    text.assign(source, length);
    std::size_t const width = static_cast<std::size_t>(directives.width);
    if (width > length)
        text.insert(directives.leftJustify ? length : 0, width - length, L' ');
}

} // namespace

AString::AString(std::wstring const& text) : m_text(text) {}

AString::AString(wchar_t const* text) : m_text(orNull(text)) {}

AString::AString(char const* narrow) {
    appendNarrow(m_text, narrow);
}

AString::AString(wchar_t character) : m_text(1, character) {}

AString::AString(char byte) : m_text(1, convertOne(byte)) {}

AString::AString(int number) : AString(long{number}) {}

AString::AString(long number) {
    *this << number;
}

AString::AString(unsigned long number) {
    *this << number;
}

AString::AString(void* pointer) {
    *this << pointer;
}

AString::AString(AFormat const& request) {
    execute(request);
}

AString& AString::operator=(wchar_t const* text) {
    m_text.assign(orNull(text));
    return *this;
}

AString& AString::operator=(char const* narrow) {
    m_text.clear();
    return *this << narrow;
}

AString& AString::operator=(wchar_t character) {
    m_text.assign(1, character);
    return *this;
}

AString& AString::operator=(char byte) {
    m_text.assign(1, convertOne(byte));
    return *this;
}

AString& AString::operator=(long number) {
    m_text.clear();
    return *this << number;
}

AString& AString::operator=(unsigned long number) {
    m_text.clear();
    return *this << number;
}

AString& AString::operator=(void* pointer) {
    m_text.clear();
    return *this << pointer;
}

AString& AString::operator=(AFormat const& request) {
    execute(request);
    return *this;
}

AString& AString::operator<<(AString const& text) {
    m_text.append(text.m_text);
    return *this;
}

AString& AString::operator<<(wchar_t const* text) {
    m_text.append(orNull(text));
    return *this;
}

AString& AString::operator<<(char const* narrow) {
    appendNarrow(m_text, narrow);
    return *this;
}

AString& AString::operator<<(wchar_t character) {
    m_text.push_back(character);
    return *this;
}

AString& AString::operator<<(char byte) {
    m_text.push_back(convertOne(byte));
    return *this;
}

AString& AString::operator<<(int number) {
    return *this << long{number};
}

AString& AString::operator<<(long number) {
    Digits const digits = digitsOf(number);
    m_text.append(digits.data(), digits.size());
    return *this;
}

AString& AString::operator<<(unsigned long number) {
    Digits const digits = digitsOf(number);
    m_text.append(digits.data(), digits.size());
    return *this;
}

AString& AString::operator<<(void* pointer) {
    Digits const digits = digitsOf(pointer);
    m_text.append(digits.data(), digits.size());
    return *this;
}

AString& AString::operator<<(AFormat const& request) {
    return *this << AString(request);
}

wchar_t const* AString::execute(AFormat const& request) {
    Directives const directives = readDirectives(request);
    if (request.isNumber)
        layOutNumber(m_text, request, directives);
    else
        layOutText(m_text, request, directives);

    auto const map = [this](wint_t (*change)(wint_t)) {
        for (wchar_t& character : m_text)
            character = static_cast<wchar_t>(change(static_cast<wint_t>(character)));
    };
    if (directives.upperCase)
        map(towupper);
    else if (directives.lowerCase)
        map(towlower);
    return m_text.c_str();
}

wchar_t const* AString::format(AString const& flags, int width, int precision) {
    return execute(AFormat(m_text.c_str(), flags, width, precision));
}

wchar_t* AString::allocate(int count) {
    if (count < 0) {
        logError(L"String", L"Received invalid negative memory allocation request");
    } else {
        m_text.resize(static_cast<std::size_t>(count) + 1);
        m_text.back() = overrunGuard;
    }
    return m_text.data();
}

bool AString::checkAllocation() {
    if (m_text.empty() || m_text.back() != overrunGuard) {
        logInternalError(L"String", L"End of string overwritten");
        return false;
    }
    m_text.pop_back();
    shrinkTo(m_text.find(L'\0'));
    return true;
}

void AString::shrinkTo(unsigned long length) {
    if (length < m_text.size())
        m_text.resize(length);
}

int AString::toInt() const {
    return static_cast<int>(std::strtol(ACharString(m_text.c_str()), nullptr, 10));
}

void AString::findAndReplace(AString const& find, AString const& replacement) {
    std::wstring const& searched = find.m_text;
    if (searched.empty())
        return;
    std::wstring replaced;
    std::size_t copied = 0;
    for (std::size_t found; (found = m_text.find(searched, copied)) != std::wstring::npos;
         copied = found + searched.size())
        replaced.append(m_text, copied, found - copied).append(replacement.m_text);
    if (copied == 0)
        return;
    replaced.append(m_text, copied);
    m_text = std::move(replaced);
}

void AString::convert(char const* narrow, wchar_t* destination, int offset, int count) {
    if (count <= 0)
        return;
    if (std::mbstowcs(destination + offset, narrow, static_cast<std::size_t>(count)) ==
        static_cast<std::size_t>(-1))
        logError(L"String", L"couldn't convert to wide characters");
}

bool AString::CaseSensitiveLess::operator()(AString const& left, AString const& right) const {
    return std::wcscmp(left, right) < 0;
}

bool AString::CaseInsensitiveLess::operator()(AString const& left, AString const& right) const {
    return wcsicmp(left, right) < 0;
}
