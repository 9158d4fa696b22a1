#include <zun/linux/CallTrace.h>
#include <zun/linux/log.h>
#include <zun/structured/AnXml.h> // a cursor starts at its document, which makes cursors itself
#include <zun/structured/AnXmlNode.h>
#include <zun/text/ACharString.h>

#include <map>
#include <stdexcept>
#include <string_view>
#include <vector>

using AdvXMLParser::Attribute;
using AdvXMLParser::Element;

namespace {

wchar_t const* const group = L"XmlNode";

std::wstring_view viewOf(wchar_t const* text) {
    return text != nullptr ? std::wstring_view(text) : std::wstring_view();
}

std::wstring textOf(Element const& element) {
    return element.Begin() == element.End() ? element.GetValue() : std::wstring();
}

bool matches(Element const& child, wchar_t const* childName, wchar_t const* attributeName,
             wchar_t const* attributeValue) {
    if (childName == nullptr)
        return true;
    if (child.GetName() != childName)
        return false;
    if (attributeName == nullptr)
        return true;
    if (*attributeName == L'\0')
        return attributeValue == nullptr || textOf(child) == attributeValue;
    Attribute const* const attribute = child.GetAttribute(attributeName);
    return attribute != nullptr && (attributeValue == nullptr || attribute->GetValue() == attributeValue);
}

void copyValues(Element const& source, std::wstring_view text, Element& target) {
    std::map<std::wstring_view, Attribute*> existing;
    for (auto attribute = target.AttributesBegin(); attribute != target.AttributesEnd(); ++attribute)
        existing.emplace(attribute->GetName(), &*attribute);
    for (auto attribute = source.AttributesBegin(); attribute != source.AttributesEnd(); ++attribute) {
        auto const found = existing.find(attribute->GetName());
        if (found != existing.end())
            found->second->SetValue(attribute->GetValue());
        else
            target.AppendAttribute(attribute->GetName()).AddText(attribute->GetValue());
    }
    target.SetValue(text);
}

bool containsValues(Element const& element, Element const& other) {
    if (element.GetName() != other.GetName() || textOf(element) != textOf(other))
        return false;
    for (auto wanted = other.AttributesBegin(); wanted != other.AttributesEnd(); ++wanted) {
        Attribute const* const attribute = element.GetAttribute(wanted->GetName());
        if (attribute == nullptr || attribute->GetValue() != wanted->GetValue())
            return false;
    }
    return true;
}

AString inOneLine(Element const& element) {
    std::wstring line = L"<";
    line += element.GetName();
    for (auto attribute = element.AttributesBegin(); attribute != element.AttributesEnd(); ++attribute)
        line.append(L" ")
            .append(attribute->GetName())
            .append(L"=\"")
            .append(attribute->GetValue())
            .append(L"\"");
    line.append(L">").append(textOf(element)).append(L"</").append(element.GetName()).append(L">");
    return line;
}

bool containsChildren(Element const& element, Element const& other) {
    for (auto wanted = other.Begin(); wanted != other.End(); ++wanted) {
        auto child = element.Begin();
        while (child != element.End() &&
               !(containsValues(*child, *wanted) && containsChildren(*child, *wanted)))
            ++child;
        if (child == element.End()) {
            logError(group, AString(L"missing ") << inOneLine(*wanted));
            return false;
        }
    }
    return true;
}

/// Logs when it is not.
bool isGiven(wchar_t const* attributeName) {
    if (attributeName == nullptr)
        logInternalError(group, L"No attribute named NULL");
    return attributeName != nullptr;
}

/// Takes a node that was added out of its document again unless it is kept.
class Addition {
public:
    explicit Addition(AdvXMLParser::Node* node) : m_node(node) {}
    Addition(Addition const&) = delete;
    Addition& operator=(Addition const&) = delete;
    ~Addition() {
        if (m_node != nullptr)
            m_node->Delete();
    }
    void keep() { m_node = nullptr; }

private:
    AdvXMLParser::Node* m_node;
};

/// Null, logged, when the document cannot take another element there.
Element* addElement(Element& parent, std::wstring_view name) {
    try {
        return &parent.AddElementInto(name);
    } catch (std::length_error const& failure) {
        logError(group, AString(failure.what()));
        return nullptr;
    }
}

} // namespace

AnXmlNode::AnXmlNode(AnXml* xml) {
    setToRoot(xml);
}

AnXmlNode::AnXmlNode(AdvXMLParser::Document* document)
    : m_element(document != nullptr ? &document->GetRoot() : nullptr) {}

AnXmlNode::AnXmlNode(Element& element) : m_element(&element) {}

AnXmlNode::AnXmlNode(AnXmlNode const* other) : m_element(other != nullptr ? other->m_element : nullptr) {}

void AnXmlNode::setToRoot(AnXml* xml) {
    m_element = xml != nullptr && xml->m_document ? &xml->m_document->GetRoot() : nullptr;
}

void AnXmlNode::setToQuorbElement(Element& element) {
    m_element = &element;
}

bool AnXmlNode::positionValid() const {
    if (m_element == nullptr)
        logInternalError(group, L"Used uninitialized node");
    return m_element != nullptr;
}

AString AnXmlNode::getName() const {
    return positionValid() ? AString(std::wstring(m_element->GetName())) : AString();
}

bool AnXmlNode::getValue(bool required, wchar_t const* name, AString* value) const {
    if (!positionValid() || !isGiven(name))
        return false;
    if (*name == L'\0') {
        if (value != nullptr)
            value->cpp_str() = textOf(*m_element);
        return true;
    }
    Attribute const* const attribute = m_element->GetAttribute(name);
    if (attribute == nullptr) {
        if (required)
            logError(group, AString(L"getValue: required attribute not found: ") << name);
        return false;
    }
    if (value != nullptr)
        value->cpp_str() = attribute->GetValue();
    return true;
}

bool AnXmlNode::tryGetValue(wchar_t const* name, AString* value) const {
    return getValue(false, name, value);
}

bool AnXmlNode::getExistingValue(wchar_t const* name, AString* value) const {
    return getValue(true, name, value);
}

bool AnXmlNode::getChild(bool required, AnXmlNode* out, wchar_t const* childName,
                         wchar_t const* attributeName, wchar_t const* attributeValue,
                         wchar_t const* valueName, AString* value) const {
    if (!positionValid())
        return false;
    for (auto child = m_element->Begin(); child != m_element->End(); ++child) {
        if (!matches(*child, childName, attributeName, attributeValue))
            continue;
        AnXmlNode const found(*child);
        if (valueName != nullptr && value != nullptr)
            found.getValue(required, valueName, value);
        if (out != nullptr)
            out->m_element = found.m_element;
        return true;
    }
    if (out != nullptr && out != this)
        out->m_element = nullptr;
    if (required) {
        logError(group, AString(L"getChild: required child not found: ") << static_cast<wchar_t const*>(
                            CallTrace::joined(childName, attributeName, attributeValue, valueName)));
    }
    return false;
}

bool AnXmlNode::getChild(bool required, wchar_t const* childName, wchar_t const* attributeName,
                         wchar_t const* attributeValue, wchar_t const* valueName, AString* value) const {
    return getChild(required, nullptr, childName, attributeName, attributeValue, valueName, value);
}

bool AnXmlNode::tryGetChild(AnXmlNode* out, wchar_t const* childName, wchar_t const* attributeName,
                            wchar_t const* attributeValue, wchar_t const* valueName, AString* value) const {
    return getChild(false, out, childName, attributeName, attributeValue, valueName, value);
}

bool AnXmlNode::getChildMove(bool required, wchar_t const* childName, wchar_t const* attributeName,
                             wchar_t const* attributeValue, wchar_t const* valueName, AString* value) {
    return getChild(required, this, childName, attributeName, attributeValue, valueName, value);
}

bool AnXmlNode::addChild(AnXmlNode* out, wchar_t const* childName, wchar_t const* attributeName,
                         wchar_t const* attributeValue) {
    if (!positionValid())
        return false;
    Element* const added = addElement(*m_element, viewOf(childName));
    if (added == nullptr)
        return false;
    Addition addition(added);
    AnXmlNode child(*added);
    if (attributeName != nullptr && attributeValue != nullptr)
        child.setValue(attributeName, attributeValue);
    if (out != nullptr)
        out->m_element = child.m_element;
    addition.keep();
    return true;
}

bool AnXmlNode::setValue(wchar_t const* name, wchar_t const* value) {
    if (!positionValid() || !isGiven(name))
        return false;
    if (*name == L'\0') {
        m_element->SetValue(viewOf(value));
    } else if (Attribute* const attribute = m_element->GetAttribute(name)) {
        attribute->SetValue(viewOf(value));
    } else {
        Attribute& added = m_element->AppendAttribute(name);
        Addition addition(&added);
        added.AddText(viewOf(value));
        addition.keep();
    }
    return true;
}

bool AnXmlNode::setChild(AnXmlNode* out, wchar_t const* childName, wchar_t const* attributeName,
                         wchar_t const* attributeValue, wchar_t const* valueName, wchar_t const* value) {
    AnXmlNode child;
    bool const exists = tryGetChild(&child, childName, attributeName, attributeValue);
    if (!exists && !addChild(&child, childName, attributeName, attributeValue))
        return false;
    Addition addition(exists ? nullptr : child.m_element);
    if (valueName != nullptr && value != nullptr)
        child.setValue(valueName, value);
    if (out != nullptr)
        out->m_element = child.m_element;
    addition.keep();
    return true;
}

bool AnXmlNode::remove() {
    if (!positionValid())
        return false;
    m_element->Delete();
    return true;
}

bool AnXmlNode::hasValue(bool required, wchar_t const* name, wchar_t const* value) const {
    AString actual;
    return getValue(required, name, &actual) && (value == nullptr || wcsicmp(actual, value) == 0);
}

bool AnXmlNode::matchesValue(bool required, AnXmlNode const* other, wchar_t const* name,
                             wchar_t const* otherName) const {
    AString left;
    AString right;
    return getValue(required, name, &left) &&
           other->getValue(required, otherName != nullptr ? otherName : name, &right) &&
           wcsicmp(left, right) == 0;
}

bool AnXmlNode::copyValues(AnXmlNode const* source) {
    if (!positionValid() || !source->positionValid())
        return false;
    if (source->m_element != m_element)
        ::copyValues(*source->m_element, textOf(*source->m_element), *m_element);
    return true;
}

bool AnXmlNode::copyAsChild(AnXmlNode const* source) {
    if (!positionValid() || !source->positionValid())
        return false;
    // The elements are listed before the first is added: this one may stand inside the source.
    struct Copy {
        Element* from;
        std::size_t parent;
        Element* to;
    };
    std::vector<Copy> copies{{source->m_element, 0, nullptr}};
    for (std::size_t i = 0; i < copies.size(); ++i)
        for (auto child = copies[i].from->Begin(); child != copies[i].from->End(); ++child)
            copies.push_back({&*child, i, nullptr});
    // With a child of its own this one has no text any more, and it may be among the copied.
    std::wstring const text = textOf(*m_element);
    copies.front().to = addElement(*m_element, source->m_element->GetName());
    Addition addition(copies.front().to);
    for (Copy& copy : copies) {
        if (copy.to == nullptr && &copy != &copies.front())
            copy.to = addElement(*copies[copy.parent].to, copy.from->GetName());
        if (copy.to == nullptr)
            return false;
        ::copyValues(*copy.from, copy.from == m_element ? text : textOf(*copy.from), *copy.to);
    }
    addition.keep();
    return true;
}

bool AnXmlNode::containsValuesOf(AnXmlNode const* other) const {
    return positionValid() && other->positionValid() && containsValues(*m_element, *other->m_element);
}

bool AnXmlNode::containsChildrenOf(AnXmlNode const* other) const {
    return positionValid() && other->positionValid() && containsChildren(*m_element, *other->m_element);
}

AString AnXmlNode::asLogString() const {
    return positionValid() ? inOneLine(*m_element) : AString();
}
