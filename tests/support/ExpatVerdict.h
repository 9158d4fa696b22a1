#pragma once

#include <expat.h>

#include <memory>
#include <string>
#include <string_view>
#include <type_traits>

struct ExpatFree {
    void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
};
using Expat = std::unique_ptr<std::remove_pointer_t<XML_Parser>, ExpatFree>;

/// What Expat alone says to the bytes of a document; XML_ERROR_NONE when it is well-formed.
inline XML_Error expatVerdict(std::string_view bytes, char const* encoding = nullptr) {
    Expat const parser(XML_ParserCreate(encoding));
    XML_Parse(parser.get(), bytes.data(), static_cast<int>(bytes.size()), XML_TRUE);
    return XML_GetErrorCode(parser.get());
}

/// Whether the library refuses, for this reason, a document that is well-formed to Expat.
inline bool isRefusedWellFormed(std::wstring const& reason) {
    return reason == L"elements nested too deeply" || reason == L"undefined entity" ||
           reason == L"document too large for the length of its text" || reason.starts_with(L"too many ");
}
