#pragma once

#include <zun/Api.h>
#include <zun/platform/xml/AdvXMLParser.h>
#include <zun/text/AString.h>

class AnXml;

/// A cursor on one element of a document: it points into the document and owns nothing. It is uninitialized,
/// or on an element; deleting that element, or closing the document, makes it invalid.
///
/// The attribute name "" stands for the element's own text, which reads as empty when the element has child
/// elements. A null text argument is one that is not given. A failed operation returns false; failures that
/// are not announced by `required` being false, and every use of an uninitialized cursor, are logged under
/// "XmlNode". A cursor is used by the thread that uses its document. Only failed
/// allocations are thrown; they leave the document as it was, or, copyValues, with some of the values set.
class ZUN_API AnXmlNode {
public:
    AnXmlNode() = default;
    /// On the document's root; uninitialized when there is no document.
    explicit AnXmlNode(AnXml* xml);
    explicit AnXmlNode(AdvXMLParser::Document* document);
    explicit AnXmlNode(AdvXMLParser::Element& element);
    explicit AnXmlNode(AnXmlNode const* other);

    void setToRoot(AnXml* xml);
    void setToQuorbElement(AdvXMLParser::Element& element);

    bool positionValid() const;

    /// Empty when uninitialized.
    AString getName() const;

    /// The attribute's value. False, `value` untouched, when there is no such attribute.
    bool getValue(bool required, wchar_t const* name, AString* value) const;
    bool tryGetValue(wchar_t const* name, AString* value) const;
    bool getExistingValue(wchar_t const* name, AString* value) const;

    /// Finds the first child element of that name, having that attribute, with that value: each as far as
    /// given, compared exactly. Without a name it is the first child element. When it is found, `out` is set
    /// to it and `value` to what getValue reads of it for `valueName`, as far as given. Otherwise `out`
    /// becomes uninitialized, unless it is this cursor, which then stays.
    bool getChild(bool required, AnXmlNode* out, wchar_t const* childName, wchar_t const* attributeName,
                  wchar_t const* attributeValue, wchar_t const* valueName, AString* value) const;
    bool getChild(bool required, wchar_t const* childName, wchar_t const* attributeName = nullptr,
                  wchar_t const* attributeValue = nullptr, wchar_t const* valueName = nullptr,
                  AString* value = nullptr) const;
    bool tryGetChild(AnXmlNode* out, wchar_t const* childName, wchar_t const* attributeName = nullptr,
                     wchar_t const* attributeValue = nullptr, wchar_t const* valueName = nullptr,
                     AString* value = nullptr) const;
    /// Moves this cursor to the child.
    bool getChildMove(bool required, wchar_t const* childName, wchar_t const* attributeName = nullptr,
                      wchar_t const* attributeValue = nullptr, wchar_t const* valueName = nullptr,
                      AString* value = nullptr);

    /// Appends a child element, with the attribute when name and value are given. False, logged, for one
    /// deeper than AdvXMLParser::maximumDepth.
    bool addChild(AnXmlNode* out, wchar_t const* childName, wchar_t const* attributeName = nullptr,
                  wchar_t const* attributeValue = nullptr);

    /// Replaces the attribute's value, or makes the attribute. A null value is an empty one.
    bool setValue(wchar_t const* name, wchar_t const* value);

    /// Finds the child as getChild does, or adds it, and sets a value of it when name and value are given.
    bool setChild(AnXmlNode* out, wchar_t const* childName, wchar_t const* attributeName = nullptr,
                  wchar_t const* attributeValue = nullptr, wchar_t const* valueName = nullptr,
                  wchar_t const* value = nullptr);

    /// Deletes the element from its document; of the root element, all that it holds. The cursor is not
    /// changed.
    bool remove();

    /// Whether the value exists and, if `value` is given, equals it ignoring case.
    bool hasValue(bool required, wchar_t const* name, wchar_t const* value) const;

    /// Whether both values exist and are equal ignoring case; `otherName` is `name` when not given.
    bool matchesValue(bool required, AnXmlNode const* other, wchar_t const* name,
                      wchar_t const* otherName = nullptr) const;

    /// Sets the attributes and the text of `source` here.
    bool copyValues(AnXmlNode const* source);

    /// Appends a copy of `source` with its attributes, text and child elements, all the way down; nothing of
    /// it, with the reason logged, when that would go too deep.
    bool copyAsChild(AnXmlNode const* source);

    /// Whether name and text are equal and all attributes of `other` are here with equal values, exactly.
    bool containsValuesOf(AnXmlNode const* other) const;

    /// Whether for each child element of `other` there is one here that contains its values and, all the way
    /// down, its children. The first without such is logged; one is logged for a candidate that fails, too,
    /// even if a later one matches.
    bool containsChildrenOf(AnXmlNode const* other) const;

    /// The element without its child elements, for the log: nothing is escaped.
    AString asLogString() const;

private:
    friend class AnXmlChildIndex;
    friend class AnXmlValueIndex;

    AdvXMLParser::Element* m_element = nullptr;
};
