#include <zun/linux/log.h>
#include <zun/text/ACharString.h>
#include <zun/text/AString.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <cstring>
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

/// "00" to "99".
constexpr std::array<wchar_t, 200> digitPairs = [] {
    std::array<wchar_t, 200> pairs{};
    for (std::size_t i = 0; i < pairs.size(); i += 2) {
        pairs[i] = static_cast<wchar_t>(L'0' + i / 20);
        pairs[i + 1] = static_cast<wchar_t>(L'0' + i / 2 % 10);
    }
    return pairs;
}();

std::size_t decimalLength(std::uint32_t value) {
    static constexpr std::array<std::uint32_t, 10> leastOfLength = {
        0, 10, 100, 1000, 10000, 100000, 1000000, 10000000, 100000000, 1000000000};
    // The binary length times log10(2) is the decimal length or one more than that below it.
    std::size_t const estimate = static_cast<std::size_t>(std::bit_width(value)) * 1233 / 4096;
    return value < leastOfLength[estimate] ? estimate : estimate + 1;
}

void writePair(wchar_t* destination, std::uint32_t value) {
    std::memcpy(destination, &digitPairs[std::size_t{value} * 2], 2 * sizeof(wchar_t));
}

/// Writes the digits that end before `end`.
void writeDecimal(wchar_t* end, std::uint32_t value) {
    // Four digits a round, because each division by ten thousand waits for the one before it.
    for (; value >= 10000; value /= 10000) {
        std::uint32_t const low = value % 10000;
        end -= 4;
        writePair(end, low / 100);
        writePair(end + 2, low % 100);
    }
    if (value >= 100) {
        end -= 2;
        writePair(end, value % 100);
        value /= 100;
    }
    if (value >= 10)
        writePair(end - 2, value);
    else
        end[-1] = static_cast<wchar_t>(L'0' + value);
}

/// A 32-bit number's digits, measured first so that they are written once, where they belong.
class Digits {
public:
    static Digits decimal(std::uint32_t value) { return {Base::decimal, false, value, decimalLength(value)}; }

    static Digits signedDecimal(std::int32_t value) {
        bool const negative = value < 0;
        return {Base::decimal, negative, magnitude(value),
                decimalLength(magnitude(value)) + (negative ? 1 : 0)};
    }

    static Digits hexadecimal(std::uint32_t value, std::size_t atLeast) {
        std::size_t const length = (static_cast<std::size_t>(std::bit_width(value)) + 3) / 4;
        return {Base::hexadecimal, false, value, std::max(length, atLeast)};
    }

    std::size_t size() const { return m_size; }

    /// Writes size() characters.
    void write(wchar_t* destination) const {
        if (m_negative)
            *destination = L'-';
        wchar_t* end = destination + m_size;
        if (m_base == Base::decimal) {
            writeDecimal(end, m_value);
            return;
        }
        for (std::uint32_t rest = m_value; end != destination; rest >>= 4)
            *--end = L"0123456789abcdef"[rest & 0xf];
    }

    std::wstring text() const {
        std::wstring result(m_size, L'\0');
        write(result.data());
        return result;
    }

    void appendTo(std::wstring& text) const {
        text.append(m_size, L'\0');
        write(text.data() + text.size() - m_size);
    }

private:
    enum class Base { decimal, hexadecimal };

    Digits(Base base, bool negative, std::uint32_t value, std::size_t size)
        : m_base(base), m_negative(negative), m_value(value), m_size(size) {}

    Base m_base;
    bool m_negative;
    std::uint32_t m_value;
    std::size_t m_size;
};

Digits digitsOf(long number) {
    return Digits::signedDecimal(static_cast<std::int32_t>(lowHalf(number)));
}

Digits digitsOf(unsigned long number) {
    return Digits::decimal(static_cast<std::uint32_t>(number));
}

Digits digitsOf(void* pointer) {
    return Digits::hexadecimal(static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(pointer)), 8);
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
    bool const negative = directives.type == NumberType::signedDecimal && static_cast<std::int32_t>(bits) < 0;
    Digits const digits = directives.type == NumberType::hexadecimal ? Digits::hexadecimal(bits, 1)
                          : negative ? Digits::decimal(magnitude(static_cast<std::int32_t>(bits)))
                                     : Digits::decimal(bits);
    bool const noDigits = bits == 0 && request.precision == 0;

    std::int64_t const sign = negative ? 1 : 0;
    std::int64_t const count = noDigits ? 0 : static_cast<std::int64_t>(digits.size());
    std::int64_t zeros = 0;
    if (request.precision >= 0)
        zeros = std::max<std::int64_t>(request.precision - count, 0);
    else if (directives.zeroPad && !directives.leftJustify)
        zeros = std::max<std::int64_t>(directives.width - sign - count, 0);
    std::int64_t const blanks = std::max<std::int64_t>(directives.width - sign - zeros - count, 0);

    // With each part cut by itself, the text up to the cut is what it would be without.
    auto const cut = [](std::int64_t length) {
        return static_cast<std::size_t>(std::min(length, longestNumber));
    };
    std::array<wchar_t, 2 * longestNumber + 11> characters;
    wchar_t* end = characters.data();
    if (!directives.leftJustify)
        end = std::fill_n(end, cut(blanks), L' ');
    if (negative)
        *end++ = L'-';
    end = std::fill_n(end, cut(zeros), L'0');
    if (!noDigits) {
        digits.write(end);
        end += digits.size();
    }
    if (directives.leftJustify)
        end = std::fill_n(end, cut(blanks), L' ');
    text.assign(characters.data(), cut(end - characters.data()));
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

AString::AString(long number) : m_text(digitsOf(number).text()) {}

AString::AString(unsigned long number) : m_text(digitsOf(number).text()) {}

AString::AString(void* pointer) : m_text(digitsOf(pointer).text()) {}

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
    digitsOf(number).appendTo(m_text);
    return *this;
}

AString& AString::operator<<(unsigned long number) {
    digitsOf(number).appendTo(m_text);
    return *this;
}

AString& AString::operator<<(void* pointer) {
    digitsOf(pointer).appendTo(m_text);
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
