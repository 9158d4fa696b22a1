#pragma once

#include <zun/platform/xml/AdvXMLParser.h>
#include <zun/platform/xml/Arena.h>

#include <string_view>

namespace AdvXMLParser {

/// Text, a CDATA section, or markup that is kept as it was written.
class Characters : public Node {
public:
    explicit Characters(Kind kind) : Node(kind) {}

    Slice value;
    /// How the node is written where that is more than its value escaped: markup, and the line ends that text
    /// had.
    Slice source;
};

/// All that a document consists of.
class Tree {
public:
    using Kind = Node::Kind;

    Tree() : m_top(this) {}
    Tree(Tree const&) = delete;
    Tree& operator=(Tree const&) = delete;

    Arena& arena() { return m_arena; }

    /// Stands for the document itself: it holds the root and what is before and after it.
    Element& top() { return m_top; }
    Element const& top() const { return m_top; }
    Element& root() { return *m_root; }
    Element const& root() const { return *m_root; }

    static std::size_t depth(Element const& element) { return element.m_depth; }
    static Element& parent(Node const& node) { return *node.m_parent; }
    static Tree& of(Node const& node) { return *node.m_parent->m_tree; }

    /// Each goes behind what `parent` holds. Names that are given as slices belong to someone else.
    Element& appendElement(Element& parent, Slice name);
    Element& appendElement(Element& parent, std::wstring_view name);
    Attribute& appendAttribute(Element& parent, Slice name);
    Attribute& appendAttribute(Element& parent, std::wstring_view name);
    Characters& appendCharacters(Element& parent, Kind kind);
    void appendMarkup(Element& parent, std::wstring_view source);

    static Slice& value(Attribute& attribute) { return attribute.m_value; }

    void assign(Slice& slice, std::wstring_view text);
    void append(Slice& slice, std::wstring_view text);

    void addText(NodeContainer& container, std::wstring_view text);
    void replaceText(Element& element, std::wstring_view text);

    /// Of the root, what it holds.
    void remove(Node& node);

private:
    template <typename Item, typename... Arguments>
    Item& make(Arguments&&... arguments);
    void appendChild(Element& parent, Node& child);
    void unlinkChild(Node& child);
    void clear(Element& element);
    void removeCharacters(Characters& characters);
    void removeAttribute(Attribute& attribute);
    void removeAttributes(Element& element);
    void removeEmpty(Element& element);

    Arena m_arena;
    Element m_top;
    Element* m_root = nullptr;
};

/// Whether a parser takes the name.
bool isName(std::wstring_view name);

} // namespace AdvXMLParser
