#pragma once

#include <zun/Api.h>
#include <zun/text/AFormat.h>

#include <cstddef>
#include <string>

/// The library's text: a string of wide characters, one UTF-32 code unit an element, with value semantics.
///
/// A null source pointer stands for the text "(null)". Narrow sources are multibyte text in the process's
/// current locale. Formatting, comparison and conversion see the text up to its first NUL. Bad input is
/// logged under "String" and never throws; only the allocator's exceptions leave the class. Distinct objects
/// may be used by several threads at once, one object by one thread at a time.
class ZUN_API AString {
public:
    AString() = default;
    AString(AString const&) = default;
    AString(AString&&) = default;
    AString(std::wstring const& text);
    AString(wchar_t const* text);
    /// What cannot be converted is logged and leaves the text empty.
    AString(char const* narrow);
    AString(wchar_t character);
    /// The byte taken by itself, see convertOne; one that is no character gives the character 0.
    AString(char byte);
    /// Decimal, of the low 32 bits.
    AString(int number);
    AString(long number);
    AString(unsigned long number);
    /// The low 32 bits of the address as eight lower-case hexadecimal digits.
    AString(void* pointer);
    AString(AFormat const& request);
    ~AString() = default;

    AString& operator=(AString const&) = default;
    AString& operator=(AString&&) = default;
    AString& operator=(wchar_t const* text);
    AString& operator=(char const* narrow);
    AString& operator=(wchar_t character);
    AString& operator=(char byte);
    AString& operator=(long number);
    AString& operator=(unsigned long number);
    AString& operator=(void* pointer);
    AString& operator=(AFormat const& request);

    /// Each appends what the constructor from the same type would hold.
    AString& operator<<(AString const& text);
    AString& operator<<(wchar_t const* text);
    AString& operator<<(char const* narrow);
    AString& operator<<(wchar_t character);
    AString& operator<<(char byte);
    AString& operator<<(int number);
    AString& operator<<(long number);
    AString& operator<<(unsigned long number);
    AString& operator<<(void* pointer);
    AString& operator<<(AFormat const& request);

    /// Replaces the text by the formatted value and returns it. An unknown directive character is logged and
    /// skipped. A number wider than 34 characters is cut to 34.
    wchar_t const* execute(AFormat const& request);

    /// Applies padding, cutting and case directives to the text itself and returns it.
    wchar_t const* format(AString const& flags, int width, int precision);

    /// Lends a writable buffer of `count` characters, in which the borrower ends its text with a NUL. A guard
    /// behind the buffer is examined by checkAllocation, which ends the loan. A negative count is logged,
    /// changes nothing and returns the current text.
    wchar_t* allocate(int count);

    /// Takes the buffer back and cuts the text at its first NUL. False, with an error logged and the text
    /// left as it is, when the guard was overwritten.
    bool checkAllocation();

    /// Cuts the text to its first `length` characters; a shorter text is left alone.
    void shrinkTo(unsigned long length);

    /// In characters.
    std::size_t size() const { return m_text.size(); }

    /// What atoi reads from the narrow form; 0 when it does not start with a number.
    int toInt() const;

    /// Replaces every occurrence, left to right; text that was put in is not searched again. An empty `find`
    /// changes nothing.
    void findAndReplace(AString const& find, AString const& replacement);

    /// Converts at most `count` characters of the narrow text to `destination + offset`, see mbstowcs(3). A
    /// failure is logged and leaves what was written.
    static void convert(char const* narrow, wchar_t* destination, int offset, int count);

    std::wstring& cpp_str() { return m_text; }
    std::wstring const& const_cpp_str() const { return m_text; }
    operator std::wstring const&() const { return m_text; }
    /// NUL-terminated; valid until the text changes.
    operator wchar_t const*() const { return m_text.c_str(); }

    /// Exact comparison of the whole texts.
    friend bool operator==(AString const& left, AString const& right) { return left.m_text == right.m_text; }
    friend bool operator==(AString const& left, wchar_t const* right) { return left.m_text == right; }

    /// Orders by wcscmp.
    struct ZUN_API CaseSensitiveLess {
        bool operator()(AString const& left, AString const& right) const;
    };
    /// Orders by wcsicmp.
    struct ZUN_API CaseInsensitiveLess {
        bool operator()(AString const& left, AString const& right) const;
    };

private:
    std::wstring m_text;
};
