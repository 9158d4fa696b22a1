#include <zun/text/AVersion.h>

#include <gtest/gtest.h>

namespace {

std::wstring read(wchar_t const* text) {
    return AVersion(text).getString().const_cpp_str();
}

TEST(AVersion, ReadsAsFarAsTheTextIsAVersion) {
    EXPECT_EQ(read(L"5.2.1.104"), L"5.2.1.104");
    EXPECT_EQ(read(L" 5. 2"), L"5.2.0.0");
    EXPECT_EQ(read(L"5.2.x.4"), L"5.2.0.0");
    EXPECT_EQ(read(L"5x2"), L"5.0.0.0");
    EXPECT_EQ(read(L"65535.1.2.3.4"), L"65535.1.2.3");
    for (wchar_t const* const none : {L"", L"abc", L".1", static_cast<wchar_t const*>(nullptr)})
        EXPECT_EQ(read(none), L"0.0.0.0");
}

TEST(AVersion, SpillsPartsThatAreOutOfRange) {
    AVersion version(1, 2, 4, 65536);
    EXPECT_EQ(version.get3(), 5);
    EXPECT_EQ(version.get4(), 0);
    version.set(0, 0, 0, -1);
    EXPECT_EQ(version.getString(), L"65535.65535.65535.65535");
}

TEST(AVersion, OrdersByTheMostSignificantPart) {
    AVersion const version(L"5.2.1.104");
    AVersion const below(L"5.2.0.999"), same(5, 2, 1, 104), above(65535, 0, 0, 0);
    EXPECT_EQ(version.compare(&below), 1);
    EXPECT_EQ(version.compare(&same), 0);
    EXPECT_EQ(version.compare(&above), -1);
}

} // namespace
