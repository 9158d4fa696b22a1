#include <zun/linux/log.h>
#include <zun/structured/AnXmlNode.h>
#include <zun/structured/AnXmlValueIndex.h>

namespace {

wchar_t const* const group = L"XmlValx";

} // namespace

AnXmlValueIndex::AnXmlValueIndex(AnXmlNode const* node) {
    set(node);
}

bool AnXmlValueIndex::set(AnXmlNode const* node) {
    close();
    if (node == nullptr || node->m_element == nullptr) {
        logInternalError(group, L"Used uninitialized node");
        return false;
    }
    m_element = node->m_element;
    m_next = std::make_unique<AdvXMLParser::Iterator<AdvXMLParser::Attribute>>(m_element->AttributesBegin());
    return true;
}

bool AnXmlValueIndex::moveNext(AString* name, AString* value) {
    if (!m_next || *m_next == m_element->AttributesEnd())
        return false;
    AdvXMLParser::Attribute const& attribute = **m_next;
    if (name != nullptr)
        name->cpp_str() = attribute.GetName();
    if (value != nullptr)
        value->cpp_str() = attribute.GetValue();
    ++*m_next;
    return true;
}

void AnXmlValueIndex::close() {
    m_next.reset();
}
