#pragma once

#include <zun/Api.h>
#include <zun/binary/ABuffer.h>
#include <zun/platform/xml/AdvXMLParser.h>
#include <zun/text/AString.h>

#include <memory>
#include <string>

/// One XML document: loaded, made, checked, written. Its elements are read and changed through AnXmlNode.
///
/// Every failure is a false result and an error logged under "Xml". A null text argument is one that is not
/// given. An object is used by one thread at a time. What the XML service throws where nothing else is said,
/// a failed allocation for one, passes through.
class ZUN_API AnXml {
public:
    AnXml() = default;
    ~AnXml();
    AnXml(AnXml const&) = delete;
    AnXml& operator=(AnXml const&) = delete;

    /// Replaces the document by that in `text`, if well-formed, and checks what is given: the root element's
    /// name, that it has the attribute, and the attribute's value, exactly. A document that fails a check
    /// stays loaded; one that is not well-formed leaves none.
    bool useString(wchar_t const* text, wchar_t const* rootName = nullptr,
                   wchar_t const* attributeName = nullptr, wchar_t const* attributeValue = nullptr);

    /// useString with the contents of a file, plain or enciphered; any encoding that the XML service reads. A
    /// file that cannot be read changes nothing. A missing one is logged only when `required`.
    bool useFile(bool required, wchar_t const* fileName, wchar_t const* rootName = nullptr,
                 wchar_t const* attributeName = nullptr, wchar_t const* attributeValue = nullptr);
    bool useExistingFile(wchar_t const* fileName, wchar_t const* rootName = nullptr,
                         wchar_t const* attributeName = nullptr, wchar_t const* attributeValue = nullptr);
    bool tryUseFile(wchar_t const* fileName, wchar_t const* rootName = nullptr,
                    wchar_t const* attributeName = nullptr, wchar_t const* attributeValue = nullptr);

    /// tryUseFile, or else useNew.
    bool useFileAlways(wchar_t const* fileName, wchar_t const* rootName,
                       wchar_t const* attributeName = nullptr, wchar_t const* attributeValue = nullptr);

    /// Replaces the document by a new one: a root element, with the attribute if that is given. A null
    /// `rootName` is an error and changes nothing.
    bool useNew(wchar_t const* rootName, wchar_t const* attributeName = nullptr,
                wchar_t const* attributeValue = nullptr);

    /// The whole file, plain or enciphered. `text` is unchanged on failure; a missing file is logged only
    /// when `reportMissing`.
    static bool internalReadFile(bool reportMissing, wchar_t const* fileName, std::wstring& text);
    static bool readExistingFile(AString const& fileName, AString& text);
    /// In UTF-8, whatever the file's encoding is.
    static bool readExistingFileUtf8(AString const& fileName, AnObjectBuffer<unsigned char>& bytes);

    /// Malformed input is refused; the output is then unchanged.
    static bool convertUtf8ToUnicode(char const* utf8, AString& text);
    static bool convertUnicodeToUtf8(wchar_t const* text, AnObjectBuffer<unsigned char>& bytes);

    /// Writes the document in UTF-8, enciphered if asked for. `formatted` lays it out, see
    /// AdvXMLParser::Document::GenerateXML. The file has the old contents or the new, whole.
    bool writeFile(wchar_t const* fileName, bool encipher, bool formatted);

    /// The document's text, not formatted. Throws AdvXMLParser::ReadWriteException when it has a name or a
    /// character that no XML document has.
    bool writeString(AString* text);

    /// Destroys the document; cursors on it become invalid.
    void close();

    /// The document, now the caller's; null when none is loaded.
    AdvXMLParser::Document* relinquishDocument();

private:
    friend class AnXmlNode;

    bool hasDocument() const;

    std::unique_ptr<AdvXMLParser::Document> m_document;
};
