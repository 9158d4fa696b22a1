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
        for (wchar_t c; state != Failed && stream.get(c);)
            take(c);
        if (state == InValue)
            insert();
        if (!parsed())
            sections.clear();
    }

    bool parsed() const { return state == LineStart; }

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
        auto found = sections.find(section);
        if (found == sections.end())
            found = sections.emplace(section, Settings());
        found->second[key] = trimmed(value);
        state = LineStart;
    }

    void fail(wchar_t const* reason) {
        error = reason;
        state = Failed;
    }

    void take(wchar_t c) {
        if (c == L'\n' || c == L'\r') {
            if (state == InValue)
                insert();
            else if (state == InComment)
                state = LineStart;
            else if (state != LineStart)
                return fail(L"Unexpected: new line ");
            ++line;
        } else if (c == L'[' && state == LineStart) {
            section.clear();
            state = InSection;
        } else if (c == L'[' && state != InValue) {
            fail(L"Unexpected: '[' ");
        } else if (c == L']' && state == InSection) {
            if (section.empty())
                return fail(L"Unexpected: empty section ");
            section = trimmed(section);
            state = LineStart;
        } else if (c == L']' && state != InValue) {
            fail(L"Unexpected: ']' ");
        } else if (c == L'=' && state == InKey) {
            value.clear();
            key = trimmed(key);
            state = InValue;
        } else if (c == L'=' && state != InValue) {
            fail(L"Unexpected: '=' ");
        } else if (state == LineStart) {
            if (c == L';')
                state = InComment;
            else if (!iswspace(static_cast<wint_t>(c))) {
                key = c;
                state = InKey;
            }
        } else if (state == InSection) {
            section += c;
        } else if (state == InKey) {
            key += c;
        } else if (state == InValue) {
            value += c;
        }
    }

    State state = LineStart;
    std::wstring section;
    std::wstring key;
    std::wstring value;
};

} // namespace literal
