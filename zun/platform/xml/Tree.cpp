#include <zun/platform/xml/Tree.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <stdexcept>
#include <type_traits>
#include <utility>

namespace AdvXMLParser {

namespace {

void put(Slice& slice, std::size_t position, std::wstring_view text) {
    if (!text.empty())
        std::memcpy(slice.data + position, text.data(), text.size() * sizeof(wchar_t));
    slice.size = static_cast<std::uint32_t>(position + text.size());
}

} // namespace

template <typename Item, typename... Arguments>
Item& Tree::make(Arguments&&... arguments) {
    static_assert(std::is_trivially_destructible_v<Item> && alignof(Item) <= alignof(void*) &&
                  sizeof(Item) <= Arena::largestNode);
    return *new (m_arena.allocateNode(sizeof(Item))) Item(std::forward<Arguments>(arguments)...);
}

void Tree::assign(Slice& slice, std::wstring_view text) {
    // The text may be the slice's own, or another's in the same document: it stays readable until it is
    // copied.
    if (text.size() <= slice.capacity) {
        if (!text.empty())
            std::memmove(slice.data, text.data(), text.size() * sizeof(wchar_t));
        slice.size = static_cast<std::uint32_t>(text.size());
        return;
    }
    Slice assigned;
    m_arena.reserve(assigned, text.size());
    put(assigned, 0, text);
    m_arena.release(slice);
    slice = assigned;
}

void Tree::append(Slice& slice, std::wstring_view text) {
    Slice copy;
    if (slice.size + text.size() > slice.capacity) {
        assign(copy, text);
        m_arena.reserve(slice, slice.size + text.size());
        text = copy.view();
    }
    put(slice, slice.size, text);
    m_arena.release(copy);
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
    assign(appendCharacters(parent, Kind::Markup).source, source);
}

void Tree::addText(NodeContainer& container, std::wstring_view text) {
    if (container.m_kind == Kind::Attribute) {
        append(static_cast<Attribute&>(container).m_value, text);
        return;
    }
    if (text.empty())
        return;
    auto& element = static_cast<Element&>(container);
    Node* const last = element.m_lastChild;
    bool const continues = last != nullptr && last->m_kind == Kind::Text;
    auto& characters = continues ? static_cast<Characters&>(*last) : appendCharacters(element, Kind::Text);
    append(characters.value, text);
    m_arena.release(characters.source);
}

void Tree::replaceText(Element& element, std::wstring_view text) {
    Characters* replacement = nullptr;
    if (!text.empty()) {
        replacement = &make<Characters>(Kind::Text);
        assign(replacement->value, text);
    }
    for (Node* child = element.m_firstChild; child != nullptr;) {
        Node& node = *std::exchange(child, child->m_next);
        if (node.m_kind == Kind::Element)
            continue;
        auto& characters = static_cast<Characters&>(node);
        bool const isReference = node.m_kind == Kind::Markup && characters.source.view().starts_with(L'&');
        if (node.m_kind != Kind::Markup || isReference)
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
    if (node.m_kind == Kind::Attribute) {
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
        } else if (child->m_kind == Kind::Element) {
            container = static_cast<Element*>(child);
        } else {
            removeCharacters(static_cast<Characters&>(*child));
        }
    }
}

void Tree::removeEmpty(Element& element) {
    removeAttributes(element);
    unlinkChild(element);
    m_arena.release(element.m_name);
    m_arena.releaseNode(&element, sizeof element);
}

void Tree::removeCharacters(Characters& characters) {
    unlinkChild(characters);
    m_arena.release(characters.value);
    m_arena.release(characters.source);
    m_arena.releaseNode(&characters, sizeof characters);
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
    m_arena.release(attribute.m_name);
    m_arena.release(attribute.m_value);
    m_arena.releaseNode(&attribute, sizeof attribute);
}

constinit Element const Element::s_missing{nullptr};

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
        if (child->m_kind == Kind::Text || child->m_kind == Kind::CData)
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
    return s_missing;
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
        return m_tree->appendAttribute(*this, name);
    existing->SetValue({});
    return *existing;
}

Element& Element::AddElementInto(std::wstring_view name) {
    return m_tree->appendElement(*this, name);
}

Document::Document(std::wstring_view rootName) : m_tree(std::make_unique<Tree>()) {
    m_tree->appendMarkup(m_tree->top(), L"<?xml version=\"1.0\" encoding=\"UTF-8\"?>");
    m_tree->appendMarkup(m_tree->top(), L"\n");
    m_tree->appendElement(m_tree->top(), rootName);
    m_tree->arena().startReusing();
}

Document::Document(std::unique_ptr<Tree> tree) : m_tree(std::move(tree)) {
    m_tree->arena().startReusing();
}

Document::~Document() = default;

Element& Document::GetRoot() {
    return m_tree->root();
}

Element const& Document::GetRoot() const {
    return m_tree->root();
}

} // namespace AdvXMLParser
