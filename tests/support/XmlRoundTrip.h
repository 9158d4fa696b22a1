#pragma once

#include <zun/platform/xml/AdvXMLParser.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <utility>

/// What holds for every document, whatever it looks like. Ends the process where it does not.
namespace roundtrip {

using AdvXMLParser::Document;
using AdvXMLParser::Element;

inline std::unique_ptr<Document> parse(std::wstring const& text) {
    return std::unique_ptr<Document>(AdvXMLParser::Parser().Parse(text.data(), text.size()));
}

inline void require(bool holds) {
    if (!holds)
        std::abort();
}

/// Layout may drop blanks between elements, nothing else.
inline std::wstring valueOf(Element const& element, bool laidOut) {
    std::wstring const value = element.GetValue();
    bool const isBetweenElements = laidOut && element.Begin() != element.End();
    return isBetweenElements && value.find_first_not_of(L" \t\r\n") == value.npos ? std::wstring() : value;
}

inline void requireEqual(Element const& left, Element const& right, bool laidOut) {
    require(left.GetName() == right.GetName() && valueOf(left, laidOut) == valueOf(right, laidOut));
    auto other = right.AttributesBegin();
    for (auto attribute = left.AttributesBegin(); attribute != left.AttributesEnd(); ++attribute, ++other)
        require(other != right.AttributesEnd() && attribute->GetName() == other->GetName() &&
                attribute->GetValue() == other->GetValue());
    require(other == right.AttributesEnd());
    auto otherChild = right.Begin();
    for (auto child = left.Begin(); child != left.End(); ++child, ++otherChild) {
        require(otherChild != right.End());
        requireEqual(*child, *otherChild, laidOut);
    }
    require(otherChild == right.End());
}

inline void check(Document const& document) {
    for (bool const formatted : {false, true}) {
        std::wstring const text = document.GenerateXML(formatted);
        auto const again = parse(text);
        requireEqual(document.GetRoot(), std::as_const(*again).GetRoot(), formatted);
        require(again->GenerateXML(formatted) == text);
    }
}

} // namespace roundtrip
