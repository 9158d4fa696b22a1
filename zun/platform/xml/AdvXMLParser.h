#pragma once

#include <zun/Api.h>

#include <cstddef>
#include <cstdint>
#include <exception>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>

/// XML 1.0 documents in wide text, one UTF-32 code unit an element: parsing, a tree to read and to change,
/// writing, and the files they are kept in. Names with colons are plain names. Nothing here logs. A document
/// and all that belongs to it is used by one thread at a time; distinct documents need no care. What fails
/// for want of memory throws std::bad_alloc where nothing else is said.
namespace AdvXMLParser {

/// How the bytes of a file stand for characters.
enum Encoding : std::int32_t {
    UsAscii = 1,
    Latin1 = 2,
    Utf8 = 4,
    Utf16LittleEndian = 5,
    Utf16BigEndian = 6,
    Utf32LittleEndian = 7,
    Utf32BigEndian = 8,
};

/// The results of the functions that do not throw; not negative on success.
enum Result : std::int32_t {
    Success = 0,
    FileNotFound = -44,
    FileUnreadable = -45,
    TransformFailed = -46,
    EncodingUnknown = -47,
    TextMalformed = -48,
    OutOfMemory = -49,
    FileNotWritten = -50,
};

/// The elements that may stand inside one another, the root being the first.
inline constexpr std::size_t maximumDepth = 1000;

/// The attributes that a document type may declare.
inline constexpr std::size_t maximumAttributeDeclarations = 10000;

/// The text is no well-formed document, or a document beyond this service's limits.
class ZUN_API ParsingException : public std::exception {
public:
    ParsingException(std::size_t line, std::size_t column, std::wstring message);
    ParsingException(ParsingException const&) = default;
    ParsingException& operator=(ParsingException const&) = default;
    ~ParsingException() override;

    /// Both from 1, in wide characters of the parsed text; CR, LF and CR LF each end a line.
    std::size_t GetLine() const { return m_line; }
    std::size_t GetColumn() const { return m_column; }
    std::wstring const& GetErrorMessage() const { return m_message; }

    char const* what() const noexcept override { return m_narrowMessage.c_str(); }

private:
    std::size_t m_line;
    std::size_t m_column;
    std::wstring m_message;
    std::string m_narrowMessage;
};

/// A file could not be read or written, or a document cannot be expressed in XML. GetLastXmlErrorMessage has
/// the same message.
class ZUN_API ReadWriteException : public std::exception {
public:
    explicit ReadWriteException(std::wstring message);
    ReadWriteException(ReadWriteException const&) = default;
    ReadWriteException& operator=(ReadWriteException const&) = default;
    ~ReadWriteException() override;

    std::wstring const& GetErrorMessage() const { return m_message; }

    char const* what() const noexcept override { return m_narrowMessage.c_str(); }

private:
    std::wstring m_message;
    std::string m_narrowMessage;
};

class Attribute;
class Document;
class Element;
class Tree;

/// Characters in a document's memory.
struct Slice {
    wchar_t* data = nullptr;
    std::uint32_t size = 0;
    /// Of memory that the slice alone has; none where the document keeps the characters to its end.
    std::uint32_t capacity = 0;

    std::wstring_view view() const { return {data, size}; }
};

/// A part of a document, owned by it.
class ZUN_API Node {
public:
    Node(Node const&) = delete;
    Node& operator=(Node const&) = delete;

    /// Takes the node, with all inside it, out of its document and destroys it. The root element stays,
    /// without attributes and contents: a document always has one.
    void Delete();

protected:
    enum class Kind : std::uint8_t { element, attribute, text, cdata, markup };

    constexpr explicit Node(Kind kind) : m_kind(kind) {}

private:
    friend class Element;
    friend class Tree;
    friend class XmlWriter;

    Node* m_previous = nullptr;
    Node* m_next = nullptr;
    Element* m_parent = nullptr;
    Kind m_kind;
    bool m_nameIsValid = true;
    /// Whether it was allocated by itself.
    bool m_isSeparate = false;
    std::uint16_t m_depth = 0;
};

/// A node that has a name and may hold text.
class ZUN_API NodeContainer : public Node {
public:
    /// Valid as long as the node.
    std::wstring_view GetName() const { return m_name.view(); }

    /// Appends text to what the node holds. It is written with the references that it needs.
    void AddText(std::wstring_view text);

protected:
    using Node::Node;

private:
    friend class Tree;

    Slice m_name;
};

class ZUN_API Attribute : public NodeContainer {
public:
    /// Valid until the attribute changes.
    std::wstring_view GetValue() const { return m_value.view(); }

    void SetValue(std::wstring_view value);

private:
    friend class Tree;

    Attribute() : NodeContainer(Kind::attribute) {}

    Slice m_value;
};

/// A position among an element's child elements, or among its attributes, in document order. It stays valid
/// until the node at the position is deleted. The position after the last has no node.
template <typename Item>
class Iterator {
public:
    using iterator_category = std::bidirectional_iterator_tag;
    using value_type = std::remove_const_t<Item>;
    using difference_type = std::ptrdiff_t;
    using pointer = Item*;
    using reference = Item&;

    Iterator() = default;

    Item& operator*() const { return *m_item; }
    Item* operator->() const { return m_item; }

    /// REQUIRES: not at the end.
    Iterator& operator++();
    Iterator operator++(int) {
        Iterator const before = *this;
        ++*this;
        return before;
    }
    /// From the end, to the last. REQUIRES: not at the first.
    Iterator& operator--();
    Iterator operator--(int) {
        Iterator const before = *this;
        --*this;
        return before;
    }

    friend bool operator==(Iterator const& left, Iterator const& right) {
        return left.m_item == right.m_item;
    }

private:
    friend class Element;

    Iterator(Item* item, Element const* parent) : m_item(item), m_parent(parent) {}

    Item* m_item = nullptr;
    Element const* m_parent = nullptr;
};

/// An element and all inside it: child elements, text, CDATA sections, comments, processing instructions.
class ZUN_API Element : public NodeContainer {
public:
    /// The text and CDATA sections directly in the element, joined.
    std::wstring GetValue() const;

    /// Replaces the text, CDATA sections and unresolved references directly in the element by `text`, before
    /// the child elements, which stay.
    void SetValue(std::wstring_view text);

    /// The child element of that name with the given number, from 0. A missing one reads as an empty element
    /// without name; so do its own child elements.
    Element const& GetElement(std::wstring_view name, std::size_t index = 0) const;

    /// Null when there is none.
    Attribute* GetAttribute(std::wstring_view name);
    Attribute const* GetAttribute(std::wstring_view name) const;

    /// A new attribute after the others, empty. One of that name that exists is emptied instead.
    Attribute& CreateAttribute(std::wstring_view name);

    /// The same without a search. REQUIRES: no attribute of that name exists.
    Attribute& AppendAttribute(std::wstring_view name);

    /// A new child element after all that the element holds. Throws std::length_error when it would stand
    /// deeper than maximumDepth.
    Element& AddElementInto(std::wstring_view name);

    Iterator<Element> Begin() { return {firstElement(m_firstChild), this}; }
    Iterator<Element> End() { return {nullptr, this}; }
    Iterator<Element const> Begin() const { return {firstElement(m_firstChild), this}; }
    Iterator<Element const> End() const { return {nullptr, this}; }

    Iterator<Attribute> AttributesBegin() { return {m_firstAttribute, this}; }
    Iterator<Attribute> AttributesEnd() { return {nullptr, this}; }
    Iterator<Attribute const> AttributesBegin() const { return {m_firstAttribute, this}; }
    Iterator<Attribute const> AttributesEnd() const { return {nullptr, this}; }

private:
    template <typename Item>
    friend class Iterator;
    friend class Tree;
    friend class XmlWriter;

    constexpr explicit Element(Tree* tree) : NodeContainer(Kind::element), m_tree(tree) {}

    static Element* firstElement(Node* node) {
        while (node != nullptr && node->m_kind != Kind::element)
            node = node->m_next;
        return static_cast<Element*>(node);
    }
    static Element* lastElement(Node* node) {
        while (node != nullptr && node->m_kind != Kind::element)
            node = node->m_previous;
        return static_cast<Element*>(node);
    }
    static Element* next(Element const& element) { return firstElement(element.m_next); }
    static Element* previous(Element const& element) { return lastElement(element.m_previous); }
    static Element* last(Element const& parent, Element const*) { return lastElement(parent.m_lastChild); }
    static Attribute* next(Attribute const& attribute) { return static_cast<Attribute*>(attribute.m_next); }
    static Attribute* previous(Attribute const& attribute) {
        return static_cast<Attribute*>(attribute.m_previous);
    }
    static Attribute* last(Element const& parent, Attribute const*) { return parent.m_lastAttribute; }

    static Element const missing;

    Tree* m_tree;
    Node* m_firstChild = nullptr;
    Node* m_lastChild = nullptr;
    Attribute* m_firstAttribute = nullptr;
    Attribute* m_lastAttribute = nullptr;
};

template <typename Item>
Iterator<Item>& Iterator<Item>::operator++() {
    m_item = Element::next(*m_item);
    return *this;
}

template <typename Item>
Iterator<Item>& Iterator<Item>::operator--() {
    m_item = m_item != nullptr ? Element::previous(*m_item) : Element::last(*m_parent, m_item);
    return *this;
}

class ZUN_API Document {
public:
    /// An XML declaration and an empty root element.
    explicit Document(std::wstring_view rootName);
    virtual ~Document();
    Document(Document const&) = delete;
    Document& operator=(Document const&) = delete;

    Element& GetRoot();
    Element const& GetRoot() const;

    /// The document's text. It begins with an XML declaration if the document was made with one; an encoding
    /// that the declaration names becomes UTF-8. Comments, processing instructions, CDATA sections and the
    /// document type stand where and as they were.
    ///
    /// Not `formatted`, the text keeps its blanks and line ends. `formatted`, an element that holds elements
    /// and, besides them, blanks only, has each of its children on a line of its own, two spaces deeper than
    /// itself down to a level of 64, unless an xml:space attribute preserves its blanks. What this text is
    /// parsed to is formatted to the same text again.
    ///
    /// Throws ReadWriteException when a name or a character of the tree cannot stand in an XML document.
    std::wstring GenerateXML(bool formatted) const;

private:
    friend class Parser;

    explicit Document(std::unique_ptr<Tree> tree);

    std::unique_ptr<Tree> m_tree;
};

class ZUN_API Parser {
public:
    /// A new document, the caller's to delete. Never null. The encoding that the text's XML declaration names
    /// is ignored, a byte-order mark at its start is skipped. No external entity is loaded; references to
    /// such and to those that may be declared outside stay in the content as they are.
    ///
    /// Throws ParsingException when the text is not well-formed (as Expat sees it;
    /// https://www.w3.org/TR/xml/, fourth edition), has an element that is no Unicode scalar value, is empty,
    /// refers in an attribute to an entity that is not declared, or is beyond a limit: 2 GiB in UTF-8,
    /// maximumDepth, Expat's own for the expansion of entities, maximumAttributeDeclarations, and a document
    /// that would take more than 16 MiB and 100 bytes for each byte of the text.
    Document* Parse(wchar_t const* text, std::size_t length);
};

/// Turns the bytes of a file into those of a document or the other way, as ciphers do. False on failure; what
/// `out` then holds is taken for the reason, in UTF-8.
using BufferTransform = bool (*)(std::string const& in, std::string& out);

/// Reads a file's text. Its bytes pass `transform`, unless null, first. A byte-order mark decides their
/// encoding and is no part of the text; without one an XML declaration does; without both it is `encoding`,
/// which is set to what was decided. `flags` is reserved: 0. Returns true; throws ReadWriteException on
/// failure, `text` unchanged.
ZUN_API bool ReadBufferFromFile(std::wstring const& fileName, std::wstring& text, std::int32_t& encoding,
                                std::int32_t flags = 0, BufferTransform transform = nullptr);

/// The same, with a Result, and a message for GetLastXmlErrorMessage, in place of the exception.
ZUN_API std::int32_t ReadBufferFromFileNoExp(std::wstring const& fileName, std::wstring& text,
                                             std::int32_t& encoding, std::int32_t flags = 0,
                                             BufferTransform transform = nullptr);

/// The same, with the text in UTF-8.
ZUN_API std::int32_t ReadUtf8BufferFromFileNoExp(std::wstring const& fileName, std::string& text,
                                                 std::int32_t& encoding, std::int32_t flags = 0,
                                                 BufferTransform transform = nullptr);

/// Makes the text, in UTF-8 and passed through `transform` unless null, the contents of the file, durably: a
/// reader sees the old file or the new one, whole. `encoding` is Utf8; `flags` is reserved: 0. Throws
/// ReadWriteException, the old file untouched, on failure.
ZUN_API void WriteBufferToFile(std::wstring const& fileName, std::wstring const& text, std::int32_t encoding,
                               BufferTransform transform = nullptr, std::int32_t flags = 0);

/// A byte-order mark of the encoding is no part of the text. Malformed bytes give a negative Result, and
/// leave `text` unchanged.
ZUN_API std::int32_t ConvertBufferToUnicode(char const* bytes, std::size_t length, std::wstring& text,
                                            std::int32_t encoding);

/// False when an element of the text is no Unicode scalar value or `encoding` is not Utf8; `bytes` is
/// unchanged.
ZUN_API bool ConvertBufferToUtf8(std::wstring const& text, std::string& bytes, std::int32_t encoding);

/// What made the calling thread's last failing call of this service fail: the file's name, where it has one,
/// and the reason; empty when there was no memory for them. Valid until its next failing call.
ZUN_API std::wstring const& GetLastXmlErrorMessage();

} // namespace AdvXMLParser
