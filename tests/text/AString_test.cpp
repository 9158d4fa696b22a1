#include <tests/support/CLibraryFormat.h>
#include <tests/support/LogCapture.h>
#include <zun/text/AString.h>

#include <gmock/gmock.h>

#include <climits>
#include <cwchar>

using testing::ElementsAre;
using testing::EndsWith;

namespace {

TEST(AString, AppendsAndFormatsItself) {
    AString text(L"ab");
    text << text << static_cast<wchar_t const*>(text);
    EXPECT_EQ(text, L"abababab");
    EXPECT_STREQ(text.execute(AFormat(static_cast<wchar_t const*>(text) + 5, L"^", 4, -1)), L" BAB");
}

TEST(AFormat, AgreesWithTheCLibrary) {
    for (int const width : {-99, -5, -1, 0, 1, 2, 10, 11, 35})
        for (int const precision : {-1, 0, 1, 4, 40}) {
            for (wchar_t const* const flags :
                 {L"", L"-", L"0", L"-0", L"u", L"0u", L"-u", L"x", L"0x", L"x-0", L"ux", L"xu"})
                for (long const value : {0L, 7L, -1L, 99L, 100L, -4711L, 10000L, 5000000000L, long{INT_MAX},
                                         long{INT_MIN}, LONG_MAX, LONG_MIN}) {
                    AFormat request(value, flags, width);
                    request.precision = precision;
                    ASSERT_EQ(AString(request).const_cpp_str(), formatWithCLibrary(request))
                        << value << " width " << width << " precision " << precision << " flags "
                        << testing::PrintToString(flags);
                }
            for (wchar_t const* const flags : {L"", L"-"})
                for (wchar_t const* const text : {L"", L"a", L"hello", L"\x4e2d\x6587, longer than ten"}) {
                    AFormat const request(text, flags, width, precision);
                    ASSERT_EQ(AString(request).const_cpp_str(), formatWithCLibrary(request))
                        << "width " << width << " precision " << precision;
                }
        }
}

TEST(AFormat, GoesOnWhereTheCLibraryStops) {
    std::wstring const blanks(40, L' ');
    std::wstring const zeros = L"-" + std::wstring(33, L'0');
    EXPECT_EQ(AString(AFormat(-7, L"0", 99)), zeros);
    EXPECT_EQ(AString(AFormat(7, L"", INT_MAX)), blanks.substr(0, 34));
    EXPECT_EQ(AString(AFormat(7, L"", INT_MIN)), L"7" + blanks.substr(0, 33));
    AFormat precise(-7, L"", 36);
    for (auto const& [precision, text] : {std::pair(INT_MAX, zeros), {-2, blanks.substr(0, 34)}}) {
        precise.precision = precision;
        EXPECT_EQ(AString(precise), text);
    }

    EXPECT_EQ(AString(AFormat(L"abc", L"", -40, -1)).const_cpp_str(), L"abc" + blanks.substr(0, 37));
    EXPECT_EQ(AString(AFormat(L"abc", L"0", 5, -7)), L"  abc");
    EXPECT_EQ(AString(AFormat(nullptr, L"^", 8, -1)), L"  (NULL)");
    wchar_t const unterminated[] = {L'a', L'b', L'c'};
    EXPECT_EQ(AString(AFormat(unterminated, L"", -1, 3)), L"abc");
}

TEST(AFormat, MapsCaseAndReportsUnknownDirectives) {
    EXPECT_EQ(AString(AFormat(255, L"x^", -1)), L"FF");
    EXPECT_EQ(AString(AFormat(L"aBc", L"_^", -1, -1)), L"ABC");
    AString text(std::wstring(L"aBc\0def", 7));
    EXPECT_STREQ(text.format(L"_", 5, 2), L"   ab");
    EXPECT_EQ(text.size(), 5u);

    LogCapture log;
    EXPECT_EQ(AString(AFormat(1, L"d0", 3)), L"001");
    EXPECT_THAT(log.takeLines(), ElementsAre("[String] [E] internal error: unknown format character [d]"));
}

TEST(AString, LendsABufferAndSeesItOverrun) {
    LogCapture log;
    AString text(L"a longer text than what is lent");
    std::wcscpy(text.allocate(10), L"hi");
    EXPECT_TRUE(text.checkAllocation());
    EXPECT_EQ(text, L"hi");
    std::wmemcpy(text.allocate(3), L"abc", 3);
    EXPECT_TRUE(text.checkAllocation());
    EXPECT_EQ(text, L"abc");
    text.allocate(0);
    EXPECT_TRUE(text.checkAllocation());
    EXPECT_EQ(log.takeLines().size(), 0u);

    EXPECT_FALSE(text.checkAllocation());
    std::wmemset(text.allocate(2), L'x', 3);
    EXPECT_FALSE(text.checkAllocation());
    EXPECT_STREQ(text.allocate(-1), L"xxx");
    std::string const overwritten = "[String] [E] internal error: End of string overwritten";
    EXPECT_THAT(log.takeLines(),
                ElementsAre(overwritten, overwritten, "[String] [E] Error trace:",
                            EndsWith("Received invalid negative memory allocation request")));
}

TEST(AString, ReplacesOccurrencesOnce) {
    auto const replaced = [](AString text, wchar_t const* find, wchar_t const* replacement) {
        text.findAndReplace(find, replacement);
        return text.const_cpp_str();
    };
    EXPECT_EQ(replaced(L"aaa", L"a", L"aa"), L"aaaaaa");
    EXPECT_EQ(replaced(L"aaa", L"aa", L"b"), L"ba");
    EXPECT_EQ(replaced(L"<>x<>", L"<>", L""), L"x");
    EXPECT_EQ(replaced(L"Case", L"c", L"x"), L"Case");
    EXPECT_EQ(replaced(L"abc", L"", L"x"), L"abc");
}

TEST(AString, CutsReadsAndOrders) {
    AString text(L"abc");
    text.shrinkTo(4);
    EXPECT_EQ(text.size(), 3u);
    text.shrinkTo(1);
    EXPECT_EQ(text, L"a");

    EXPECT_EQ(AString(L" \t-12x").toInt(), -12);
    EXPECT_EQ(AString(L"x12").toInt(), 0);

    EXPECT_TRUE(AString::CaseSensitiveLess()(L"B", L"a"));
    EXPECT_FALSE(AString::CaseInsensitiveLess()(L"B", L"a"));
    EXPECT_FALSE(AString::CaseInsensitiveLess()(L"A", L"a"));
}

} // namespace
