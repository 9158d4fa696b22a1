#include <zun/text/AStringList.h>
#include <zun/text/AStringParser.h>

#include <gtest/gtest.h>

#include <utility>

namespace {

TEST(AStringList, JoinsItemsOfEveryKind) {
    AStringList between(L", ", false);
    EXPECT_STREQ(between, L"");
    between << 1 << L"x" << static_cast<wchar_t const*>(nullptr) << "narrow" << reinterpret_cast<void*>(0xff)
            << AFormat(7, L"0", 3);
    EXPECT_STREQ(between, L"1, x, (null), narrow, 000000ff, 007");
    between.clear();
    between << L"again" << static_cast<wchar_t const*>(between);
    EXPECT_STREQ(between, L"again, again");

    AStringList after(L";", true);
    after << L"a" << L"" << L"b";
    EXPECT_STREQ(after, L"a;;b;");
    EXPECT_STREQ(AStringList(nullptr, true) << 1, L"1(null)");
}

TEST(AStringParser, CutsTokensAtAnyDelimiter) {
    AStringParser parser(L"a,,b;c", L",");
    EXPECT_STREQ(parser.get(nullptr), L"a");
    EXPECT_STREQ(parser.get(nullptr), L"");
    EXPECT_STREQ(parser.getRemaining(), L"b;c");
    wchar_t const* const token = parser.get(L";,");
    EXPECT_FALSE(parser.atEnd());
    EXPECT_STREQ(parser.get(nullptr), L"c");
    EXPECT_TRUE(parser.atEnd());
    EXPECT_STREQ(parser.get(nullptr), L"");
    EXPECT_STREQ(token, L"b");

    parser.startAt(L"x\x4e2dy,", L"\x4e2d");
    EXPECT_STREQ(parser.get(nullptr), L"x");
    EXPECT_STREQ(parser.get(L""), L"y,");
}

TEST(AStringParser, SkipsWithinTheText) {
    AStringParser parser;
    parser.skip(1);
    EXPECT_STREQ(parser.get(L","), L"");
    parser.startAt(L"  \tkey=v", L"=");
    parser.skip(L" \t");
    EXPECT_STREQ(parser.getRemaining(), L"key=v");
    parser.skip(-1);
    parser.skip(2);
    EXPECT_STREQ(parser.get(nullptr), L"y");
    parser.skip(1000);
    EXPECT_TRUE(parser.atEnd());
    parser.skip(L"v");
    EXPECT_STREQ(parser.getRemaining(), L"");

    parser.startAt(nullptr, nullptr);
    EXPECT_STREQ(parser.get(nullptr), L"(null)");
}

using Halves = std::pair<std::wstring, std::wstring>;

Halves fromLeft(wchar_t const* text) {
    AString left(L"old"), right(L"old");
    parseInTwo(text, &left, L"=/", &right);
    return {left, right};
}

Halves fromRight(wchar_t const* text, bool wholeToLeft) {
    AString left(L"old"), right(L"old");
    parseInTwoFromRight(text, &left, L"=/", &right, wholeToLeft);
    return {left, right};
}

TEST(ParseInTwo, SplitsAtTheFirstOrLastDelimiter) {
    EXPECT_EQ(fromLeft(L"key=value/x"), Halves(L"key", L"value/x"));
    EXPECT_EQ(fromLeft(L"whole"), Halves(L"whole", L""));
    EXPECT_EQ(fromLeft(L"=x"), Halves(L"", L"x"));
    EXPECT_EQ(fromRight(L"key=value/x", true), Halves(L"key=value", L"x"));
    EXPECT_EQ(fromRight(L"x/", false), Halves(L"x", L""));
    EXPECT_EQ(fromRight(L"/x", false), Halves(L"", L"x"));
    EXPECT_EQ(fromRight(L"name", false), Halves(L"", L"name"));
    EXPECT_EQ(fromRight(L"name", true), Halves(L"name", L""));
    EXPECT_EQ(fromRight(L"", true), Halves(L"", L""));
}

TEST(ParseInTwo, WritesOnlyWhatIsAskedForEvenIntoItsSource) {
    AString text(L"a long enough key=and its value");
    parseInTwo(text, &text, L"=", nullptr);
    EXPECT_EQ(text, L"a long enough key");
    AString right;
    parseInTwoFromRight(text, nullptr, L" ", &right, false);
    parseInTwo(text, nullptr, L" ", &text);
    EXPECT_EQ(right, L"key");
    EXPECT_EQ(text, L"long enough key");
}

} // namespace
