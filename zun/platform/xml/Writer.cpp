#include <zun/platform/xml/Tree.h>
#include <zun/platform/xml/Unicode.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

namespace AdvXMLParser {

using namespace std::string_view_literals;

namespace {

constexpr std::wstring_view blanks = L" \t\r\n";

/// In levels: with more, the text could grow by the square of its depth.
constexpr std::size_t deepestIndentation = 64;

bool isBlank(std::wstring_view text) {
    return text.find_first_not_of(blanks) == text.npos;
}

/// Characters below U+0040, a bit each: the control characters and those given.
constexpr std::uint64_t special(std::wstring_view characters) {
    std::uint64_t set = 0xFFFFFFFF;
    for (wchar_t const allowed : {L'\t', L'\n', L'\r'})
        set &= ~(std::uint64_t{1} << allowed);
    for (wchar_t const character : characters)
        set |= std::uint64_t{1} << character;
    return set;
}

constexpr std::uint64_t specialInText = special(L"&<>\r");
constexpr std::uint64_t specialInValue = special(L"&<\"\t\n\r");

/// Whether it is written as it is (https://www.w3.org/TR/xml/#charsets).
bool isPlain(wchar_t character, std::uint64_t special) {
    auto const code = static_cast<char32_t>(character);
    if (code < 64)
        return (special >> code & 1) == 0;
    return code < 0xD800 || (isScalarValue(character) && code != 0xFFFE && code != 0xFFFF);
}

std::wstring inHexadecimal(wchar_t character) {
    std::wstring digits;
    for (auto rest = static_cast<char32_t>(character); rest != 0 || digits.size() < 4; rest >>= 4)
        digits.insert(digits.begin(), L"0123456789ABCDEF"[rest & 0xF]);
    return digits;
}

} // namespace

/// Writes a tree as text, see Document::GenerateXML. What is escaped is what Canonical XML escapes
/// (https://www.w3.org/TR/xml-c14n/).
class XmlWriter {
public:
    /// `likelySize` in characters.
    XmlWriter(bool formatted, std::size_t likelySize) : m_formatted(formatted) { m_text.reserve(likelySize); }

    std::wstring write(Element const& document) {
        m_levels.push_back({&document, m_formatted, false});
        Node const* node = document.m_firstChild;
        for (;;) {
            if (node == nullptr) {
                Element const& finished = *m_levels.back().element;
                if (&finished == &document)
                    break;
                bool const laidOut = m_levels.back().isLaidOut;
                m_levels.pop_back();
                if (laidOut)
                    startLine();
                m_text.append(L"</"sv).append(finished.GetName()).append(1, L'>');
                node = finished.m_next;
            } else if (node->m_kind == Node::Kind::element) {
                auto const& element = static_cast<Element const&>(*node);
                if (m_levels.back().isLaidOut)
                    startLine();
                startTag(element);
                node = element.m_firstChild != nullptr ? enter(element) : node->m_next;
            } else {
                characters(static_cast<Characters const&>(*node));
                node = node->m_next;
            }
        }
        if (m_formatted)
            m_text += L'\n';
        return std::move(m_text);
    }

private:
    struct Level {
        Element const* element;
        /// Each child has a line of its own.
        bool isLaidOut;
        bool preservesBlanks;
    };

    Node const* enter(Element const& element) {
        Level const& outer = m_levels.back();
        bool preserves = outer.preservesBlanks;
        if (Attribute const* const space = element.GetAttribute(L"xml:space"))
            preserves = space->GetValue() == L"preserve";
        m_levels.push_back(
            {&element, outer.isLaidOut && !preserves && holdsElementsOnly(element), preserves});
        return element.m_firstChild;
    }

    static bool holdsElementsOnly(Element const& element) {
        for (Node const* child = element.m_firstChild; child != nullptr; child = child->m_next)
            if (isText(*child) && !isDroppedBlank(*child))
                return false;
        return element.Begin() != element.End();
    }

    static bool isText(Node const& node) {
        return node.m_kind == Node::Kind::text || node.m_kind == Node::Kind::cdata ||
               (node.m_kind == Node::Kind::markup &&
                static_cast<Characters const&>(node).source.view().starts_with(L'&'));
    }

    /// What layout replaces: blanks between elements, and those outside the root.
    static bool isDroppedBlank(Node const& node) {
        auto const& characters = static_cast<Characters const&>(node);
        return (node.m_kind == Node::Kind::text && isBlank(characters.value.view())) ||
               (node.m_kind == Node::Kind::markup && isBlank(characters.source.view()));
    }

    void startLine() {
        if (!m_text.empty())
            m_text += L'\n';
        m_text.append(2 * std::min(m_levels.size() - 1, deepestIndentation), L' ');
    }

    void characters(Characters const& node) {
        if (m_levels.back().isLaidOut) {
            if (isDroppedBlank(node))
                return;
            startLine();
        }
        std::wstring_view const source = node.source.view();
        switch (node.m_kind) {
        case Node::Kind::cdata:
            m_text.append(L"<![CDATA[")
                .append(node.source.size > 0 ? source : node.value.view())
                .append(L"]]>");
            break;
        case Node::Kind::markup:
            m_text += source;
            break;
        default:
            // Text may follow text from which an element was removed: the two must not join to something
            // else.
            if (!source.empty() && !m_text.ends_with(L']') && !m_text.ends_with(L'\r'))
                m_text += source;
            else
                escape(node.value.view(), specialInText);
        }
    }

    void startTag(Element const& element) {
        m_text += L'<';
        name(element);
        for (auto attribute = element.AttributesBegin(); attribute != element.AttributesEnd(); ++attribute) {
            m_text += L' ';
            name(*attribute);
            m_text += L"=\""sv;
            escape(attribute->GetValue(), specialInValue);
            m_text += L'"';
        }
        m_text += element.m_firstChild != nullptr ? L">"sv : L"/>"sv;
    }

    void name(NodeContainer const& node) {
        if (!node.m_nameIsValid)
            throw ReadWriteException(L"no XML name: \"" + std::wstring(node.GetName()) + L"\"");
        m_text += node.GetName();
    }

    void escape(std::wstring_view text, std::uint64_t special) {
        // A line feed after a carriage return that ended a line of its own would be taken for a part of it.
        if (text.starts_with(L'\n') && m_text.ends_with(L'\r')) {
            m_text += L"&#10;";
            text.remove_prefix(1);
        }
        for (;;) {
            auto const stop = std::find_if_not(text.begin(), text.end(), [special](wchar_t character) {
                return isPlain(character, special);
            });
            m_text.append(text.begin(), stop);
            if (stop == text.end())
                return;
            reference(*stop);
            text.remove_prefix(static_cast<std::size_t>(stop - text.begin()) + 1);
        }
    }

    void reference(wchar_t character) {
        switch (character) {
        case L'&':
            m_text += L"&amp;";
            break;
        case L'<':
            m_text += L"&lt;";
            break;
        case L'>':
            m_text += L"&gt;";
            break;
        case L'"':
            m_text += L"&quot;";
            break;
        case L'\t':
            m_text += L"&#9;";
            break;
        case L'\n':
            m_text += L"&#10;";
            break;
        case L'\r':
            m_text += L"&#13;";
            break;
        default:
            throw ReadWriteException(L"no XML character: U+" + inHexadecimal(character));
        }
    }

    bool m_formatted;
    std::wstring m_text;
    /// The elements that are being written, from the document inwards.
    std::vector<Level> m_levels;
};

std::wstring Document::GenerateXML(bool formatted) const {
    return XmlWriter(formatted, m_tree->textSize()).write(m_tree->top());
}

} // namespace AdvXMLParser
