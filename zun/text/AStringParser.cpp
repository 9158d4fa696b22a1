#include <zun/text/AStringParser.h>

#include <cwchar>

AStringParser::AStringParser() : AStringParser(L"", L"") {}

AStringParser::AStringParser(wchar_t const* text, wchar_t const* delimiters) {
    startAt(text, delimiters);
}

void AStringParser::startAt(wchar_t const* text, wchar_t const* delimiters) {
    m_text = text;
    m_position = m_text.cpp_str().data();
    m_delimiters = delimiters ? delimiters : L"";
    m_lastDelimiter = L'\0';
}

wchar_t const* AStringParser::get(wchar_t const* delimiters) {
    wchar_t const* const token = m_position;
    m_position += std::wcscspn(m_position, delimiters ? delimiters : m_delimiters);
    m_lastDelimiter = *m_position;
    if (m_lastDelimiter != L'\0')
        *m_position++ = L'\0';
    return token;
}

void AStringParser::skip(wchar_t const* characters) {
    m_position += std::wcsspn(m_position, characters);
}

void AStringParser::skip(int count) {
    for (; count > 0 && !atEnd(); --count)
        ++m_position;
}

bool AStringParser::atEnd() const {
    return *m_position == L'\0';
}

wchar_t const* AStringParser::getRemaining() const {
    return m_position;
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
    std::size_t const found = whole.find_last_of(delimiters);
    bool const split = found != std::wstring::npos;
    if (left)
        *left = split ? whole.substr(0, found) : wholeToLeft ? whole : std::wstring();
    if (right)
        *right = split ? whole.substr(found + 1) : wholeToLeft ? std::wstring() : whole;
}
