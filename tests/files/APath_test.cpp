#include <zun/files/APath.h>

#include <gtest/gtest.h>

#include <array>

namespace {

TEST(APathTest, OneSlashWherePartsMeet) {
    using Case = std::array<wchar_t const*, 3>;
    for (auto const& [base, name, joined] :
         {Case{L"/a", L"b", L"/a/b"}, Case{L"/a/", L"/b", L"/a/b"}, Case{L"/a", L"/b", L"/a/b"},
          Case{L"/a/", L"//b", L"/a//b"}, Case{L"/a", L"//b", L"/a//b"}, Case{L"", L"/b", L"/b"},
          Case{L"/a/", L"", L"/a/"}, Case{nullptr, nullptr, L""}, Case{L"/", L"b", L"/b"}}) {
        AString out(L"old");
        EXPECT_STREQ(joinPath(&out, base, name), joined);
        EXPECT_EQ(out, joined);
    }
    AString path = APath(L"/some/longer/directory", L"b");
    EXPECT_STREQ(joinPath(&path, path, static_cast<wchar_t const*>(path) + 1),
                 L"/some/longer/directory/b/some/longer/directory/b");
}

TEST(APathTest, SplitsAtTheLastSlash) {
    AString directory;
    AString name(L"/a//b.txt");
    EXPECT_TRUE(splitPath(name, &directory, &name));
    EXPECT_EQ(directory, L"/a/");
    EXPECT_EQ(name, L"b.txt");
    EXPECT_TRUE(splitPath(L"/x", &directory, nullptr));
    EXPECT_EQ(directory, L"");
    EXPECT_FALSE(splitPath(L"none", &directory, &name));
    EXPECT_EQ(directory, L"none");
    EXPECT_EQ(name, L"");
}

} // namespace
