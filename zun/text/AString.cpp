#include <zun/linux/log.h>
#include <zun/text/ACharString.h>
#include <zun/text/AString.h>
#include <zun/text/FormatEngine.h>
#include <zun/text/NullText.h>

#include <cstdlib>
#include <cwchar>
#include <ostream>
#include <utility>

namespace {

constexpr wchar_t overrunGuard = 0xABCD;

void appendNarrow(std::wstring& text, char const* narrow) {
    char const* const source = textOf(narrow);
    int const count = conversionSpaceRequired(source);
    if (count == 0)
        return;
    std::size_t const oldLength = text.size();
    text.resize(oldLength + static_cast<std::size_t>(count));
    AString::convert(source, text.data() + oldLength, 0, count);
}

} // namespace

AString::AString(std::wstring const& text) : m_text(text) {}

AString::AString(std::wstring&& text) noexcept : m_text(std::move(text)) {}

AString::AString(std::wstring_view text) : m_text(text) {}

AString::AString(wchar_t const* text) : m_text(textOf(text)) {}

AString::AString(char const* narrow) {
    appendNarrow(m_text, narrow);
}

AString::AString(wchar_t character) : m_text(1, character) {}

AString::AString(char byte) : m_text(1, convertOne(byte)) {}

AString::AString(int number) : AString(long{number}) {}

AString::AString(unsigned int number) : AString(static_cast<unsigned long>(number)) {}

AString::AString(long number) : m_text(format_engine::text(number)) {}

AString::AString(unsigned long number) : m_text(format_engine::text(number)) {}

AString::AString(long long number) : m_text(std::to_wstring(number)) {}

AString::AString(unsigned long long number) : m_text(std::to_wstring(number)) {}

AString::AString(void* pointer) : m_text(format_engine::text(pointer)) {}

AString::AString(AFormat const& request) {
    execute(request);
}

AString& AString::operator=(wchar_t const* text) {
    m_text.assign(textOf(text));
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

AString& AString::operator=(int number) {
    m_text.clear();
    return *this << number;
}

AString& AString::operator=(unsigned int number) {
    m_text.clear();
    return *this << number;
}

AString& AString::operator=(long number) {
    m_text.clear();
    return *this << number;
}

AString& AString::operator=(unsigned long number) {
    m_text.clear();
    return *this << number;
}

AString& AString::operator=(long long number) {
    m_text.clear();
    return *this << number;
}

AString& AString::operator=(unsigned long long number) {
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
    m_text.append(textOf(text));
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

AString& AString::operator<<(unsigned int number) {
    return *this << static_cast<unsigned long>(number);
}

AString& AString::operator<<(long number) {
    format_engine::append(m_text, number);
    return *this;
}

AString& AString::operator<<(unsigned long number) {
    format_engine::append(m_text, number);
    return *this;
}

AString& AString::operator<<(long long number) {
    m_text.append(std::to_wstring(number));
    return *this;
}

AString& AString::operator<<(unsigned long long number) {
    m_text.append(std::to_wstring(number));
    return *this;
}

AString& AString::operator<<(void* pointer) {
    format_engine::append(m_text, pointer);
    return *this;
}

AString& AString::operator<<(AFormat const& request) {
    return *this << AString(request);
}

wchar_t const* AString::execute(AFormat const& request) {
    format_engine::execute(m_text, request);
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
    if (std::mbstowcs(destination + offset, textOf(narrow), static_cast<std::size_t>(count)) ==
        static_cast<std::size_t>(-1))
        logError(L"String", L"couldn't convert to wide characters");
}

std::wostream& operator<<(std::wostream& out, AString const& text) {
    return out << text.m_text;
}

bool AString::CaseSensitiveLess::operator()(AString const& left, AString const& right) const {
    return std::wcscmp(left, right) < 0;
}

bool AString::CaseInsensitiveLess::operator()(AString const& left, AString const& right) const {
    return wcsicmp(left, right) < 0;
}
