#pragma once

#include <expat.h>

#include <memory>
#include <new>
#include <type_traits>

namespace AdvXMLParser {

struct ExpatParserFree {
    void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
};
using ExpatParser = std::unique_ptr<std::remove_pointer_t<XML_Parser>, ExpatParserFree>;

/// Takes bytes of that encoding, whatever they declare.
inline ExpatParser makeExpatParser(char const* encoding) {
    ExpatParser parser(XML_ParserCreate(encoding));
    if (!parser)
        throw std::bad_alloc();
    return parser;
}

} // namespace AdvXMLParser
