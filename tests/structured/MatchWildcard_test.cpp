#include <tests/support/LiteralWildcard.h>
#include <zun/structured/MatchWildcard.h>

#include <gtest/gtest.h>

#include <string_view>
#include <vector>

namespace {

/// All texts over the alphabet up to the length.
std::vector<std::string> allTexts(std::string_view alphabet, std::size_t length) {
    std::vector<std::string> texts{""};
    for (std::size_t i = 0; texts[i].size() < length; ++i)
        for (char const c : alphabet)
            texts.push_back(texts[i] + c);
    return texts;
}

TEST(MatchWildcardTest, IgnoresTheCaseOfAsciiLetters) {
    EXPECT_TRUE(MatchWildcard("A*C", "abc"));
    EXPECT_TRUE(MatchWildcard("*.txt", "notes.TXT"));
    EXPECT_FALSE(MatchWildcard("\xc3\x84", "\xc3\xa4"));
    EXPECT_FALSE(MatchWildcard("[", "{"));
    EXPECT_FALSE(MatchWildcard("a?c", "abc"));
    EXPECT_FALSE(MatchWildcard("abc*", "ABC"));
}

TEST(MatchWildcardTest, AgreesWithTryingEveryPlace) {
    std::vector<std::string> const all = allTexts("ab*", 6);
    for (std::string const& pattern : all)
        for (std::string const& text : all)
            ASSERT_EQ(MatchWildcard(pattern, text), literal::matchWildcard(pattern, text))
                << pattern << ' ' << text;
}

/// Trying every place would not end within the test's time.
TEST(MatchWildcardTest, ManyStarsAnswerAtOnce) {
    std::string pattern;
    for (int star = 0; star < 20; ++star)
        pattern += "*a";
    std::string const text(5000, 'a');
    EXPECT_FALSE(MatchWildcard(pattern + "b", text));
    EXPECT_TRUE(MatchWildcard(pattern + "*", text));
}

TEST(PercentEncodeSpaceInPathTest, OnlySpacesChange) {
    for (auto const& [path, encoded] :
         {std::pair("a b  c", "a%20b%20%20c"), {" ", "%20"}, {"/a%20\t", "/a%20\t"}}) {
        std::string text = path;
        percentEncodeSpaceInPath(text);
        EXPECT_EQ(text, encoded);
    }
}

TEST(ConvertFqdnToNetbiosTest, CutsNamesAndLeavesAddresses) {
    for (auto const& [name, label] : {std::pair(L"host.example.com", L"host"),
                                      {L"255.255.255.255", L"255"},
                                      {L"1.2.3.4.5", L"1"},
                                      {L".local", L""}}) {
        std::wstring text = name;
        EXPECT_TRUE(convertFqdnToNetbios(text)) << label;
        EXPECT_EQ(text, label);
    }
    for (std::wstring const kept : {L"10.0.0.1", L"host", L""}) {
        std::wstring text = kept;
        EXPECT_FALSE(convertFqdnToNetbios(text));
        EXPECT_EQ(text, kept);
    }
}

} // namespace
