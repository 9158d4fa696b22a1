#include <zun/text/AStringParser.h>
#include <zun/text/NullText.h>

#include <cstdint>
#include <cwchar>

namespace {

/// A set of characters and the NUL, with a filter that passes most other characters by at one look.
class Stops {
public:
    explicit Stops(wchar_t const* characters) : m_characters(characters) {
        for (wchar_t const* member = characters; *member != L'\0'; ++member)
            m_filter |= bit(*member);
    }

    bool contains(wchar_t character) const {
        if ((m_filter & bit(character)) == 0)
            return false;
        wchar_t const* member = m_characters;
        while (*member != L'\0' && *member != character)
            ++member;
        return *member == character;
    }

private:
    static std::uint64_t bit(wchar_t character) {
        return std::uint64_t{1} << (static_cast<std::uint32_t>(character) % 64);
    }

    wchar_t const* m_characters;
    std::uint64_t m_filter = bit(L'\0');
};

} // namespace

AStringParser::AStringParser() : AStringParser(L"", L"") {}

AStringParser::AStringParser(wchar_t const* text, wchar_t const* delimiters) {
    startAt(text, delimiters);
}

void AStringParser::startAt(wchar_t const* text, wchar_t const* delimiters) {
    m_text = text;
    m_position = m_text.cpp_str().data();
    m_delimiters = setOf(delimiters);
    m_lastDelimiter = L'\0';
}

wchar_t const* AStringParser::get(wchar_t const* delimiters) {
    Stops const stops(delimiters ? delimiters : m_delimiters);
    wchar_t* const token = m_position;
    wchar_t* end = token;
    while (!stops.contains(*end))
        ++end;
    m_lastDelimiter = *end;
    m_position = end;
    if (m_lastDelimiter != L'\0') {
        *end = L'\0';
        ++m_position;
    }
    return token;
}

void AStringParser::skip(wchar_t const* characters) {
    m_position += std::wcsspn(m_position, setOf(characters));
}

void AStringParser::skip(int count) {
    for (; count > 0 && !atEnd(); --count)
        ++m_position;
}

void parseInTwo(wchar_t const* text, AString* left, wchar_t const* delimiters, AString* right) {
    AStringParser parser(text, delimiters);
    wchar_t const* const first = parser.get(nullptr);
    if (left)
        *left = first;
    if (right)
        *right = parser.getRemaining();
}

void parseInTwoFromRight(wchar_t const* text, AString* left, wchar_t const* delimiters, AString* right,
                         bool wholeToLeft) {
    AString const copy(text);
    std::wstring const& whole = copy;
    std::size_t const found = whole.find_last_of(setOf(delimiters));
    bool const split = found != std::wstring::npos;
    if (left)
        *left = split ? whole.substr(0, found) : wholeToLeft ? whole : std::wstring();
    if (right)
        *right = split ? whole.substr(found + 1) : wholeToLeft ? std::wstring() : whole;
}
