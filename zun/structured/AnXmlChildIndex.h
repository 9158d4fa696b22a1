#pragma once

#include <zun/Api.h>
#include <zun/platform/xml/AdvXMLParser.h>
#include <zun/structured/AnXmlNode.h>
#include <zun/text/AString.h>

#include <memory>

/// Walks an element's child elements, all or those of one name, in document order. It is itself a cursor on
/// the child that it returned last. Misuse is logged under "XmlIndx".
class ZUN_API AnXmlChildIndex : public AnXmlNode {
public:
    AnXmlChildIndex() = default;
    /// As set.
    explicit AnXmlChildIndex(AnXmlNode const* parent, wchar_t const* childName = nullptr);
    AnXmlChildIndex(AnXmlChildIndex const&) = delete;
    AnXmlChildIndex& operator=(AnXmlChildIndex const&) = delete;

    /// Starts before the first child, with no current one; without a name, or with an empty one, all children
    /// are walked. False, and closed, when `parent` is uninitialized.
    bool set(AnXmlNode const* parent, wchar_t const* childName = nullptr);

    /// Goes to the next child and reads a value of it, when name and output are given, as tryGetValue. False
    /// after the last. A std::bad_alloc leaves the child for the next call.
    bool moveNext(wchar_t const* valueName = nullptr, AString* value = nullptr);

    /// Deletes the child that moveNext returned: the next moveNext goes to the one that followed it. Until
    /// then the cursor is uninitialized.
    bool remove();

    void close();

private:
    std::unique_ptr<AdvXMLParser::Iterator<AdvXMLParser::Element>> m_next;
    AdvXMLParser::Element* m_parent = nullptr;
    AString m_name;
};
