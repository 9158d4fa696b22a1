#include <tests/allocation/FailingAllocations.h>
#include <zun/binary/ABinaryStream.h>
#include <zun/binary/ABuffer.h>
#include <zun/binary/Base64.h>
#include <zun/text/ACharString.h>
#include <zun/text/ALocalizedString.h>
#include <zun/text/AStringList.h>
#include <zun/text/AStringParser.h>

#include <cstdlib>

namespace {

using TextAllocation = AllocationTest;

TEST_F(TextAllocation, ATextIsMadeOrTheFailureThrown) {
    failEach([] {
        AString text(L"a text of some length");
        text << 12345678 << "narrow" << AFormat(L"formatted", L"^", 12, -1);
        text.findAndReplace(L"text", L"longer text");
        AStringList list(L", ", false);
        list << static_cast<wchar_t const*>(text) << 7;
        AStringParser parser(list, L" ");
        ACharString const narrow(parser.get(nullptr));
        ALocalizedString message(L"%1 and %2");
        message << narrow << static_cast<wchar_t const*>(list);
        return message == L"a and a longer text of some length12345678narrow   FORMATTED, 7";
    });
}

TEST_F(TextAllocation, ACatalogIsOpenOrNot) {
    write("source", "$set 1\n1 a message of some length\n");
    std::string const command = "gencat " + directory.file("catalog") + " " + directory.file("source");
    ASSERT_EQ(std::system(command.c_str()), 0);
    AString const catalog = path("catalog");
    failEach([&] {
        AResourceFile file;
        AString text;
        return file.openExisting(catalog, 0) && file.getString(1, &text) &&
               text == L"a message of some length";
    });
}

TEST_F(TextAllocation, ABufferGrowsOrStaysAsItIs) {
    std::string const begin = "what is in the buffer already";
    std::string const more(4000, 'm');
    ABuffer buffer;
    auto const run = [&]() noexcept {
        return buffer.tryExpandBy(more.size(), reinterpret_cast<unsigned char const*>(more.data()));
    };
    failEach(
        run, [&](bool done) { EXPECT_EQ(buffer.cpp_str(), done ? begin + more : begin); },
        [&] { buffer = ABuffer(begin.c_str()); });
}

TEST_F(TextAllocation, AReadThatThrowsDoesNotMoveTheStream) {
    unsigned char block[100] = "a text of some length, longer than any small buffer";
    ABinaryStream stream(block, sizeof block, true);
    auto const failRead = [&](std::function<int()> const& read) {
        failEach([&] { return read() == 40; },
                 [&](bool done) { EXPECT_EQ(stream.getPointer(), block + (done ? 40 : 0)); },
                 [&] { stream.setPointer(block, sizeof block); });
    };
    failRead([&] {
        AString text;
        return stream.readString(40, text);
    });
    failRead([&] {
        std::string text;
        return stream.readString(40, text);
    });
    failRead([&] {
        AnObjectBuffer<unsigned char> bytes;
        return stream.readBuffer(40, bytes);
    });
}

TEST_F(TextAllocation, Base64GivesAllOrNothing) {
    ABuffer const bytes(100, nullptr);
    failEach([&]() noexcept {
        AString const text = ABase64Encode::encode(bytes.getBytes(), bytes.size());
        EXPECT_TRUE(text.size() == 0 || text.size() == 136) << text.size();
        return text.size() != 0 && ABase64Encode::decode(text).size() == 100;
    });
}

} // namespace
