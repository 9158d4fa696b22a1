#include <zun/binary/ABinaryStream.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <tests/support/LogCapture.h>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::EndsWith;

class ABinaryStreamTest : public testing::Test {
protected:
    LogCapture m_log;
    std::vector<unsigned char> m_block = std::vector<unsigned char>(6, 0xee);
    ABinaryStream m_stream{m_block.data(), m_block.size(), true};
    AString m_text;
    std::string m_bytes;
};

TEST_F(ABinaryStreamTest, IntegersInBothByteOrders) {
    m_stream.writeUint32(0x01020304);
    m_stream.writeShort(0x0506);
    EXPECT_THAT(m_block, ElementsAre(4, 3, 2, 1, 6, 5));
    EXPECT_TRUE(m_stream.atEnd());
    EXPECT_FALSE(m_stream.pastEndError());

    ABinaryStream network(m_block.data(), m_block.size(), false);
    EXPECT_EQ(network.readUint32(), 0x04030201u);
    EXPECT_EQ(network.readShort(), 0x0605);
    network.setPointer(m_block.data(), 5);
    network.writeShort(0x0102);
    network.writeChar('c');
    EXPECT_THAT(m_block, ElementsAre(1, 2, 'c', 1, 6, 5));
    EXPECT_EQ(network.getPointer(), m_block.data() + 3);
    network.setPointer(m_block.data(), 1);
    EXPECT_EQ(network.readChar(), 1);
}

TEST_F(ABinaryStreamTest, OverrunIsStickyAndCounted) {
    m_stream.writeUint32(7);
    m_stream.setPointer(m_block.data(), m_block.size());
    EXPECT_EQ(m_stream.readUint32(), 7u);
    EXPECT_EQ(m_stream.readUint32(), 0u);
    EXPECT_EQ(m_stream.readShort(), 0);
    EXPECT_TRUE(m_stream.atEnd());
    EXPECT_EQ(m_stream.getPointer(), m_block.data() + 6);
    EXPECT_TRUE(m_stream.pastEndError());
    EXPECT_TRUE(m_stream.pastEndError());
    EXPECT_THAT(m_log.takeLines(),
                ElementsAre(EndsWith("internal error: Tried to write past buffer end by 4"),
                            EndsWith("internal error: Tried to write past buffer end by 4")));
    m_stream.setPointer(m_block.data(), 1);
    EXPECT_FALSE(m_stream.pastEndError());
    m_stream.writeShort(0);
    EXPECT_EQ(m_block[0], 7);
}

TEST_F(ABinaryStreamTest, CountsThatWrapAndNegativeOnesOverrun) {
    m_stream.writeChar('a');
    m_stream.writeString(ULONG_MAX, L"text");
    EXPECT_TRUE(m_stream.pastEndError());
    AnObjectBuffer<unsigned char> buffer(3, nullptr);
    for (int const count : {-1, INT_MIN}) {
        m_stream.setPointer(m_block.data(), m_block.size());
        EXPECT_EQ(m_stream.readBuffer(count, buffer), 0);
        EXPECT_EQ(buffer.size(), 0u);
        EXPECT_EQ(m_stream.readString(count, m_bytes), 0);
        EXPECT_EQ(m_stream.readString(count, m_text), 0);
        EXPECT_TRUE(m_stream.atEnd());
    }
    EXPECT_THAT(m_block, ElementsAre('a', 0xee, 0xee, 0xee, 0xee, 0xee));
    EXPECT_THAT(m_log.takeLines(), ElementsAre(EndsWith("end by -6")));

    ABinaryStream nowhere(true);
    EXPECT_TRUE(nowhere.atEnd());
    nowhere.writeString(L"");
    nowhere.writeChar('x');
    EXPECT_TRUE(nowhere.pastEndError());
    EXPECT_EQ(nowhere.getPointer(), nullptr);
    EXPECT_THAT(m_log.takeLines(), ElementsAre(EndsWith("end by 1")));
}

TEST_F(ABinaryStreamTest, FieldsAreCutOrFilledToTheirWidth) {
    m_block.resize(13);
    m_stream.setPointer(m_block.data(), m_block.size());
    m_stream.writeString(8, L"abc");
    m_stream.writeString(2, L"abc");
    m_stream.writeString(L"abc");
    EXPECT_TRUE(m_stream.atEnd());
    EXPECT_EQ(std::string(m_block.begin(), m_block.end()), std::string("abc\0\0\0\0\0ababc", 13));

    m_stream.setPointer(m_block.data(), m_block.size());
    EXPECT_EQ(m_stream.readString(8, m_text), 8);
    EXPECT_EQ(m_stream.readString(5, m_bytes), 5);
    EXPECT_EQ(m_text, L"abc");
    EXPECT_EQ(m_bytes, "ababc");
    EXPECT_EQ(m_stream.readString(1, m_text), 0);
    EXPECT_EQ(m_stream.readString(1, m_bytes), 0);
    EXPECT_EQ(m_text, L"");
    EXPECT_EQ(m_bytes, "");
}

TEST_F(ABinaryStreamTest, BuffersWholeAndInPart) {
    AnObjectBuffer<unsigned char> const source(3, reinterpret_cast<unsigned char const*>("xyz"));
    m_stream.writeBuffer(source, 2);
    m_stream.writeBuffer(source, 0);
    EXPECT_THAT(m_block, ElementsAre('x', 'y', 'x', 'y', 'z', 0xee));
    m_stream.setPointer(m_block.data(), m_block.size());
    AnObjectBuffer<unsigned char> read(20, nullptr);
    EXPECT_EQ(m_stream.readBuffer(4, read), 4);
    EXPECT_EQ(read.cpp_str(), "xyxy");
    m_stream.writeBuffer(source, 9);
    EXPECT_TRUE(m_stream.pastEndError());
    EXPECT_EQ(m_block[4], 'z');
}

} // namespace
