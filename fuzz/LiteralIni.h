#pragma once

#include <cwctype>
#include <map>
#include <sstream>
#include <string>

/// The INI grammar a character at a time: the reference that the parser, which takes runs of characters, is
/// compared with.
namespace literal {

class Ini {
public:
    using Settings = std::map<std::wstring, std::wstring>;

    explicit Ini(std::wstring const& text) {
        std::wistringstream stream(text);
        for (wchar_t c; m_state != Failed && stream.get(c);)
            take(c);
        if (m_state == InValue)
            insert();
        if (!parsed())
            sections.clear();
    }

    bool parsed() const { return m_state == LineStart; }

    std::multimap<std::wstring, Settings> sections;
    /// "Unexpected: ", what was, and where; empty when the text just ends too early.
    std::wstring error;
    int line = 1;

private:
    enum State { LineStart, InSection, InKey, InValue, InComment, Failed };

    static std::wstring trimmed(std::wstring text) {
        while (!text.empty() && iswspace(static_cast<wint_t>(text.front())))
            text.erase(0, 1);
        while (!text.empty() && iswspace(static_cast<wint_t>(text.back())))
            text.pop_back();
        return text;
    }

    void insert() {
        auto found = sections.find(m_section);
        if (found == sections.end())
            found = sections.emplace(m_section, Settings());
        found->second[m_key] = trimmed(m_value);
        m_state = LineStart;
    }

    void fail(wchar_t const* reason) {
        error = reason;
        m_state = Failed;
    }

    // NOLINTNEXTLINE(readability-function-cognitive-complexity): the whole grammar, a case after the other
    void take(wchar_t c) {
        if (c == L'\n' || c == L'\r') {
            if (m_state == InValue)
                insert();
            else if (m_state == InComment)
                m_state = LineStart;
            else if (m_state != LineStart)
                return fail(L"Unexpected: new line ");
            ++line;
        } else if (c == L'[' && m_state == LineStart) {
            m_section.clear();
            m_state = InSection;
        } else if (c == L'[' && m_state != InValue) {
            fail(L"Unexpected: '[' ");
        } else if (c == L']' && m_state == InSection) {
            if (m_section.empty())
                return fail(L"Unexpected: empty section ");
            m_section = trimmed(m_section);
            m_state = LineStart;
        } else if (c == L']' && m_state != InValue) {
            fail(L"Unexpected: ']' ");
        } else if (c == L'=' && m_state == InKey) {
            m_value.clear();
            m_key = trimmed(m_key);
            m_state = InValue;
        } else if (c == L'=' && m_state != InValue) {
            fail(L"Unexpected: '=' ");
        } else if (m_state == LineStart) {
            if (c == L';')
                m_state = InComment;
            else if (!iswspace(static_cast<wint_t>(c))) {
                m_key = c;
                m_state = InKey;
            }
        } else if (m_state == InSection) {
            m_section += c;
        } else if (m_state == InKey) {
            m_key += c;
        } else if (m_state == InValue) {
            m_value += c;
        }
    }

    State m_state = LineStart;
    std::wstring m_section;
    std::wstring m_key;
    std::wstring m_value;
};

} // namespace literal
