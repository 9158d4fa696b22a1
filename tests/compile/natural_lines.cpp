// Lines as programs write them: each must compile and give what stands beside it, under every compiler,
// standard and C++ library. Beside them the lines that would be misread: none may compile.

#include <zun/binary/ABinaryStream.h>
#include <zun/binary/Base64.h>
#include <zun/platform/helper/CommonHelper.h>
#include <zun/structured/MatchWildcard.h>
#include <zun/text/ACharString.h>
#include <zun/text/ALocalizedString.h>
#include <zun/text/AStringList.h>
#include <zun/text/AStringParser.h>
#include <zun/text/AVersion.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <map>
#include <set>
#include <sstream>
#include <unordered_map>
#include <vector>

namespace {

int failures = 0;

void check(bool holds, char const* line) {
    if (!holds)
        failures += std::printf("does not hold: %s\n", line) > 0;
}

// NOLINTNEXTLINE(cppcoreguidelines-macro-usage): the line itself is wanted for the message.
#define HOLDS(...) check((__VA_ARGS__), #__VA_ARGS__)

using Text = std::wstring;

Text joined(AString const& text) {
    return text;
}

std::size_t lengthOf(std::wstring_view text) {
    return text.size();
}

std::wstring_view viewed(AString const& text) {
    return text;
}

template <typename Source>
bool taken(Source source, wchar_t const* text) {
    AString assigned(L"old");
    assigned = source;
    return AString(source) == text && (AString(L"old") << source) == L"old" + AString(text) &&
           assigned == text && AStringList(L",", false) << source == text &&
           ALocalizedString(L"%1") << source == text;
}

void sources() {
    enum Level : std::int32_t { high = 7 };
    std::vector<int> const files(3);
    HOLDS(taken(std::int8_t{-1}, L"-1") && taken(std::uint8_t{200}, L"200") && taken(short{-2}, L"-2"));
    HOLDS(taken(std::uint16_t{65535}, L"65535") && taken(std::uint32_t{4294967295}, L"4294967295"));
    HOLDS(taken(5u, L"5") && taken(-5LL, L"-5") && taken(5ULL, L"5") && taken(files.size(), L"3"));
    HOLDS(taken(std::int64_t{-6}, L"-6") && taken(std::uint64_t{6}, L"6") &&
          taken(std::ptrdiff_t{-6}, L"-6"));
    HOLDS(taken(5000000000L, L"705032704") && taken(4294967297UL, L"1") &&
          taken(3000000000UL, L"3000000000"));
    HOLDS(taken(-5000000000LL, L"-5000000000") && taken(18446744073709551615ULL, L"18446744073709551615"));
    HOLDS(taken(high, L"7") && taken(true, L"1") && taken(0, L"0"));
    HOLDS(taken(L'x', L"x") && taken('x', L"x") && taken(L"wide", L"wide") && taken("narrow", L"narrow"));
    HOLDS(taken(static_cast<long>(INT_MIN), L"-2147483648") && taken("", L"") && taken(L'\x4e2d', L"\x4e2d"));
    HOLDS(taken(static_cast<wchar_t const*>(nullptr), L"(null)") &&
          taken(static_cast<char const*>(nullptr), L"(null)"));
    HOLDS(taken(reinterpret_cast<void*>(0x1234), L"00001234") &&
          taken(reinterpret_cast<void*>(0x1fedcba98), L"fedcba98"));
    HOLDS(taken(AFormat(7, L"0", 3), L"007") && taken(AString(L"text"), L"text"));
}

void texts() {
    AString s = L"text";
    std::wstring const wide = L"wide";
    std::wstring_view const view = std::wstring_view(L"view").substr(0, 2);
    wchar_t const* const null = nullptr;
    HOLDS(AString(view) == L"vi" && AString(wide) == wide && (AString() << view << wide) == L"viwide");
    HOLDS(lengthOf(s) == 4 && viewed(s) == L"text" && std::wstring_view(s) == s && joined(view) == L"vi");
    HOLDS(orvane_com::zun::helper::toNarrow(s) == "text" && std::stoi(AString(12)) == 12 &&
          Text(s) == L"text");
    HOLDS(s + L"x" == L"textx" && L"x" + s == L"xtext" && s + s == L"texttext" &&
          s + L'x' + 'y' + "z" == L"textxyz");
    HOLDS(wide + s == L"widetext" && s + wide + view == L"textwidevi" && s + null == L"text(null)");
    HOLDS(*(s + 1) == L'e' && s[1] == L'e');
    HOLDS(!s.empty() && AString().empty() && std::count(s.begin(), s.end(), L't') == 2);
    for (wchar_t& c : s)
        c = static_cast<wchar_t>(towupper(static_cast<wint_t>(c)));
    (((s += L"x") += 'y') += wide) += s;
    HOLDS(s == L"TEXTxywideTEXTxywide");
    std::wstring source(100, L'm');
    wchar_t const* const characters = source.data();
    AString const moved = std::move(source);
    HOLDS(static_cast<wchar_t const*>(moved) == characters);
    std::wostringstream out;
    out << moved + L"!" << 5;
    HOLDS(out.str() == std::wstring(100, L'm') + L"!5");
}

void comparisons() {
    AString const s = L"b";
    AString const same = L"b";
    wchar_t const* const null = nullptr;
    HOLDS(s == same && !(s != same) && s == L"b" && L"b" == s && s == std::wstring(L"b") &&
          s == std::wstring_view(L"b"));
    HOLDS(s == 'b' && s == L'b' && s == "b" && AString(5) == 5 && AString(5) == 5u && AString(0) == 0 &&
          s != 0);
    HOLDS(AString(null) == L"(null)" && AString(null) == nullptr && nullptr != s && AString(null) == null &&
          s != null);
    HOLDS(s < L"c" && L"a" < s && s <= same && s >= same && s > std::wstring(L"a") && (s <=> same) == 0);
    HOLDS(AString(std::wstring(L"b\0a", 3)) > s && std::less<>()(L"a", s) &&
          std::greater<>()(s, std::wstring(L"a")));
    std::set<AString> const set{L"c", L"a", L"b", L"a"};
    HOLDS(set.size() == 3 && *set.begin() == L"a" && set.count(L"b") == 1);
    std::map<AString, int, std::less<>> const map{{L"z", 1}, {L"y", 2}};
    HOLDS(map.begin()->second == 2 && map.find(L"z") != map.end() &&
          map.find(std::wstring_view(L"y")) != map.end());
    std::unordered_map<AString, int> hashed{{L"k", 1}};
    HOLDS(++hashed[AString("k")] == 2 && hashed.size() == 1);
    std::vector<AString> sorted{L"b", L"c", L"a"};
    std::sort(sorted.begin(), sorted.end());
#ifdef __cpp_lib_ranges
    std::ranges::sort(sorted);
#endif
    HOLDS(sorted == std::vector<AString>{L"a", L"b", L"c"});
    AVersion const version(1, 2, 3, 4);
    HOLDS(version == AVersion(L"1.2.3.4") && version < L"1.10" && AVersion(L"2") > version &&
          L"1.2" < version);
    AnObjectBuffer<unsigned char> const ab(2, reinterpret_cast<unsigned char const*>("ab"));
    AnObjectBuffer<unsigned char> const copy = ab;
    HOLDS(ab == copy && !(ab < copy) && ab == ABuffer("ab") && ABuffer("aa") < ab && ab != nullptr &&
          ab[1] == 'b');
    HOLDS(std::set<AnObjectBuffer<unsigned char>>{ab, copy}.size() == 1 && !std::less<>()(ab, copy));
}

void lists() {
    AStringList list(L",", false);
    list << L'x' << 'y' << std::wstring(L"w") << AString(L"s") << ACharString("c", 1) << 3000000000ul
         << AFormat(7, L"0", 2);
    wchar_t const* const whole = L"x,y,w,s,c,3000000000,07";
    AString const copied = list;
    Text const standard = list;
    HOLDS(copied == whole && standard == whole && list == whole && whole == list &&
          list.size() == lengthOf(whole));
    HOLDS((AString() << list) == whole && joined(list) == whole && list + L"" == whole && !list.empty());
    HOLDS((AStringList(L";", true) << list) == AString(whole) + L";" && copied == list && list < L"y");
    HOLDS((ALocalizedString(L"%1 %2") << 'x' << list) == AString(L"x ") + list &&
          list != ALocalizedString(whole) + L"!");
    HOLDS(ALocalizedString(whole) == list);
}

void nulls() {
    wchar_t const* const null = nullptr;
    AStringParser parser(L"a b", null);
    parser.skip(null);
    HOLDS(AString(parser.get(null)) == L"a b");
    AString left, right;
    parseInTwoFromRight(L"a=b", &left, nullptr, &right, true);
    HOLDS(left == L"a=b" && right.empty());
    wchar_t buffer[7] = L"";
    AString::convert(nullptr, buffer, 0, 7);
    HOLDS(buffer == AString(null) && conversionSpaceRequired(static_cast<char const*>(nullptr)) == 6);
    HOLDS(AString(static_cast<char const*>(ACharString(null))) == null && conversionSpaceRequired(null) == 7);
    HOLDS(wcsicmp(null, L"(NULL)") == 0 && AString(AFormat(5, nullptr, 2)) == L" 5");
}

void bytes() {
    unsigned char const record[] = {1, 0, 2, 0, 'x', 0};
    ABinaryStream in(record, sizeof record, true);
    AString name;
    HOLDS(in.readShort() == 1 && in.readShort() == 2 && in.readString(2, name) == 2 && name == L"x" &&
          in.atEnd());
    in.writeChar('y');
    HOLDS(in.pastEndWith(0) && record[5] == 0);
    AnObjectBuffer<unsigned char> const buffer(6, record);
    in.setPointer(buffer, buffer.size());
    in.writeString(L"");
    HOLDS(in.readUint32() == 0x20001u && ABinaryStream(buffer.getBytes(), 6, false).readShort() == 0x100);
    in.writeShort(5);
    HOLDS(in.atEnd() && buffer == AnObjectBuffer<unsigned char>(6, record));
    HOLDS(ABinaryStream(nullptr, 0, true).atEnd() && ABinaryStream(false).atEnd() &&
          ABinaryStream(0).atEnd());
    HOLDS(ABase64Encode::encode(ABuffer("fo")) == L"Zm8=" && ABase64Encode::encode(buffer) == L"AQACAHgA");
    HOLDS(ABase64Encode::encode(nullptr, 3) == L"AAAA");
    bool (*const byValue)(std::string, std::string) = MatchWildcard;
    bool (*const byReference)(std::string const&, std::string const&) = &MatchWildcard;
    HOLDS(byValue("*c", "abc") && byReference("*c", "abc") && MatchWildcard("A*", std::string("abc")));
}

// Refused lines. Every one stands beside its neighbour that compiles, which shows that the question can be
// answered with yes; a template, so that a line that does not compile answers no.
template <typename String, typename List, typename Localized, typename Stream, typename Version>
consteval bool refused() {
#define LINE(parameters, ...) (requires parameters { __VA_ARGS__; })
    static_assert(!LINE((unsigned char* data), Stream(data)) &&
                  LINE((unsigned char* data), Stream(data, 2, true)));
    static_assert(!LINE((String s), Stream(s)) && !LINE((ABuffer b), Stream(b)) &&
                  LINE((bool little), Stream(little)));
    static_assert(!LINE((String s), s << u'x') && !LINE((String s), s << U'x') &&
                  LINE((String s), s << L'x'));
    static_assert(!LINE((String s), s = u8'x') && !LINE((String), String(u'x')) && LINE((String s), s = 'x'));
    static_assert(!LINE((String s), s << 1.5) && !LINE((String s), s << nullptr) && LINE((String s), s << 1));
    static_assert(!LINE((String s, double* p), s += p) && !LINE((String s), s += 1) &&
                  LINE((String s), s += L"1"));
    static_assert(!LINE((String s), static_cast<bool>(s)) && !LINE((String s), !s) &&
                  LINE((String s), !s.empty()));
    static_assert(!LINE((String s), s < nullptr) && !LINE((String s), s < 1) && LINE((String s), s < L"1"));
    static_assert(!LINE((String s, std::ostream & o), o << s) && LINE((String s, std::wostream & o), o << s));
    static_assert(!LINE((String s, std::wstring w), w = s) &&
                  LINE((String s, std::wstring w), w = s.const_cpp_str()));
    static_assert(!LINE((List l), l << u'x') && !LINE((List l), l += L"x") && LINE((List l), l << L"x"));
    static_assert(!LINE((List l), l << nullptr) && !LINE((List l), l << 1.5) && LINE((List l), l << 1ul));
    static_assert(!LINE((Localized l), l << u'x') && !LINE((Localized l), l << 1.5) &&
                  LINE((Localized l), l << 'x'));
    static_assert(!LINE((Version v), v < 2) && LINE((Version v), v < L"2"));
#undef LINE
    return true;
}
static_assert(refused<AString, AStringList, ALocalizedString, ABinaryStream, AVersion>());

} // namespace

int main() {
    sources();
    texts();
    comparisons();
    lists();
    nulls();
    bytes();
    return failures;
}
