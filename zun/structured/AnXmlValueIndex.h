#pragma once

#include <zun/Api.h>
#include <zun/platform/xml/AdvXMLParser.h>
#include <zun/text/AString.h>

#include <memory>

class AnXmlNode;

/// Walks an element's attributes in document order. Misuse is logged under "XmlValx".
class ZUN_API AnXmlValueIndex {
public:
    AnXmlValueIndex() = default;
    /// As set.
    explicit AnXmlValueIndex(AnXmlNode const* node);
    AnXmlValueIndex(AnXmlValueIndex const&) = delete;
    AnXmlValueIndex& operator=(AnXmlValueIndex const&) = delete;

    /// Starts before the first attribute. False, and closed, when `node` is uninitialized.
    bool set(AnXmlNode const* node);

    /// Goes to the next attribute and copies its name and value, as far as given. False after the last. A
    /// std::bad_alloc leaves the attribute for the next call.
    bool moveNext(AString* name, AString* value);

    void close();

private:
    AdvXMLParser::Element* m_element = nullptr;
    std::unique_ptr<AdvXMLParser::Iterator<AdvXMLParser::Attribute>> m_next;
};
