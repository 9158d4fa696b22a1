#include <fuzz/ScratchFile.h>
#include <tests/support/ExpatVerdict.h>
#include <tests/support/XmlRoundTrip.h>

namespace {

std::string bytes;

/// In the place of the file's contents.
bool provideBytes(std::string const&, std::string& out) {
    out = bytes;
    return true;
}

std::wstring const& emptyFile() {
    static ScratchFile const file("xml_bytes");
    static std::wstring const path = [] {
        file.write("");
        return file.widePath();
    }();
    return path;
}

} // namespace

/// The input is a file. What is read is Unicode text, the same by each way of reading; a document in it is
/// one that Expat reads from the bytes, too, if it knows the encoding.
extern "C" int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    bytes.assign(reinterpret_cast<char const*>(data), size);
    std::wstring text;
    std::int32_t encoding = AdvXMLParser::Utf8;
    std::int32_t const result =
        AdvXMLParser::ReadBufferFromFileNoExp(emptyFile(), text, encoding, 0, provideBytes);
    roundtrip::require(result != AdvXMLParser::FileNotFound && result != AdvXMLParser::FileUnreadable);
    if (result < 0)
        return 0;
    std::string utf8;
    std::string converted;
    std::int32_t again = AdvXMLParser::Utf8;
    roundtrip::require(AdvXMLParser::ReadUtf8BufferFromFileNoExp(emptyFile(), utf8, again, 0, provideBytes) >=
                       0);
    roundtrip::require(AdvXMLParser::ConvertBufferToUtf8(text, converted, AdvXMLParser::Utf8));
    roundtrip::require(encoding == again && utf8 == converted);

    // In any encoding but UTF-8 Expat takes these two for letters that names may have, against the
    // recommendation and its own tables for UTF-8. The library's verdict is that for UTF-8.
    bool const hasDisputedLetter =
        encoding != AdvXMLParser::Utf8 && text.find_first_of(L"\xAA\xBA") != text.npos;
    bool const isKnownToExpat = encoding != AdvXMLParser::Utf32LittleEndian &&
                                encoding != AdvXMLParser::Utf32BigEndian && !hasDisputedLetter &&
                                !bytes.starts_with("\xEF\xBB\xBF");
    try {
        auto const document = roundtrip::parse(text);
        roundtrip::require(!isKnownToExpat || expatVerdict(bytes) == XML_ERROR_NONE);
        roundtrip::check(*document);
    } catch (AdvXMLParser::ParsingException const& error) {
        roundtrip::require(!isKnownToExpat || isRefusedWellFormed(error.GetErrorMessage()) ||
                           expatVerdict(bytes) != XML_ERROR_NONE);
    }
    return 0;
}
