#include <zun/platform/helper/CommonHelper.h>
#include <zun/platform/xml/AdvXMLParser.h>
#include <zun/platform/xml/Block.h>
#include <zun/platform/xml/DeclaredEntities.h>
#include <zun/platform/xml/Expat.h>
#include <zun/platform/xml/Tree.h>
#include <zun/platform/xml/Unicode.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>
#include <exception>
#include <map>
#include <new>
#include <optional>
#include <stdexcept>

namespace AdvXMLParser {

static_assert(XML_MAJOR_VERSION > 2 || (XML_MAJOR_VERSION == 2 && XML_MINOR_VERSION >= 4),
              "Expat bounds the expansion of entities from 2.4 on");

namespace {

/// The entities that may refer to others: Expat expands an entity within another by recursion.
constexpr std::size_t maximumNestedEntities = 500;

/// What the making of a document of that many bytes may cost: the memory of its tree, in bytes, and the
/// declared attributes that Expat compares with those in tags.
constexpr std::size_t allowance(std::size_t textBytes) {
    return 16 * 1024 * 1024 + 100 * textBytes;
}

/// A wide text in UTF-8. What is no character in it is none in UTF-8 either: it is Expat's to find.
class Utf8Text {
public:
    explicit Utf8Text(std::wstring_view text) : m_capacity(text.size() + text.size() / 8 + 4 * part) {
        m_bytes = allocateBlock(m_capacity);
        for (; !text.empty(); text.remove_prefix(std::min(part, text.size()))) {
            if (m_capacity - m_size < 4 * part)
                grow();
            m_size = static_cast<std::size_t>(encodeUtf8(text.substr(0, part), begin() + m_size) - begin());
        }
    }

    std::string_view view() const { return {begin(), m_size}; }

private:
    static constexpr std::size_t part = 4096;

    char* begin() const { return reinterpret_cast<char*>(m_bytes.get()); }

    void grow() {
        Block greater = allocateBlock(2 * m_capacity);
        std::memcpy(greater.get(), m_bytes.get(), m_size);
        m_bytes = std::move(greater);
        m_capacity *= 2;
    }

    std::size_t m_capacity;
    std::size_t m_size = 0;
    Block m_bytes;
};

/// The names of a document in wide text, each as a rule once: few different ones make up most of it.
class NameCache {
public:
    explicit NameCache(Arena& arena) : m_arena(arena) {}

    Slice find(char const* name) {
        std::string_view const utf8(name);
        Entry& entry = m_entries[place(utf8)];
        if (entry.utf8 != utf8) {
            Slice wide;
            m_arena.finish(wide, decodeValidUtf8(utf8, m_arena.extend(wide, utf8.size())));
            entry.utf8 = utf8;
            entry.wide = wide;
        }
        return entry.wide;
    }

private:
    struct Entry {
        std::string utf8;
        Slice wide;
    };

    static constexpr std::size_t places = 512;

    static std::size_t place(std::string_view name) {
        auto const at = [&](std::size_t i) {
            return static_cast<std::size_t>(static_cast<unsigned char>(name[i]));
        };
        std::size_t const last = name.size() - 1;
        return (name.size() + at(0) * 7 + at(last / 2) * 31 + at(last) * 131) % places;
    }

    Arena& m_arena;
    std::array<Entry, places> m_entries;
};

struct Default {
    Slice name;
    Slice value;
};

/// What is kept of a document type while its document is parsed.
struct DocumentType {
    DeclaredEntities entities;
    std::size_t nestedEntities = 0;
    std::size_t attributeDeclarations = 0;
    /// How many are declared for an element.
    std::map<std::string, std::size_t, std::less<>> attributesOf;
    std::size_t comparisons = 0;
    /// By Expat's value.
    std::map<char const*, Default> defaults;
};

} // namespace

/// Makes the tree of what Expat reports.
class TreeBuilder {
public:
    TreeBuilder(Tree& tree, std::string_view utf8)
        : m_tree(tree), m_utf8(utf8), m_hasCarriageReturns(utf8.find('\r') != utf8.npos),
          m_expat(makeExpatParser("UTF-8")), m_names(tree.arena()), m_current(&tree.top()) {
        XML_Parser const expat = m_expat.get();
        XML_SetUserData(expat, this);
        XML_SetXmlDeclHandler(expat, [](void* self, char const* version, char const* encoding,
                                        int standalone) {
            handle(self, [&](TreeBuilder& builder) { builder.declaration(version, encoding, standalone); });
        });
        XML_SetElementHandler(
            expat,
            [](void* self, char const* name, char const** attributes) {
                handle(self, [&](TreeBuilder& builder) { builder.startElement(name, attributes); });
            },
            [](void* self, char const*) {
                handle(self, [](TreeBuilder& builder) { builder.endElement(); });
            });
        XML_SetCharacterDataHandler(expat, [](void* self, char const* text, int length) {
            handle(self, [&](TreeBuilder& builder) {
                builder.text({text, static_cast<std::size_t>(length)});
            });
        });
        XML_SetCdataSectionHandler(
            expat, [](void* self) { handle(self, [](TreeBuilder& builder) { builder.startCData(); }); },
            [](void* self) { handle(self, [](TreeBuilder& builder) { builder.closeText(); }); });
        XML_SetCommentHandler(expat, [](void* self, char const* text) {
            handle(self, [&](TreeBuilder& builder) { builder.markup({"<!--", text, "-->"}); });
        });
        XML_SetProcessingInstructionHandler(expat, [](void* self, char const* target, char const* data) {
            handle(self, [&](TreeBuilder& builder) {
                builder.markup({"<?", target, *data != '\0' ? " " : "", data, "?>"});
            });
        });
        XML_SetDefaultHandlerExpand(expat, [](void* self, char const* text, int length) {
            handle(self, [&](TreeBuilder& builder) {
                builder.other({text, static_cast<std::size_t>(length)});
            });
        });
        XML_SetEndDoctypeDeclHandler(
            expat, [](void* self) { handle(self, [](TreeBuilder& builder) { builder.endDoctype(); }); });
        XML_SetEntityDeclHandler(expat, [](void* self, char const* name, int isParameter, char const* value,
                                           int length, char const*, char const*, char const*, char const*) {
            // Expat expands no parameter entity.
            if (isParameter == 0)
                handle(self, [&](TreeBuilder& builder) {
                    builder.entity(name, {value, static_cast<std::size_t>(value != nullptr ? length : 0)});
                });
        });
        XML_SetAttlistDeclHandler(
            expat, [](void* self, char const* element, char const*, char const*, char const*, int) {
                handle(self, [&](TreeBuilder& builder) { builder.declareAttribute(element); });
            });
    }

    void run() {
        if (XML_Parse(m_expat.get(), m_utf8.data(), static_cast<int>(m_utf8.size()), XML_TRUE) ==
            XML_STATUS_OK)
            return;
        if (m_failure)
            std::rethrow_exception(m_failure);
        XML_Error const error = XML_GetErrorCode(m_expat.get());
        if (error == XML_ERROR_NO_MEMORY)
            throw std::bad_alloc();
        fail(orvane_com::zun::helper::toWide(XML_ErrorString(error)));
    }

private:
    /// Expat is C: no exception may pass through it.
    template <typename Action>
    static void handle(void* self, Action action) noexcept {
        auto& builder = *static_cast<TreeBuilder*>(self);
        if (builder.m_failure)
            return;
        try {
            try {
                action(builder);
            } catch (std::length_error const& error) {
                builder.fail(orvane_com::zun::helper::toWide(error.what()));
            }
        } catch (...) {
            builder.m_failure = std::current_exception();
            XML_StopParser(builder.m_expat.get(), XML_FALSE);
        }
    }

    [[noreturn]] void fail(std::wstring message) const {
        throw ParsingException(XML_GetCurrentLineNumber(m_expat.get()),
                               XML_GetCurrentColumnNumber(m_expat.get()) + 1, std::move(message));
    }

    void require(bool holds, wchar_t const* message) const {
        if (!holds)
            fail(message);
    }

    /// Where what is reported stands in the text. What comes from within an entity stands where the reference
    /// does.
    std::size_t begin() const { return static_cast<std::size_t>(XML_GetCurrentByteIndex(m_expat.get())); }
    std::string_view source() const {
        return m_utf8.substr(begin(), static_cast<std::size_t>(XML_GetCurrentByteCount(m_expat.get())));
    }

    static bool isEntityReference(std::string_view source) {
        constexpr std::array<std::string_view, 5> predefined{"&amp;", "&lt;", "&gt;", "&quot;", "&apos;"};
        return source.starts_with('&') && !source.starts_with("&#") &&
               std::find(predefined.begin(), predefined.end(), source) == predefined.end();
    }

    /// The slice is empty, or was the last that was appended to.
    void append(Slice& slice, std::string_view utf8) {
        Arena& arena = m_tree.arena();
        arena.finish(slice, decodeValidUtf8(utf8, arena.extend(slice, utf8.size())));
    }

    void appendMarkup(std::string_view utf8) {
        append(m_tree.appendCharacters(*m_current, Tree::Kind::markup).source, utf8);
    }

    void declaration(char const* version, char const* encoding, int standalone) {
        std::string text = std::string("<?xml version=\"") + version + '"';
        if (encoding != nullptr)
            text += " encoding=\"UTF-8\"";
        if (standalone >= 0)
            text += standalone != 0 ? " standalone=\"yes\"" : " standalone=\"no\"";
        appendMarkup(text + "?>");
    }

    void startElement(char const* name, char const* const* attributes) {
        closeText();
        require(Tree::depth(*m_current) < maximumDepth, L"elements nested too deeply");
        m_current = &m_tree.appendElement(*m_current, m_names.find(name));
        auto const specified = static_cast<std::size_t>(XML_GetSpecifiedAttributeCount(m_expat.get()));
        if (m_documentType)
            checkTag(name, specified / 2);
        for (char const* const* const end = attributes + specified; attributes != end; attributes += 2)
            append(Tree::value(m_tree.appendAttribute(*m_current, m_names.find(attributes[0]))),
                   attributes[1]);
        for (; *attributes != nullptr; attributes += 2)
            appendDefault(attributes[0], attributes[1]);
    }

    /// What Expat does not check where there is a document type.
    void checkTag(char const* name, std::size_t specifiedAttributes) {
        DocumentType& type = *m_documentType;
        std::string_view const tag = source();
        require(tag.starts_with('<') ? type.entities.coverTag(tag)
                                     : type.entities.coverTagsIn(tag.substr(1, tag.size() - 2)),
                undefinedEntity);
        auto const declared = type.attributesOf.find(std::string_view(name));
        if (declared == type.attributesOf.end())
            return;
        type.comparisons += declared->second * (1 + specifiedAttributes);
        require(type.comparisons <= allowance(m_utf8.size()),
                L"too many attributes declared for the elements");
    }

    /// Expat keeps a default value in one place, whatever element has it: it is decoded once.
    void appendDefault(char const* name, char const* value) {
        Default& same = m_documentType->defaults[value];
        if (same.name.size == 0) {
            append(same.value, value);
            same.name = m_names.find(name);
        }
        Tree::value(m_tree.appendAttribute(*m_current, same.name)) = same.value;
    }

    void endElement() {
        closeText();
        m_current = &Tree::parent(*m_current);
    }

    void openText(Tree::Kind kind) {
        m_text = &m_tree.appendCharacters(*m_current, kind);
        m_sourceBegin = std::string_view::npos;
        m_hadCarriageReturn = false;
        m_isFromEntity = false;
    }

    void startCData() {
        closeText();
        openText(Tree::Kind::cdata);
    }

    void text(std::string_view utf8) {
        if (m_text == nullptr)
            openText(Tree::Kind::text);
        append(m_text->value, utf8);
        if (m_hasCarriageReturns) {
            std::string_view const from = source();
            m_sourceBegin = std::min(m_sourceBegin, begin());
            m_sourceEnd = begin() + from.size();
            m_hadCarriageReturn |= from.starts_with('\r');
            m_isFromEntity |= isEntityReference(from);
        }
    }

    void closeText() {
        if (m_text == nullptr)
            return;
        if (m_hasCarriageReturns && m_hadCarriageReturn && !m_isFromEntity)
            append(m_text->source, m_utf8.substr(m_sourceBegin, m_sourceEnd - m_sourceBegin));
        m_text = nullptr;
    }

    void markup(std::initializer_list<char const*> pieces) {
        if (m_isInDoctype)
            return;
        closeText();
        if (source().starts_with('<')) {
            appendMarkup(source());
        } else {
            std::string text;
            for (char const* const piece : pieces)
                text += piece;
            appendMarkup(text);
        }
    }

    /// Blanks outside the root element, references that are not expanded, and the document type in pieces.
    void other(std::string_view utf8) {
        if (m_isInDoctype)
            return;
        closeText();
        if (utf8 == "<!DOCTYPE") {
            m_isInDoctype = true;
            m_documentType.emplace();
            m_sourceBegin = begin();
        } else {
            appendMarkup(utf8);
        }
    }

    void entity(char const* name, std::string_view value) {
        DocumentType& type = *m_documentType;
        std::size_t i = value.find('&');
        while (i != value.npos && value.substr(i + 1).starts_with('#'))
            i = value.find('&', i + 1);
        if (i != value.npos)
            require(++type.nestedEntities <= maximumNestedEntities,
                    L"too many entities that refer to other entities");
        type.entities.add(name, value);
    }

    void declareAttribute(char const* element) {
        DocumentType& type = *m_documentType;
        require(++type.attributeDeclarations <= maximumAttributeDeclarations,
                L"too many attribute declarations");
        ++type.attributesOf[element];
        // Of a default value Expat tells only where it begins.
        std::string_view const from = m_utf8.substr(begin());
        if (from.starts_with('"') || from.starts_with('\''))
            require(type.entities.coverTag(from.substr(0, from.find(from.front(), 1))), undefinedEntity);
    }

    void endDoctype() {
        m_isInDoctype = false;
        appendMarkup(m_utf8.substr(m_sourceBegin, begin() + source().size() - m_sourceBegin));
    }

    static constexpr wchar_t const* undefinedEntity = L"undefined entity";

    Tree& m_tree;
    std::string_view m_utf8;
    bool m_hasCarriageReturns;
    ExpatParser m_expat;
    NameCache m_names;
    std::exception_ptr m_failure;

    Element* m_current;
    bool m_isInDoctype = false;
    std::optional<DocumentType> m_documentType;

    /// The text that is being reported, piece by piece, and where it stands.
    Characters* m_text = nullptr;
    std::size_t m_sourceBegin = 0;
    std::size_t m_sourceEnd = 0;
    bool m_hadCarriageReturn = false;
    bool m_isFromEntity = false;
};

Document* Parser::Parse(wchar_t const* text, std::size_t length) {
    Utf8Text const utf8({text, length});
    if (utf8.view().size() > INT_MAX)
        throw ParsingException(1, 1, L"text exceeds 2 GiB");
    auto tree = std::make_unique<Tree>(allowance(utf8.view().size()));
    TreeBuilder(*tree, utf8.view()).run();
    tree->complete(length);
    return new Document(std::move(tree));
}

bool isName(std::wstring_view name) {
    auto const starts = [](wchar_t character) {
        return (character >= L'a' && character <= L'z') || (character >= L'A' && character <= L'Z') ||
               character == L'_' || character == L':' || character >= 0x80;
    };
    auto const continues = [&](wchar_t character) {
        return starts(character) || (character >= L'0' && character <= L'9') || character == L'-' ||
               character == L'.';
    };
    if (name.empty() || !starts(name.front()) || !std::all_of(name.begin(), name.end(), continues))
        return false;
    if (std::all_of(name.begin(), name.end(), [](wchar_t character) { return character < 0x80; }))
        return true;
    std::string document = "<";
    if (!appendUtf8(document, name))
        return false;
    document += "/>";
    ExpatParser const expat = makeExpatParser("UTF-8");
    if (XML_Parse(expat.get(), document.data(), static_cast<int>(document.size()), XML_TRUE) == XML_STATUS_OK)
        return true;
    if (XML_GetErrorCode(expat.get()) == XML_ERROR_NO_MEMORY)
        throw std::bad_alloc();
    return false;
}

ParsingException::ParsingException(std::size_t line, std::size_t column, std::wstring message)
    : m_line(line), m_column(column), m_message(std::move(message)),
      m_narrowMessage(orvane_com::zun::helper::toNarrow(m_message)) {}

ParsingException::~ParsingException() = default;

} // namespace AdvXMLParser
