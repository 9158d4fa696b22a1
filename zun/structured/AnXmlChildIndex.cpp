#include <zun/linux/log.h>
#include <zun/structured/AnXmlChildIndex.h>

namespace {

wchar_t const* const group = L"XmlIndx";

} // namespace

AnXmlChildIndex::AnXmlChildIndex(AnXmlNode const* parent, wchar_t const* childName) {
    set(parent, childName);
}

bool AnXmlChildIndex::set(AnXmlNode const* parent, wchar_t const* childName) {
    AdvXMLParser::Element* const element = parent != nullptr ? parent->m_element : nullptr;
    close();
    m_element = nullptr;
    if (element == nullptr) {
        logInternalError(group, L"Used uninitialized node");
        return false;
    }
    if (childName != nullptr)
        m_name = childName;
    m_parent = element;
    m_next = std::make_unique<AdvXMLParser::Iterator<AdvXMLParser::Element>>(element->Begin());
    return true;
}

bool AnXmlChildIndex::moveNext(wchar_t const* valueName, AString* value) {
    if (!m_next)
        return false;
    auto& next = *m_next;
    if (m_name.size() > 0)
        while (next != m_parent->End() && next->GetName() != m_name.const_cpp_str())
            ++next;
    if (next == m_parent->End())
        return false;
    m_element = &*next;
    if (valueName != nullptr && value != nullptr)
        tryGetValue(valueName, value);
    ++next;
    return true;
}

bool AnXmlChildIndex::remove() {
    if (!m_next || m_element == nullptr || *m_next == m_parent->Begin()) {
        logInternalError(group, L"remove without moveNext");
        return false;
    }
    // The iterator is past the current element and stays valid.
    if (!AnXmlNode::remove())
        return false;
    m_element = nullptr;
    return true;
}

void AnXmlChildIndex::close() {
    m_next.reset();
    m_name = L"";
}
