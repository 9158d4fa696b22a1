#include <zun/text/AStringList.h>
#include <zun/text/AStringParser.h>

#include <gtest/gtest.h>

#include <array>

namespace {

TEST(AStringList, PutsTheDelimiterBetweenOrAfter) {
    AStringList between(L", ", false);
    EXPECT_STREQ(between, L"");
    between << 1 << L"x" << "narrow";
    EXPECT_STREQ(between, L"1, x, narrow");
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

TEST(ParseInTwo, SplitsAtTheFirstOrLastDelimiter) {
    using Case = std::array<wchar_t const*, 3>;
    AString left(L"old"), right(L"old");
    for (auto const& [text, first, second] :
         {Case{L"key=value/x", L"key", L"value/x"}, Case{L"whole", L"whole", L""}, Case{L"=x", L"", L"x"}}) {
        parseInTwo(text, &left, L"=/", &right);
        EXPECT_TRUE(left == first && right == second) << text;
    }
    for (bool const wholeToLeft : {true, false})
        for (auto const& [text, first, second] :
             {Case{L"key=value/x", L"key=value", L"x"}, Case{L"x/", L"x", L""}, Case{L"/x", L"", L"x"},
              Case{L"", L"", L""}, wholeToLeft ? Case{L"name", L"name", L""} : Case{L"name", L"", L"name"}}) {
            parseInTwoFromRight(text, &left, L"=/", &right, wholeToLeft);
            EXPECT_TRUE(left == first && right == second) << text;
        }
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
