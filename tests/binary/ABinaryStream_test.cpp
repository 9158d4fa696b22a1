#include <tests/support/LogCapture.h>
#include <zun/binary/ABinaryStream.h>

#include <gmock/gmock.h>

#include <bit>
#include <climits>

namespace {

using testing::ElementsAre;
using testing::EndsWith;

class ABinaryStreamTest : public testing::Test {
protected:
    void restart(std::size_t size) { m_stream.setPointer(m_block.data(), size); }
    std::string block() const { return {m_block.begin(), m_block.end()}; }

    LogCapture m_log;
    std::vector<unsigned char> m_block = std::vector<unsigned char>(13, '-');
    ABinaryStream m_stream{m_block.data(), m_block.size(), true};
    AString m_text;
    std::string m_bytes;
};

TEST_F(ABinaryStreamTest, RecordsInBothByteOrders) {
    AnObjectBuffer<unsigned char> const source(3, reinterpret_cast<unsigned char const*>("xyz"));
    AnObjectBuffer<unsigned char> read(20, nullptr);
    for (bool const little : {true, false}) {
        ABinaryStream stream(m_block.data(), m_block.size(), little);
        stream.writeUint32(0x01020304);
        stream.writeShort(0x0506);
        stream.writeBuffer(source, 2);
        stream.writeBuffer(source, 0);
        stream.writeChar('c');
        EXPECT_EQ(block(), (little ? "\4\3\2\1\6\5" : "\1\2\3\4\5\6") + std::string("xyxyzc-"));
        EXPECT_EQ(stream.getPointer(), m_block.data() + 12);
        stream.setPointer(m_block.data(), 12);
        EXPECT_EQ(stream.readUint32(), 0x01020304u);
        EXPECT_EQ(stream.readShort(), 0x0506);
        EXPECT_EQ(stream.readBuffer(5, read), 5);
        EXPECT_EQ(read.cpp_str(), "xyxyz");
        EXPECT_EQ(stream.readChar(), 'c');
        EXPECT_TRUE(stream.atEnd());
        EXPECT_FALSE(stream.pastEndError());
    }
}

TEST_F(ABinaryStreamTest, FieldsAreCutOrFilledToTheirWidth) {
    m_stream.writeString(8, L"abc");
    m_stream.writeString(2, L"abc");
    m_stream.writeString(L"abc");
    EXPECT_EQ(block(), std::string("abc\0\0\0\0\0ababc", 13));
    restart(13);
    EXPECT_TRUE(m_stream.readString(8, m_text) == 8 && m_stream.readString(5, m_bytes) == 5);
    EXPECT_TRUE(m_text == L"abc" && m_bytes == "ababc");
    EXPECT_EQ(m_stream.readString(1, m_text) + m_stream.readString(1, m_bytes), 0);
    EXPECT_TRUE(m_text.empty() && m_bytes.empty());
}

TEST_F(ABinaryStreamTest, OverrunIsStickyAndCounted) {
    restart(6);
    m_stream.writeUint32(7);
    EXPECT_EQ(m_stream.readUint32(), 0u);
    EXPECT_EQ(m_stream.readShort(), 0);
    EXPECT_TRUE(m_stream.atEnd());
    EXPECT_EQ(std::bit_cast<std::uintptr_t>(m_stream.getPointer()),
              std::bit_cast<std::uintptr_t>(m_block.data()) + 10);
    EXPECT_TRUE(m_stream.pastEndError() && m_stream.pastEndError());
    restart(1);
    EXPECT_FALSE(m_stream.pastEndError());
    m_stream.writeShort(0);
    EXPECT_EQ(m_block[0], 7);

    AnObjectBuffer<unsigned char> buffer(3, nullptr);
    for (int const count : {-1, INT_MIN}) {
        restart(6);
        EXPECT_EQ(m_stream.readBuffer(count, buffer), 0);
        EXPECT_EQ(buffer.size(), 0u);
        EXPECT_TRUE(m_stream.atEnd());
        restart(6);
        m_stream.readChar();
        m_stream.writeString(static_cast<unsigned long>(count), L"text");
        EXPECT_TRUE(m_stream.atEnd());
    }
    EXPECT_EQ(block().substr(4), "---------");
    ABinaryStream nowhere(true);
    nowhere.writeChar('x');
    EXPECT_TRUE(nowhere.pastEndError());
    m_stream.construct(m_block.data() + 2, m_block.data(), true);
    m_stream.writeShort(1);
    EXPECT_TRUE(m_stream.pastEndError());
    EXPECT_THAT(m_log.takeLines(),
                ElementsAre("[BinStrm] [E] internal error: Tried to write past buffer end by 4",
                            EndsWith("by 4"), EndsWith("by 1"), EndsWith("by 4")));
}

} // namespace
