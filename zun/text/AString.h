#pragma once

#include <zun/Api.h>
#include <zun/text/AFormat.h>

#include <compare>
#include <concepts>
#include <cstddef>
#include <functional>
#include <iosfwd>
#include <string>
#include <string_view>
#include <type_traits>

class AString;

/// Wide text that needs no conversion. A null pointer to wide characters stands for "(null)".
template <typename Text>
concept AWideText = std::convertible_to<Text const&, std::wstring_view> && !std::is_null_pointer_v<Text>;

/// What operator+ and += join: wide or narrow text, or a single character of either, but no number.
template <typename Text>
concept ATextPiece = AWideText<Text> || std::same_as<Text, wchar_t> || std::same_as<Text, char> ||
    (std::convertible_to<Text const&, char const*> && !std::is_null_pointer_v<Text>);

/// Two operands of which at least one is an AString.
template <typename Left, typename Right>
concept AStringAndOther = std::derived_from<Left, AString> || std::derived_from<Right, AString>;

/// Characters of another width, which would pass for their numbers.
template <typename Character>
concept AForeignCharacter = std::same_as<Character, char8_t> || std::same_as<Character, char16_t> ||
    std::same_as<Character, char32_t>;

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
    // NOLINTBEGIN(google-explicit-constructor): a text is made of whatever is printed
    AString(std::wstring const& text);
    AString(std::wstring&& text) noexcept;
    AString(std::wstring_view text);
    AString(wchar_t const* text);
    /// What cannot be converted is logged and leaves the text empty.
    AString(char const* narrow);
    AString(wchar_t character);
    /// The byte taken by itself, see convertOne; one that is no character gives the character 0.
    AString(char byte);
    AString(AForeignCharacter auto character) = delete;
    /// Decimal. Of a long or unsigned long, whatever its width, the low 32 bits.
    AString(int number);
    AString(unsigned int number);
    AString(long number);
    AString(unsigned long number);
    AString(long long number);
    AString(unsigned long long number);
    /// The low 32 bits of the address as eight lower-case hexadecimal digits.
    AString(void* pointer);
    AString(AFormat const& request);
    // NOLINTEND(google-explicit-constructor)
    ~AString() = default;

    AString& operator=(AString const&) = default;
    AString& operator=(AString&&) = default;
    AString& operator=(wchar_t const* text);
    AString& operator=(char const* narrow);
    AString& operator=(wchar_t character);
    AString& operator=(char byte);
    AString& operator=(AForeignCharacter auto character) = delete;
    AString& operator=(int number);
    AString& operator=(unsigned int number);
    AString& operator=(long number);
    AString& operator=(unsigned long number);
    AString& operator=(long long number);
    AString& operator=(unsigned long long number);
    AString& operator=(void* pointer);
    AString& operator=(AFormat const& request);

    /// Each appends what the constructor from the same type would hold.
    AString& operator<<(AString const& text);
    AString& operator<<(wchar_t const* text);
    AString& operator<<(char const* narrow);
    AString& operator<<(wchar_t character);
    AString& operator<<(char byte);
    AString& operator<<(AForeignCharacter auto character) = delete;
    AString& operator<<(int number);
    AString& operator<<(unsigned int number);
    AString& operator<<(long number);
    AString& operator<<(unsigned long number);
    AString& operator<<(long long number);
    AString& operator<<(unsigned long long number);
    AString& operator<<(void* pointer);
    AString& operator<<(AFormat const& request);

    AString& operator+=(ATextPiece auto const& text) { return *this << text; }

    /// Replaces the text by the formatted value and returns it. An unknown directive character is logged and
    /// skipped. A number wider than 34 characters is cut to 34.
    wchar_t const* execute(AFormat const& request) ZUN_LIFETIME_BOUND;

    /// Applies padding, cutting and case directives to the text itself and returns it.
    wchar_t const* format(AString const& flags, int width, int precision) ZUN_LIFETIME_BOUND;

    /// Lends a writable buffer of `count` characters, in which the borrower ends its text with a NUL. A guard
    /// behind the buffer is examined by checkAllocation, which ends the loan. A negative count is logged,
    /// changes nothing and returns the current text.
    wchar_t* allocate(int count) ZUN_LIFETIME_BOUND;

    /// Takes the buffer back and cuts the text at its first NUL. False, with an error logged and the text
    /// left as it is, when the guard was overwritten.
    bool checkAllocation();

    /// Cuts the text to its first `length` characters; a shorter text is left alone.
    void shrinkTo(unsigned long length);

    /// In characters.
    std::size_t size() const { return m_text.size(); }
    [[nodiscard]] bool empty() const { return m_text.empty(); }

    /// What atoi reads from the narrow form; 0 when it does not start with a number.
    int toInt() const;

    /// Replaces every occurrence, left to right; text that was put in is not searched again. An empty `find`
    /// changes nothing.
    void findAndReplace(AString const& find, AString const& replacement);

    /// Converts at most `count` characters of the narrow text to `destination + offset`, see mbstowcs(3). A
    /// failure is logged and leaves what was written.
    static void convert(char const* narrow, wchar_t* destination, int offset, int count);

    /// The characters; as the pointers and views below, valid until the text changes.
    wchar_t* begin() ZUN_LIFETIME_BOUND { return m_text.data(); }
    wchar_t* end() ZUN_LIFETIME_BOUND { return m_text.data() + m_text.size(); }
    wchar_t const* begin() const ZUN_LIFETIME_BOUND { return m_text.data(); }
    wchar_t const* end() const ZUN_LIFETIME_BOUND { return m_text.data() + m_text.size(); }

    std::wstring& cpp_str() ZUN_LIFETIME_BOUND { return m_text; }
    std::wstring const& const_cpp_str() const ZUN_LIFETIME_BOUND { return m_text; }
    // NOLINTBEGIN(google-explicit-constructor): it goes wherever a wide text is taken
    operator std::wstring const&() const ZUN_LIFETIME_BOUND { return m_text; }
    operator std::wstring_view() const ZUN_LIFETIME_BOUND { return m_text; }
    /// NUL-terminated.
    operator wchar_t const*() const ZUN_LIFETIME_BOUND { return m_text.c_str(); }
    // NOLINTEND(google-explicit-constructor)
    /// Not whether there is text: see empty.
    explicit operator bool() const = delete;

    /// Whole texts, character by character. With anything but wide text, == compares the text that an AString
    /// made of it holds: 0 is "0", while nullptr stands for "(null)".
    friend bool operator==(AString const& left, AString const& right) { return left.m_text == right.m_text; }
    friend bool operator==(AString const& left, std::nullptr_t) { return left == nullText; }
    template <std::same_as<int> Number>
    friend bool operator==(AString const& left, Number right) {
        return left == AString(right);
    }
    template <AWideText Left, AWideText Right>
    requires AStringAndOther<Left, Right>
    friend bool operator==(Left const& left, Right const& right) { return viewOf(left) == viewOf(right); }
    template <AWideText Left, AWideText Right>
    requires AStringAndOther<Left, Right>
    friend std::strong_ordering operator<=>(Left const& left, Right const& right) {
        return viewOf(left).compare(viewOf(right)) <=> 0;
    }
    // By themselves too: with <=> alone, std::less<> would order the texts' addresses.
    template <AWideText Left, AWideText Right>
    requires AStringAndOther<Left, Right>
    friend bool operator<(Left const& left, Right const& right) { return viewOf(left) < viewOf(right); }
    template <AWideText Left, AWideText Right>
    requires AStringAndOther<Left, Right>
    friend bool operator>(Left const& left, Right const& right) { return viewOf(left) > viewOf(right); }
    template <AWideText Left, AWideText Right>
    requires AStringAndOther<Left, Right>
    friend bool operator<=(Left const& left, Right const& right) { return viewOf(left) <= viewOf(right); }
    template <AWideText Left, AWideText Right>
    requires AStringAndOther<Left, Right>
    friend bool operator>=(Left const& left, Right const& right) { return viewOf(left) >= viewOf(right); }

    template <ATextPiece Left, ATextPiece Right>
    requires AStringAndOther<Left, Right>
    [[nodiscard]] friend AString operator+(Left const& left, Right const& right) {
        AString sum(left);
        sum << right;
        return sum;
    }

    /// Writes the text; a narrow stream would write the characters' address.
    ZUN_API friend std::wostream& operator<<(std::wostream& out, AString const& text);
    friend std::ostream& operator<<(std::ostream& out, AString const& text) = delete;

    /// Orders by wcscmp.
    struct ZUN_API CaseSensitiveLess {
        bool operator()(AString const& left, AString const& right) const;
    };
    /// Orders by wcsicmp.
    struct ZUN_API CaseInsensitiveLess {
        bool operator()(AString const& left, AString const& right) const;
    };

private:
    static constexpr wchar_t const* nullText = L"(null)";

    template <typename Text>
    static std::wstring_view viewOf(Text const& text) {
        if constexpr (std::is_pointer_v<Text>)
            return text ? text : nullText;
        else
            return text;
    }

    std::wstring m_text;
};

/// A number, a character, an enumerator or a pointer that an AString can be made of.
template <typename Source>
concept AScalarSource = std::is_scalar_v<Source> && requires(AString& text, Source source) {
    text << source;
};

/// An object that an AString can be made of.
template <typename Source>
concept AClassSource = std::is_class_v<Source> && requires(AString& text, Source const& source) {
    text << source;
};

template <>
struct std::hash<AString> {
    std::size_t operator()(AString const& text) const noexcept {
        return std::hash<std::wstring>()(text.const_cpp_str());
    }
};
