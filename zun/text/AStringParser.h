#pragma once

#include <zun/Api.h>
#include <zun/text/AString.h>

/// Splits its own copy of a text into tokens at any of a set of delimiter characters; a null set is an empty
/// one. Consecutive delimiters give empty tokens. Every pointer handed out points into that copy: it lives as
/// long as the parser and until the next startAt.
class ZUN_API AStringParser {
public:
    AStringParser();

    /// As startAt.
    AStringParser(wchar_t const* text, wchar_t const* delimiters);

    AStringParser(AStringParser const&) = delete;
    AStringParser& operator=(AStringParser const&) = delete;

    /// Copies `text` (null stands for "(null)") and begins at its start. `delimiters` is the default set; it
    /// is referenced, not copied, and must outlive the parser's use of it.
    void startAt(wchar_t const* text, wchar_t const* delimiters);

    /// The next token, up to a character of `delimiters` (null: of the default set) or the end; empty ones
    /// after the last.
    wchar_t const* get(wchar_t const* delimiters) ZUN_LIFETIME_BOUND;

    /// Moves past any run of the given characters.
    void skip(wchar_t const* characters);

    /// Moves on by up to `count` characters, not beyond the end.
    void skip(int count);

    bool atEnd() const { return *m_position == L'\0'; }

    /// The rest of the text, untouched.
    wchar_t const* getRemaining() const ZUN_LIFETIME_BOUND { return m_position; }

private:
    AString m_text;
    wchar_t* m_position;
    wchar_t const* m_delimiters;
    wchar_t m_lastDelimiter;
};

/// Splits at the first character of `delimiters`: without one, `left` is the whole text and `right` is empty.
/// An output that is null is not written.
ZUN_API void parseInTwo(wchar_t const* text, AString* left, wchar_t const* delimiters, AString* right);

/// Splits at the last character of `delimiters`. Without one, the whole text goes to `left` when
/// `wholeToLeft`, otherwise to `right`, and the other is empty. An output that is null is not written.
ZUN_API void parseInTwoFromRight(wchar_t const* text, AString* left, wchar_t const* delimiters,
                                 AString* right, bool wholeToLeft);
