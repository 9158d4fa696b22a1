#include <zun/platform/xml/Tree.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <stdexcept>
#include <type_traits>
#include <utility>

namespace AdvXMLParser {

template <typename Item, typename... Arguments>
Item& Tree::make(Arguments&&... arguments) {
    static_assert(std::is_trivially_destructible_v<Item> && alignof(Item) <= alignof(void*));
    void* const memory = m_isComplete ? m_arena.allocate(sizeof(Item)) : m_arena.take(sizeof(Item));
    Item& item = *new (memory) Item(std::forward<Arguments>(arguments)...);
    item.m_isSeparate = m_isComplete;
    return item;
}

void Tree::release(Node& node) {
    if (node.m_isSeparate)
        Arena::release(&node);
}

void Tree::release(Slice& slice) {
    if (slice.capacity > 0)
        Arena::release(slice.data);
    slice = {};
}

void Tree::replaceFrom(Slice& slice, std::size_t kept, std::wstring_view text) {
    std::size_t const size = kept + text.size();
    if (size > Arena::longestText)
        throw std::length_error("text too long for a document");
    if (size > slice.capacity) {
        std::size_t const capacity =
            std::max(size, std::min(slice.capacity + std::size_t{slice.capacity} / 2, Arena::longestText));
        Slice longer;
        longer.data = static_cast<wchar_t*>(m_arena.allocate(capacity * sizeof(wchar_t)));
        longer.capacity = static_cast<std::uint32_t>(capacity);
        std::copy_n(slice.data, kept, longer.data);
        std::copy_n(text.data(), text.size(), longer.data + kept);
        release(slice);
        slice = longer;
    } else if (!text.empty()) {
        std::memmove(slice.data + kept, text.data(), text.size() * sizeof(wchar_t));
    }
    slice.size = static_cast<std::uint32_t>(size);
}

void Tree::appendChild(Element& parent, Node& child) {
    child.m_parent = &parent;
    child.m_previous = parent.m_lastChild;
    (child.m_previous != nullptr ? child.m_previous->m_next : parent.m_firstChild) = &child;
    parent.m_lastChild = &child;
}

void Tree::unlinkChild(Node& child) {
    Element& parent = *child.m_parent;
    (child.m_previous != nullptr ? child.m_previous->m_next : parent.m_firstChild) = child.m_next;
    (child.m_next != nullptr ? child.m_next->m_previous : parent.m_lastChild) = child.m_previous;
}

Element& Tree::appendElement(Element& parent, Slice name) {
    Element& element = make<Element>(this);
    element.m_name = name;
    element.m_depth = static_cast<std::uint16_t>(parent.m_depth + 1);
    appendChild(parent, element);
    if (&parent == &m_top)
        m_root = &element;
    return element;
}

Element& Tree::appendElement(Element& parent, std::wstring_view name) {
    if (parent.m_depth >= maximumDepth)
        throw std::length_error("elements nested too deeply for a document");
    bool const nameIsValid = isName(name);
    Slice ownName;
    assign(ownName, name);
    Element& element = appendElement(parent, ownName);
    element.m_nameIsValid = nameIsValid;
    return element;
}

Attribute& Tree::appendAttribute(Element& parent, Slice name) {
    Attribute& attribute = make<Attribute>();
    attribute.m_name = name;
    attribute.m_parent = &parent;
    attribute.m_previous = parent.m_lastAttribute;
    if (parent.m_lastAttribute != nullptr)
        parent.m_lastAttribute->m_next = &attribute;
    else
        parent.m_firstAttribute = &attribute;
    parent.m_lastAttribute = &attribute;
    return attribute;
}

Attribute& Tree::appendAttribute(Element& parent, std::wstring_view name) {
    bool const nameIsValid = isName(name);
    Slice ownName;
    assign(ownName, name);
    Attribute& attribute = appendAttribute(parent, ownName);
    attribute.m_nameIsValid = nameIsValid;
    return attribute;
}

Characters& Tree::appendCharacters(Element& parent, Kind kind) {
    Characters& characters = make<Characters>(kind);
    appendChild(parent, characters);
    return characters;
}

void Tree::appendMarkup(Element& parent, std::wstring_view source) {
    assign(appendCharacters(parent, Kind::markup).source, source);
}

void Tree::addText(NodeContainer& container, std::wstring_view text) {
    if (container.m_kind == Kind::attribute) {
        append(static_cast<Attribute&>(container).m_value, text);
        return;
    }
    if (text.empty())
        return;
    auto& element = static_cast<Element&>(container);
    Node* const last = element.m_lastChild;
    bool const continues = last != nullptr && last->m_kind == Kind::text;
    auto& characters = continues ? static_cast<Characters&>(*last) : appendCharacters(element, Kind::text);
    append(characters.value, text);
    release(characters.source);
}

void Tree::replaceText(Element& element, std::wstring_view text) {
    Characters* replacement = nullptr;
    if (!text.empty()) {
        replacement = &make<Characters>(Kind::text);
        assign(replacement->value, text);
    }
    for (Node* child = element.m_firstChild; child != nullptr;) {
        Node& node = *std::exchange(child, child->m_next);
        if (node.m_kind == Kind::element)
            continue;
        auto& characters = static_cast<Characters&>(node);
        bool const isReference = node.m_kind == Kind::markup && characters.source.view().starts_with(L'&');
        if (node.m_kind != Kind::markup || isReference)
            removeCharacters(characters);
    }
    if (replacement == nullptr)
        return;
    replacement->m_parent = &element;
    replacement->m_next = element.m_firstChild;
    (element.m_firstChild != nullptr ? element.m_firstChild->m_previous : element.m_lastChild) = replacement;
    element.m_firstChild = replacement;
}

void Tree::remove(Node& node) {
    if (node.m_kind == Kind::attribute) {
        removeAttribute(static_cast<Attribute&>(node));
        return;
    }
    auto& element = static_cast<Element&>(node);
    clear(element);
    if (&element != m_root)
        removeEmpty(element);
}

void Tree::clear(Element& element) {
    removeAttributes(element);
    // From the inside out, without recursion: elements may stand deep in one another.
    Element* container = &element;
    for (;;) {
        Node* const child = container->m_firstChild;
        if (child == nullptr) {
            if (container == &element)
                return;
            removeEmpty(*std::exchange(container, container->m_parent));
        } else if (child->m_kind == Kind::element) {
            container = static_cast<Element*>(child);
        } else {
            removeCharacters(static_cast<Characters&>(*child));
        }
    }
}

void Tree::removeEmpty(Element& element) {
    removeAttributes(element);
    unlinkChild(element);
    release(element.m_name);
    release(element);
}

void Tree::removeCharacters(Characters& characters) {
    unlinkChild(characters);
    release(characters.value);
    release(characters.source);
    release(characters);
}

void Tree::removeAttributes(Element& element) {
    while (element.m_firstAttribute != nullptr)
        removeAttribute(*element.m_firstAttribute);
}

void Tree::removeAttribute(Attribute& attribute) {
    Element& parent = *attribute.m_parent;
    auto* const previous = static_cast<Attribute*>(attribute.m_previous);
    auto* const next = static_cast<Attribute*>(attribute.m_next);
    if (previous != nullptr)
        previous->m_next = next;
    else
        parent.m_firstAttribute = next;
    if (next != nullptr)
        next->m_previous = previous;
    else
        parent.m_lastAttribute = previous;
    release(attribute.m_name);
    release(attribute.m_value);
    release(attribute);
}

constinit Element const Element::missing{nullptr};

void Node::Delete() {
    Tree::of(*this).remove(*this);
}

void NodeContainer::AddText(std::wstring_view text) {
    Tree::of(*this).addText(*this, text);
}

void Attribute::SetValue(std::wstring_view value) {
    Tree::of(*this).assign(m_value, value);
}

std::wstring Element::GetValue() const {
    std::wstring value;
    for (Node const* child = m_firstChild; child != nullptr; child = child->m_next)
        if (child->m_kind == Kind::text || child->m_kind == Kind::cdata)
            value += static_cast<Characters const&>(*child).value.view();
    return value;
}

void Element::SetValue(std::wstring_view text) {
    m_tree->replaceText(*this, text);
}

Element const& Element::GetElement(std::wstring_view name, std::size_t index) const {
    for (Element const* child = firstElement(m_firstChild); child != nullptr; child = next(*child))
        if (child->GetName() == name && index-- == 0)
            return *child;
    return missing;
}

Attribute* Element::GetAttribute(std::wstring_view name) {
    return const_cast<Attribute*>(std::as_const(*this).GetAttribute(name));
}

Attribute const* Element::GetAttribute(std::wstring_view name) const {
    for (Attribute const* attribute = m_firstAttribute; attribute != nullptr; attribute = next(*attribute))
        if (attribute->GetName() == name)
            return attribute;
    return nullptr;
}

Attribute& Element::CreateAttribute(std::wstring_view name) {
    Attribute* const existing = GetAttribute(name);
    if (existing == nullptr)
        return AppendAttribute(name);
    existing->SetValue({});
    return *existing;
}

Attribute& Element::AppendAttribute(std::wstring_view name) {
    return m_tree->appendAttribute(*this, name);
}

Element& Element::AddElementInto(std::wstring_view name) {
    return m_tree->appendElement(*this, name);
}

Document::Document(std::wstring_view rootName) : m_tree(std::make_unique<Tree>()) {
    m_tree->appendMarkup(m_tree->top(), L"<?xml version=\"1.0\" encoding=\"UTF-8\"?>");
    m_tree->appendMarkup(m_tree->top(), L"\n");
    m_tree->appendElement(m_tree->top(), rootName);
}

Document::Document(std::unique_ptr<Tree> tree) : m_tree(std::move(tree)) {}

Document::~Document() = default;

Element& Document::GetRoot() {
    return m_tree->root();
}

Element const& Document::GetRoot() const {
    return m_tree->root();
}

} // namespace AdvXMLParser
