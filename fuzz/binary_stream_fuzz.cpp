#include <zun/binary/ABinaryStream.h>

#include <bit>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

namespace {

void require(bool condition) {
    if (!condition)
        std::abort();
}

/// The record as it should be: a block with a position that knows no addresses.
struct Model {
    std::string block;
    bool littleEndian;
    std::uint64_t position = 0;
    bool pastEnd = false;

    /// The bytes of an access; null on overrun.
    char* access(std::uint64_t count) {
        std::uint64_t const start = position;
        position += count;
        if (pastEnd || position > block.size() || position < start)
            pastEnd = true;
        return pastEnd ? nullptr : block.data() + start;
    }

    std::uint32_t readInteger(std::size_t width) {
        char const* const bytes = access(width);
        std::uint32_t value = 0;
        for (std::size_t i = 0; bytes && i < width; ++i)
            value = value << 8 | static_cast<unsigned char>(bytes[littleEndian ? width - 1 - i : i]);
        return value;
    }

    void writeInteger(std::size_t width, std::uint32_t value) {
        char* const bytes = access(width);
        for (std::size_t i = 0; bytes && i < width; ++i, value >>= 8)
            bytes[littleEndian ? i : width - 1 - i] = static_cast<char>(value);
    }

    std::string readBytes(std::uint64_t count) {
        char const* const bytes = access(count);
        return bytes ? std::string(bytes, count) : std::string();
    }

    void writeBytes(std::uint64_t width, std::string_view text) {
        char* const bytes = access(width);
        for (std::uint64_t i = 0; bytes && i < width; ++i)
            bytes[i] = i < text.size() ? text[i] : '\0';
    }
};

} // namespace

/// The first byte is the block's size and byte order, then each operation is a byte and a 32-bit argument.
extern "C" int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    if (size == 0)
        return 0;
    std::size_t const room = data[0] >> 1;
    auto const block = std::make_unique<unsigned char[]>(room);
    Model model{std::string(room, '\0'), (data[0] & 1) != 0};
    ABinaryStream stream(block.get(), room, model.littleEndian);

    for (std::size_t i = 1; i + 5 <= size; i += 5) {
        std::int32_t argument;
        std::memcpy(&argument, data + i + 1, sizeof argument);
        auto const wide = static_cast<std::uint64_t>(argument);
        auto const low = static_cast<std::uint32_t>(argument);
        std::string const letters(low % 16, static_cast<char>('a' + low % 26));
        AnObjectBuffer<unsigned char> bytes(low % 16, reinterpret_cast<unsigned char const*>(letters.data()));
        std::string text;
        switch (data[i] % 10) {
        case 0:
            require(stream.readUint32() == model.readInteger(4));
            break;
        case 1:
            require(stream.readShort() == model.readInteger(2));
            break;
        case 2:
            require(static_cast<unsigned char>(stream.readChar()) == model.readInteger(1));
            break;
        case 3:
            stream.writeUint32(low);
            model.writeInteger(4, low);
            break;
        case 4:
            stream.writeShort(static_cast<unsigned short>(low));
            model.writeInteger(2, low);
            break;
        case 5:
            stream.readString(argument, text);
            require(text == model.readBytes(wide).c_str());
            break;
        case 6:
            stream.readBuffer(argument, bytes);
            require(bytes.cpp_str() == model.readBytes(wide));
            break;
        case 7:
            stream.writeString(wide, AString(letters.c_str()));
            model.writeBytes(wide, letters);
            break;
        case 8: {
            std::uint64_t const count = low >> 16;
            stream.writeBuffer(bytes, count);
            std::string_view const written =
                std::string_view(letters).substr(0, count == 0 ? std::string_view::npos : count);
            model.writeBytes(written.size(), written);
            break;
        }
        default: {
            Model moved = model;
            moved.access(wide);
            require(stream.pastEndWith(wide) == moved.pastEnd);
            if (moved.pastEnd)
                model = moved;
            break;
        }
        }
        require(std::memcmp(block.get(), model.block.data(), room) == 0);
        require(std::bit_cast<std::uintptr_t>(stream.getPointer()) ==
                std::bit_cast<std::uintptr_t>(block.get()) + model.position);
        require(stream.atEnd() == (model.pastEnd || model.position == room));
    }
    return 0;
}
