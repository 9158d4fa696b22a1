#include <zun/platform/file/Refusal.h>
#include <zun/platform/file/WholeFile.h>
#include <zun/platform/helper/CommonHelper.h>
#include <zun/platform/xml/AdvXMLParser.h>
#include <zun/platform/xml/EncodingDetection.h>
#include <zun/platform/xml/Unicode.h>

#include <cerrno>
#include <new>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace AdvXMLParser {

namespace file = orvane_com::zun::file;
namespace helper = orvane_com::zun::helper;

namespace {

thread_local std::wstring lastMessage;

struct Failure {
    Result result;
    std::wstring reason;
};

Failure systemFailure(Result result, int error) {
    return {result, helper::toWide(file::reasonFor(error))};
}

std::string apply(BufferTransform transform, std::string bytes, wchar_t const* failure) {
    if (transform == nullptr)
        return bytes;
    std::string transformed;
    if (!transform(bytes, transformed))
        throw Failure{TransformFailed, transformed.empty() ? failure : helper::toWide(transformed)};
    return transformed;
}

std::string readBytes(std::wstring const& fileName) {
    std::string bytes;
    if (!file::readWholeFile(helper::toNarrow(fileName), bytes))
        throw systemFailure(errno == ENOENT ? FileNotFound : FileUnreadable, errno);
    return bytes;
}

std::wstring decode(std::string_view bytes, std::int32_t encoding) {
    std::wstring text;
    bool wellFormed = true;
    switch (encoding) {
    case UsAscii:
    case Latin1:
        for (char const byte : bytes) {
            auto const character = static_cast<unsigned char>(byte);
            wellFormed &= encoding == Latin1 || character < 0x80;
            text.push_back(static_cast<wchar_t>(character));
        }
        break;
    case Utf8:
        wellFormed = appendFromUtf8(text, bytes);
        break;
    case Utf16LittleEndian:
    case Utf16BigEndian:
        wellFormed = appendFromUtf16(text, bytes, encoding == Utf16BigEndian);
        break;
    case Utf32LittleEndian:
    case Utf32BigEndian:
        wellFormed = appendFromUtf32(text, bytes, encoding == Utf32BigEndian);
        break;
    default:
        throw Failure{EncodingUnknown, L"unknown encoding " + std::to_wstring(encoding)};
    }
    if (!wellFormed)
        throw Failure{TextMalformed, L"malformed " + helper::toWide(encodingName(encoding))};
    return text;
}

std::string encode(std::wstring_view text, std::int32_t encoding) {
    if (encoding != Utf8)
        throw Failure{EncodingUnknown, L"unknown encoding " + std::to_wstring(encoding)};
    std::string bytes;
    if (!appendUtf8(bytes, text))
        throw Failure{TextMalformed, L"an element of the text is no Unicode scalar value"};
    return bytes;
}

/// What reading comes to: the text, and the encoding that it had.
std::wstring readText(std::wstring const& fileName, std::int32_t& encoding, BufferTransform transform) {
    std::string const bytes = apply(transform, readBytes(fileName), L"cannot be deciphered");
    DetectedEncoding const detected = detectEncoding(bytes, encoding);
    if (!detected.error.empty())
        throw Failure{EncodingUnknown, helper::toWide(detected.error)};
    std::wstring text = decode(std::string_view(bytes).substr(detected.markSize), detected.encoding);
    encoding = detected.encoding;
    return text;
}

/// Keeps the reason, with the file that it is about before it, for GetLastXmlErrorMessage. Empty when there
/// is no memory for it: an older message would be taken for this one.
std::int32_t keepFailure(std::wstring_view fileName, Failure const& failure) {
    try {
        std::wstring message(fileName);
        if (!fileName.empty())
            message += L": ";
        lastMessage = message + failure.reason;
    } catch (std::bad_alloc const&) {
        lastMessage.clear();
    }
    return failure.result;
}

std::int32_t keepOutOfMemory(std::wstring_view fileName) {
    try {
        return keepFailure(fileName, systemFailure(OutOfMemory, ENOMEM));
    } catch (std::bad_alloc const&) {
        lastMessage.clear();
        return OutOfMemory;
    }
}

/// Runs `action`, which may be about a file, and keeps its failure.
template <typename Action>
std::int32_t reportFailure(std::wstring_view fileName, Action action) {
    try {
        action();
        return Success;
    } catch (std::bad_alloc const&) {
        return keepOutOfMemory(fileName);
    } catch (std::length_error const&) {
        return keepOutOfMemory(fileName);
    } catch (Failure const& failure) {
        return keepFailure(fileName, failure);
    }
}

} // namespace

std::int32_t ReadBufferFromFileNoExp(std::wstring const& fileName, std::wstring& text, std::int32_t& encoding,
                                     std::int32_t /*flags*/, BufferTransform transform) {
    return reportFailure(fileName, [&] { text = readText(fileName, encoding, transform); });
}

std::int32_t ReadUtf8BufferFromFileNoExp(std::wstring const& fileName, std::string& text,
                                         std::int32_t& encoding, std::int32_t /*flags*/,
                                         BufferTransform transform) {
    return reportFailure(fileName, [&] {
        std::string utf8;
        appendUtf8(utf8, readText(fileName, encoding, transform));
        text = std::move(utf8);
    });
}

bool ReadBufferFromFile(std::wstring const& fileName, std::wstring& text, std::int32_t& encoding,
                        std::int32_t flags, BufferTransform transform) {
    if (ReadBufferFromFileNoExp(fileName, text, encoding, flags, transform) < 0)
        throw ReadWriteException(lastMessage);
    return true;
}

void WriteBufferToFile(std::wstring const& fileName, std::wstring const& text, std::int32_t encoding,
                       BufferTransform transform, std::int32_t /*flags*/) {
    auto const write = [&] {
        std::string const bytes = apply(transform, encode(text, encoding), L"cannot be enciphered");
        if (!file::replaceWholeFile(helper::toNarrow(fileName), bytes))
            throw systemFailure(FileNotWritten, errno);
    };
    if (reportFailure(fileName, write) < 0)
        throw ReadWriteException(lastMessage);
}

std::int32_t ConvertBufferToUnicode(char const* bytes, std::size_t length, std::wstring& text,
                                    std::int32_t encoding) {
    std::string_view const given(bytes, length);
    std::size_t const markSize = markSizeOf(given, encoding);
    return reportFailure({}, [&] { text = decode(given.substr(markSize), encoding); });
}

bool ConvertBufferToUtf8(std::wstring const& text, std::string& bytes, std::int32_t encoding) {
    return reportFailure({}, [&] { bytes = encode(text, encoding); }) == Success;
}

std::wstring const& GetLastXmlErrorMessage() {
    return lastMessage;
}

ReadWriteException::ReadWriteException(std::wstring message)
    : m_message(std::move(message)), m_narrowMessage(helper::toNarrow(m_message)) {
    lastMessage = m_message;
}

ReadWriteException::~ReadWriteException() = default;

} // namespace AdvXMLParser
