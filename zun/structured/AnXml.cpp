#include <zun/linux/CallTrace.h>
#include <zun/linux/log.h>
#include <zun/platform/crypto/ACryptWrap.h>
#include <zun/structured/AnXml.h>
#include <zun/structured/AnXmlNode.h>

#include <cstring>
#include <cwchar>

namespace {

wchar_t const* const group = L"Xml";

/// The cipher's own reason goes where the XML service takes it from.
bool withReason(bool done, std::string& out) {
    if (!done)
        out = ACryptWrap::lastError();
    return done;
}

bool decrypt(std::string const& in, std::string& out) {
    return withReason(ACryptWrap::decrypt_data(in, out), out);
}

bool encrypt(std::string const& in, std::string& out) {
    return withReason(ACryptWrap::encrypt_data(in, out), out);
}

bool failWithServiceMessage() {
    logError(group, AdvXMLParser::GetLastXmlErrorMessage().c_str());
    return false;
}

} // namespace

AnXml::~AnXml() {
    close();
}

bool AnXml::useString(wchar_t const* text, wchar_t const* rootName, wchar_t const* attributeName,
                      wchar_t const* attributeValue) {
    CallTrace const trace(group, L"useString", rootName, attributeName, attributeValue);
    close();
    try {
        if (text != nullptr)
            m_document.reset(AdvXMLParser::Parser().Parse(text, std::wcslen(text)));
    } catch (AdvXMLParser::ParsingException const& error) {
        AString message(L"Parse error line: ");
        message << static_cast<unsigned long>(error.GetLine()) << L" column: "
                << static_cast<unsigned long>(error.GetColumn()) << L" " << error.GetErrorMessage().c_str();
        logError(group, message);
        return false;
    }
    if (!m_document) {
        logError(group, L"Parse failed");
        return false;
    }

    AnXmlNode const root(this);
    if (rootName == nullptr)
        return true;
    if (AString const name = root.getName(); !(name == rootName)) {
        logError(group, AString(L"root node name doesn't match: ") << name);
        return false;
    }
    if (attributeName == nullptr)
        return true;
    AString value;
    if (!root.getExistingValue(attributeName, &value))
        return false;
    if (attributeValue != nullptr && !(value == attributeValue)) {
        logError(group, AString(L"attribute value doesn't match: ") << value);
        return false;
    }
    return true;
}

bool AnXml::useFile(bool required, wchar_t const* fileName, wchar_t const* rootName,
                    wchar_t const* attributeName, wchar_t const* attributeValue) {
    CallTrace const trace(group, L"useExistingFile", fileName);
    std::wstring text;
    return internalReadFile(required, fileName, text) &&
           useString(text.c_str(), rootName, attributeName, attributeValue);
}

bool AnXml::useExistingFile(wchar_t const* fileName, wchar_t const* rootName, wchar_t const* attributeName,
                            wchar_t const* attributeValue) {
    return useFile(true, fileName, rootName, attributeName, attributeValue);
}

bool AnXml::tryUseFile(wchar_t const* fileName, wchar_t const* rootName, wchar_t const* attributeName,
                       wchar_t const* attributeValue) {
    return useFile(false, fileName, rootName, attributeName, attributeValue);
}

bool AnXml::useFileAlways(wchar_t const* fileName, wchar_t const* rootName, wchar_t const* attributeName,
                          wchar_t const* attributeValue) {
    return tryUseFile(fileName, rootName, attributeName, attributeValue) ||
           useNew(rootName, attributeName, attributeValue);
}

bool AnXml::useNew(wchar_t const* rootName, wchar_t const* attributeName, wchar_t const* attributeValue) {
    CallTrace const trace(group, L"useNew", rootName, attributeName, attributeValue);
    if (rootName == nullptr) {
        logError(group, L"Null root node name");
        return false;
    }
    close();
    m_document = std::make_unique<AdvXMLParser::Document>(rootName);
    if (attributeName != nullptr)
        AnXmlNode(this).setValue(attributeName, attributeValue);
    return true;
}

bool AnXml::internalReadFile(bool reportMissing, wchar_t const* fileName, std::wstring& text) {
    CallTrace const trace(group, L"ReadBufferFromFileNoExp", fileName);
    std::int32_t encoding = AdvXMLParser::Utf8;
    std::int32_t const result =
        AdvXMLParser::ReadBufferFromFileNoExp(AString(fileName), text, encoding, 0, decrypt);
    if (result >= 0)
        return true;
    if (result != AdvXMLParser::FileNotFound || reportMissing)
        failWithServiceMessage();
    return false;
}

bool AnXml::readExistingFile(AString const& fileName, AString& text) {
    return internalReadFile(true, fileName, text.cpp_str());
}

bool AnXml::readExistingFileUtf8(AString const& fileName, AnObjectBuffer<unsigned char>& bytes) {
    CallTrace const trace(group, L"ReadUtf8BufferFromFileNoExp", fileName);
    std::int32_t encoding = AdvXMLParser::Utf8;
    return AdvXMLParser::ReadUtf8BufferFromFileNoExp(fileName, bytes.cpp_str(), encoding, 0, decrypt) >= 0 ||
           failWithServiceMessage();
}

bool AnXml::convertUtf8ToUnicode(char const* utf8, AString& text) {
    std::size_t const length = std::strlen(utf8);
    CallTrace const trace(group, L"ConvertBufferToUnicode", static_cast<int>(length));
    return AdvXMLParser::ConvertBufferToUnicode(utf8, length, text.cpp_str(), AdvXMLParser::Utf8) >= 0 ||
           failWithServiceMessage();
}

bool AnXml::convertUnicodeToUtf8(wchar_t const* text, AnObjectBuffer<unsigned char>& bytes) {
    CallTrace const trace(group, L"ConvertBufferToUtf8");
    return AdvXMLParser::ConvertBufferToUtf8(text, bytes.cpp_str(), AdvXMLParser::Utf8) ||
           failWithServiceMessage();
}

bool AnXml::writeFile(wchar_t const* fileName, bool encipher, bool formatted) {
    { CallTrace const trace(group, L"WriteBufferToFile", fileName); }
    if (!hasDocument())
        return false;
    try {
        AdvXMLParser::WriteBufferToFile(AString(fileName), m_document->GenerateXML(formatted),
                                        AdvXMLParser::Utf8, encipher ? encrypt : nullptr, 0);
        return true;
    } catch (AdvXMLParser::ReadWriteException const&) {
        logError(group, AString(L"Exception writing file: ")
                            << AdvXMLParser::GetLastXmlErrorMessage().c_str());
        return false;
    }
}

bool AnXml::writeString(AString* text) {
    if (!hasDocument())
        return false;
    text->cpp_str() = m_document->GenerateXML(false);
    return true;
}

void AnXml::close() {
    m_document.reset();
}

AdvXMLParser::Document* AnXml::relinquishDocument() {
    return m_document.release();
}

bool AnXml::hasDocument() const {
    if (!m_document)
        logInternalError(group, L"no document");
    return m_document != nullptr;
}
