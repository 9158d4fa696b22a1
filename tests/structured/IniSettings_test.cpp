#include <zun/structured/IniSettings.h>

#include <gtest/gtest.h>

#include <functional>

namespace {

TEST(IniSettingsTest, NobodyCanChooseNamesThatCollide) {
    // They collide in the hash that everybody has.
    constexpr int count = 1000;
    constexpr std::size_t sameBits = 0x7FF;
    IniSettings settings;
    settings.enterSection(L"s");
    std::wstring last;
    for (int number = 0, found = 0; found < count; ++number) {
        std::wstring key = L"k" + std::to_wstring(number);
        if ((std::hash<std::wstring_view>()(key) & sameBits) != 0)
            continue;
        ++found;
        ASSERT_TRUE(settings.insert(key, L"v"));
        last = std::move(key);
    }
    EXPECT_LT(settings.longestSearch(), 250u);
    std::wstring value;
    EXPECT_TRUE(settings.find(L"s", last, value));
}

} // namespace
