#include <tests/support/Base64Calls.h>
#include <zun/binary/Base64.h>
#include <zun/binary/ByteOrder.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>

namespace {

static_assert(Host2Le4(0x11223344) == (ComputerIsLe() ? 0x11223344 : 0x44332211));
static_assert(Be2Host4(Host2Be4(0x11223344)) == 0x11223344 && Host2Be4(0x11223344) != Host2Le4(0x11223344));
static_assert(ReverseBytes4(0x11223344) == 0x44332211 && ReverseBytes2(0x1122) == 0x2211);
static_assert(Host2Be2(0x1122) == (ComputerIsLe() ? 0x2211 : 0x1122) && Le2Host2(Host2Le2(0x1122)) == 0x1122);

TEST(Base64Test, KnownTexts) {
    using Text = std::array<std::string, 2>;
    for (auto const& [bytes, text] :
         {Text{"", ""}, Text{"f", "Zg=="}, Text{"fo", "Zm8="}, Text{"foo", "Zm9v"},
          Text{"foobar", "Zm9vYmFy"}, Text{"\xfb\xff\xbf", "+/+/"}}) {
        EXPECT_EQ(callBase64Encode(bytes, 100, 0).written, text);
        EXPECT_EQ(callBase64Decode("\n -" + text, 100, 0).written, bytes);
    }
    EXPECT_EQ(callBase64Decode("Zm8=Zg==Zm9v", 100, 0).written, "foffoo");
    EXPECT_EQ(callBase64Encode("foo", 2, 0), (literal::Base64Result{"Zm", 2, 2 << 6 | (('o' << 2) & 63)}));

    int state = 1 << 6;
    char rest[3];
    EXPECT_EQ(Base64Encode(nullptr, 5, rest, sizeof rest, &state, nullptr), 3u);
    EXPECT_EQ(std::string(rest, 3), "A==");
    EXPECT_EQ(Base64Decode("Zm9v", 0x7fffffff, rest, sizeof rest, nullptr, nullptr), 3u);
}

/// Both coders against the reference: any state, little room, stray characters, resumed calls.
TEST(Base64Test, AgreesWithSingleStepsInEveryState) {
    std::mt19937 random(7);
    auto const upTo = [&](std::size_t most) {
        return std::uniform_int_distribution<std::size_t>(0, most)(random);
    };
    for (int round = 0; round < 30000; ++round) {
        std::string source(upTo(60), '\0');
        bool const stray = round % 2 == 0;
        std::string const strays = "=\n \xff*";
        for (char& c : source)
            c = stray && upTo(9) == 0 ? strays[upTo(strays.size() - 1)] : literal::base64Alphabet[upTo(63)];
        int encodeState = round % 3 == 0 ? static_cast<int>(random()) : 0;
        int decodeState = encodeState;
        std::string_view toEncode = source;
        std::string_view toDecode = source;
        for (int call = 0; call < 3; ++call) {
            std::size_t const room = upTo(50);
            std::string_view const cut = toDecode.substr(0, upTo(toDecode.size()));
            auto const encoded = callBase64Encode(toEncode, room, encodeState);
            auto const decoded = callBase64Decode(cut, room, decodeState);
            ASSERT_EQ(encoded, literal::encodeBase64(toEncode, room, encodeState))
                << source << " state " << encodeState;
            ASSERT_EQ(decoded, literal::decodeBase64(cut, room, decodeState))
                << source << " state " << decodeState;
            toEncode.remove_prefix(encoded.consumed);
            toDecode.remove_prefix(decoded.consumed);
            encodeState = encoded.state;
            decodeState = decoded.state;
        }
    }
}

TEST(ABase64EncodeTest, RoundTripsBuffersThroughText) {
    std::string bytes(1000, '\0');
    std::generate(bytes.begin(), bytes.end(), [next = 0]() mutable { return static_cast<char>(next++ * 7); });
    auto const* const data = reinterpret_cast<unsigned char const*>(bytes.data());
    for (unsigned int const size : {0u, 1u, 2u, 3u, 1000u}) {
        AnObjectBuffer<unsigned char> const buffer(size, data);
        AString const text = ABase64Encode::encode(buffer);
        EXPECT_EQ(text.size(), (size + 2) / 3 * 4);
        EXPECT_EQ(text, ABase64Encode::encode(data, size));
        EXPECT_EQ(ABase64Encode::decode(text).cpp_str(), bytes.substr(0, size));
    }
    EXPECT_EQ(ABase64Encode::decode(L"Zm\x20ac"
                                    L"8=")
                  .cpp_str(),
              "fo");
}

} // namespace
