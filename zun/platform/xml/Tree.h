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

/// All that a document consists of. A parser makes it in sequence, see Arena, from names and texts that are
/// slices; once it is complete, it is edited.
class Tree {
public:
    using Kind = Node::Kind;

    Tree() : m_arena(0), m_isComplete(true), m_top(this) {}
    /// To be parsed, within `limit` bytes.
    explicit Tree(std::size_t limit) : m_arena(limit), m_isComplete(false), m_top(this) {}
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

    void complete(std::size_t textSize) {
        m_textSize = textSize;
        m_isComplete = true;
    }
    /// In characters, of the text that was parsed.
    std::size_t textSize() const { return m_textSize; }

    /// Each goes behind what `parent` holds.
    Element& appendElement(Element& parent, Slice name);
    Element& appendElement(Element& parent, std::wstring_view name);
    Attribute& appendAttribute(Element& parent, Slice name);
    Attribute& appendAttribute(Element& parent, std::wstring_view name);
    Characters& appendCharacters(Element& parent, Kind kind);
    void appendMarkup(Element& parent, std::wstring_view source);

    static Slice& value(Attribute& attribute) { return attribute.m_value; }

    void assign(Slice& slice, std::wstring_view text) { replaceFrom(slice, 0, text); }
    void append(Slice& slice, std::wstring_view text) { replaceFrom(slice, slice.size, text); }

    void addText(NodeContainer& container, std::wstring_view text);
    void replaceText(Element& element, std::wstring_view text);

    /// Of the root, what it holds.
    void remove(Node& node);

private:
    template <typename Item, typename... Arguments>
    Item& make(Arguments&&... arguments);
    void release(Node& node);
    static void release(Slice& slice);
    /// Keeps the first `kept` characters. The text may be any of the document's, this one's own too.
    void replaceFrom(Slice& slice, std::size_t kept, std::wstring_view text);
    void appendChild(Element& parent, Node& child);
    void unlinkChild(Node& child);
    void clear(Element& element);
    void removeCharacters(Characters& characters);
    void removeAttribute(Attribute& attribute);
    void removeAttributes(Element& element);
    void removeEmpty(Element& element);

    Arena m_arena;
    bool m_isComplete;
    std::size_t m_textSize = 0;
    Element m_top;
    Element* m_root = nullptr;
};

/// Whether a parser takes the name.
bool isName(std::wstring_view name);

} // namespace AdvXMLParser
