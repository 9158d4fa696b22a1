#include <tests/support/LogCapture.h>
#include <zun/binary/ABuffer.h>

#include <gmock/gmock.h>

#include <climits>
#include <stdexcept>

namespace {

TEST(ABufferTest, GrowingZeroFillsAndKeepsATerminator) {
    ABuffer buffer("ab");
    EXPECT_EQ(buffer.size(), 2u);
    EXPECT_TRUE(buffer.tryExpandBy(2, reinterpret_cast<unsigned char const*>("xy")));
    EXPECT_STREQ(reinterpret_cast<char const*>(buffer.getBytes()), "abxy");
    EXPECT_TRUE(buffer.tryExpandBy(2) && buffer.tryToReserve(99));
    EXPECT_EQ(buffer.cpp_str(), std::string("abxy\0\0", 6));
    buffer.shrinkTo(9);
    EXPECT_EQ(buffer.size(), 6u);
    buffer.shrinkTo(1);
    EXPECT_TRUE(buffer.tryAllocate(3));
    EXPECT_EQ(buffer.cpp_str(), std::string("a\0\0", 3));
    EXPECT_EQ(buffer.getBytes()[3], 0);
}

TEST(ABufferTest, SourceMayLieInTheBufferItself) {
    std::string const text(40, 'x');
    ABuffer buffer((text + "end").c_str());
    EXPECT_TRUE(buffer.tryExpandBy(buffer.size(), buffer.getBytes()));
    EXPECT_EQ(buffer.cpp_str(), text + "end" + text + "end");
    EXPECT_TRUE(buffer.tryAllocate(5, buffer.getBytes() + 38));
    EXPECT_EQ(buffer.cpp_str(), "xxend");
    buffer.allocate(500, buffer.getBytes() + 2);
    EXPECT_EQ(buffer.cpp_str(), "end" + std::string(497, '\0'));
}

TEST(ABufferTest, SizeThatCannotExistIsLoggedAndLosesNothing) {
    LogCapture log;
    ABuffer buffer("ab");
    EXPECT_FALSE(buffer.tryAllocate(ULONG_MAX - 1, reinterpret_cast<unsigned char const*>("x")));
    EXPECT_FALSE(buffer.tryExpandBy(ULONG_MAX) || buffer.tryExpandBy(ULONG_MAX, buffer.getBytes()));
    EXPECT_EQ(buffer.cpp_str(), "ab");
    std::vector<std::string> const lines = log.takeLines();
    ASSERT_EQ(lines.size(), 6u);
    EXPECT_THAT(lines[1],
                testing::MatchesRegex(".Buffer. .E.   Exception .+ trying to allocate 4294967294 bytes"));
    EXPECT_THAT(lines[3], testing::MatchesRegex(".Buffer. .E.   Exception .+ trying to allocate 1 bytes"));
    EXPECT_THROW(buffer.allocate(ULONG_MAX), std::length_error);
}

} // namespace
