#include <tests/support/ExpatVerdict.h>
#include <tests/support/XmlRoundTrip.h>
#include <zun/platform/helper/CommonHelper.h>

/// The input is a text in UTF-8; malformed bytes become elements that are no characters. A document is what
/// Expat takes for one within the service's limits, and survives writing and reading.
extern "C" int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    std::string_view const input(reinterpret_cast<char const*>(data), size);
    std::wstring text = orvane_com::zun::helper::toWide(input);
    for (wchar_t& element : text)
        if (element == 0xFFFD)
            element = 0xD800;
    std::string utf8;
    bool const isText = AdvXMLParser::ConvertBufferToUtf8(text, utf8, AdvXMLParser::Utf8);
    bool const isDocument = isText && expatVerdict(utf8, "UTF-8") == XML_ERROR_NONE;
    try {
        auto const document = roundtrip::parse(text);
        roundtrip::require(isDocument);
        roundtrip::check(*document);
    } catch (AdvXMLParser::ParsingException const& error) {
        roundtrip::require(!isDocument || isRefusedWellFormed(error.GetErrorMessage()));
    }
    return 0;
}
