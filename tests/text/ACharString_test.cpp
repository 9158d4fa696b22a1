#include <tests/support/LogCapture.h>
#include <tests/support/Utf8Locale.h>
#include <zun/text/ACharString.h>
#include <zun/text/AString.h>

#include <gtest/gtest.h>

#include <climits>
#include <clocale>
#include <new>

namespace {

void useLocale(char const* name) {
    if (!std::setlocale(LC_ALL, name))
        ADD_FAILURE() << "no locale " << name;
}

std::string narrowed(wchar_t const* wide) {
    ACharString const narrow(wide);
    int const space = conversionSpaceRequired(wide);
    EXPECT_EQ(narrow.size() + 1, space);
    std::string written(static_cast<std::size_t>(space), '#');
    convert(wide, written.data());
    EXPECT_EQ(written, std::string(narrow, static_cast<std::size_t>(space)));
    return {narrow, static_cast<std::size_t>(narrow.size())};
}

TEST(ACharString, HoldsTheTextInTheCurrentLocale) {
    EXPECT_EQ(narrowed(L""), "");
    EXPECT_EQ(narrowed(nullptr), "(null)");
    useLocale("C");
    EXPECT_EQ(narrowed(L"a\x4e2d\x6587z"), "a??z");
    useLocale(utf8Locale);
    EXPECT_EQ(narrowed(L"a\x4e2d\U0001f600z"), "a\xe4\xb8\xad\xf0\x9f\x98\x80z");
    wchar_t const unrepresentable[] = {L'a', L'\xd800', L'\xe9', L'\0'};
    EXPECT_EQ(narrowed(unrepresentable), "a?\xc3\xa9");
}

TEST(ACharString, CopiesBytesOfAnyPossibleSize) {
    EXPECT_STREQ(ACharString("abc", 2), "ab");
    EXPECT_EQ(std::string(ACharString("a\0b", 3), 4), std::string("a\0b\0", 4));
    EXPECT_STREQ(ACharString(nullptr, 3), "");
    EXPECT_STREQ(ACharString(), "");
    EXPECT_THROW(checkNewChar(-1), std::bad_alloc);
    for (int const size : {-1, INT_MAX})
        EXPECT_THROW(ACharString("abc", size), std::bad_alloc);
}

TEST(NarrowConversion, MeasuresAndConvertsWhatTheLocaleKnows) {
    useLocale(utf8Locale);
    EXPECT_EQ(conversionSpaceRequired("z\xe4\xb8\xad"), 2);
    AString text(L"old ");
    text << "z\xe4\xb8\xad";
    EXPECT_EQ(text, L"old z\x4e2d");
    wchar_t buffer[] = L"#######";
    AString::convert("abc", buffer, 2, 2);
    EXPECT_STREQ(buffer, L"##ab###");
}

TEST(NarrowConversion, ReportsWhatTheLocaleDoesNotKnow) {
    useLocale(utf8Locale);
    LogCapture log;
    auto const lastLine = [&log] {
        std::vector<std::string> const lines = log.takeLines();
        return lines.empty() ? "nothing" : lines.back();
    };
    AString text(L"old");
    text << "ab\xff";
    EXPECT_EQ(text, L"old");
    EXPECT_NE(lastLine().find("couldn't query space for wide character conversion"), std::string::npos);

    wchar_t buffer[] = L"####";
    AString::convert("a\xff", buffer, 0, 4);
    EXPECT_EQ(buffer[0], L'a');
    EXPECT_NE(lastLine().find("couldn't convert to wide characters"), std::string::npos);

    for (char const byte : {'\0', '\xe4', '\xff'}) {
        EXPECT_EQ(convertOne(byte), L'\0');
        EXPECT_NE(lastLine().find("couldn't convert a wide character"), std::string::npos);
    }
    // The lead byte before it was no beginning: each byte stands alone.
    EXPECT_EQ(convertOne('a'), L'a');
    EXPECT_EQ(lastLine(), "nothing");
}

TEST(Wcsicmp, ComparesIgnoringCaseInTheLocale) {
    EXPECT_TRUE(wcsicmp(L"abc", L"ABD") < 0 && wcsicmp(L"b", L"ABC") > 0 && wcsicmp(L"abc", L"ABC") == 0);
    EXPECT_TRUE(wcsicmp(L"ab", L"abc") < 0 && wcsicmp(L"abc", L"ab") > 0);
    EXPECT_EQ(wcsicmp(L"a", L"c"), 'A' - 'C');
    useLocale(utf8Locale);
    EXPECT_EQ(wcsicmp(L"\xe9t\xe9", L"\xc9T\xc9"), 0);
}

} // namespace
