#include <zun/linux/log.h>
#include <zun/text/ACharString.h>
#include <zun/text/AFormat.h>
#include <zun/text/FormatEngine.h>
#include <zun/text/NullText.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>
#include <cwchar>

AFormat::AFormat(long number, wchar_t const* directives, int fieldWidth)
    : value(number), flags(directives), width(fieldWidth), precision(-1), isNumber(true) {}

AFormat::AFormat(wchar_t const* source, wchar_t const* directives, int fieldWidth, int cut)
    : text(source), flags(directives), width(fieldWidth), precision(cut), isNumber(false) {}

namespace format_engine {

namespace {

constexpr std::int64_t longestNumber = 34;

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
    for (wchar_t const* flag = setOf(request.flags); *flag != L'\0'; ++flag) {
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
    wchar_t const* const source = textOf(request.text);
    std::size_t const length = request.precision < 0
                                   ? std::wcslen(source)
                                   : wcsnlen(source, static_cast<std::size_t>(request.precision));
    text.assign(source, length);
    std::size_t const width = static_cast<std::size_t>(directives.width);
    if (width > length)
        text.insert(directives.leftJustify ? length : 0, width - length, L' ');
}

} // namespace

std::wstring text(long number) {
    return digitsOf(number).text();
}

std::wstring text(unsigned long number) {
    return digitsOf(number).text();
}

std::wstring text(void* pointer) {
    return digitsOf(pointer).text();
}

void append(std::wstring& text, long number) {
    digitsOf(number).appendTo(text);
}

void append(std::wstring& text, unsigned long number) {
    digitsOf(number).appendTo(text);
}

void append(std::wstring& text, void* pointer) {
    digitsOf(pointer).appendTo(text);
}

void execute(std::wstring& text, AFormat const& request) {
    Directives const directives = readDirectives(request);
    if (request.isNumber)
        layOutNumber(text, request, directives);
    else
        layOutText(text, request, directives);

    auto const map = [&text](wint_t (*change)(wint_t)) {
        for (wchar_t& character : text)
            character = static_cast<wchar_t>(change(static_cast<wint_t>(character)));
    };
    if (directives.upperCase)
        map(towupper);
    else if (directives.lowerCase)
        map(towlower);
}

} // namespace format_engine
