#include <tests/support/ExpatVerdict.h>
#include <zun/structured/AnXml.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

// Runs every XML 1.0 case of the XML conformance suite (https://www.w3.org/XML/Test/) through AnXml::useFile.
// The measure is the verdict that Expat alone gives on the same bytes. Where the suite expects another one,
// that is listed with the reason.
//
// Usage: xml_conformance FOLDER      (the folder with the suite's xmlconf.xml)
// The exit status is 0 when no disagreement is left without a reason.

namespace {

struct Case {
    std::string id;
    std::string path;
    std::string type;
    std::string entities;
    std::string recommendation;
    std::string edition;
};

std::string readBytes(std::string const& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw std::runtime_error("cannot read " + path);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// The suite's catalog: xmlconf.xml and what it includes. A case's file is named relative to its catalog
/// file.
class Catalog {
public:
    explicit Catalog(std::string const& folder) {
        Expat const parser(XML_ParserCreate(nullptr));
        XML_SetUserData(parser.get(), this);
        XML_SetStartElementHandler(parser.get(), startElement);
        XML_SetExternalEntityRefHandler(parser.get(), include);
        m_folders.push_back(folder + "/");
        parse(parser.get(), folder + "/xmlconf.xml");
    }

    std::vector<Case> const& cases() const { return m_cases; }

private:
    static void parse(XML_Parser parser, std::string const& path) {
        std::string const bytes = readBytes(path);
        if (XML_Parse(parser, bytes.data(), static_cast<int>(bytes.size()), XML_TRUE) != XML_STATUS_OK)
            throw std::runtime_error(path + ": " + XML_ErrorString(XML_GetErrorCode(parser)));
    }

    static int include(XML_Parser parser, char const* context, char const*, char const* file, char const*) {
        auto& catalog = *static_cast<Catalog*>(XML_GetUserData(parser));
        std::string const path = catalog.m_folders.front() + file;
        catalog.m_folders.push_back(path.substr(0, path.rfind('/') + 1));
        Expat const inner(XML_ExternalEntityParserCreate(parser, context, nullptr));
        parse(inner.get(), path);
        catalog.m_folders.pop_back();
        return XML_STATUS_OK;
    }

    static void startElement(void* self, char const* name, char const** attributes) {
        if (std::strcmp(name, "TEST") != 0)
            return;
        auto& catalog = *static_cast<Catalog*>(self);
        std::map<std::string, std::string> values;
        for (; *attributes != nullptr; attributes += 2)
            values[attributes[0]] = attributes[1];
        std::string const version = values["VERSION"];
        std::string const recommendation = values["RECOMMENDATION"];
        bool const isXml10 = version.empty() ? recommendation != "XML1.1" && recommendation != "NS1.1"
                                             : version.find("1.0") != std::string::npos;
        if (isXml10)
            catalog.m_cases.push_back({values["ID"], catalog.m_folders.back() + values["URI"], values["TYPE"],
                                       values["ENTITIES"], recommendation, values["EDITION"]});
    }

    std::vector<std::string> m_folders;
    std::vector<Case> m_cases;
};

bool libraryAccepts(std::string const& path) {
    AnXml xml;
    return xml.useFile(true, std::wstring(path.begin(), path.end()).c_str());
}

/// Whether the library alone refuses the file, for an entity that its document type declares outside.
bool refersInAttributeToOutside(std::string const& path) {
    std::wstring text;
    std::int32_t encoding = AdvXMLParser::Utf8;
    AdvXMLParser::ReadBufferFromFile(std::wstring(path.begin(), path.end()), text, encoding);
    try {
        std::unique_ptr<AdvXMLParser::Document> const document(
            AdvXMLParser::Parser().Parse(text.data(), text.size()));
        return false;
    } catch (AdvXMLParser::ParsingException const& error) {
        return error.GetErrorMessage() == L"undefined entity";
    }
}

/// Why the library does not give the verdict that the suite expects; empty when there is no reason for it.
std::string reasonFor(Case const& given, XML_Error expat) {
    bool const accepts = expat == XML_ERROR_NONE;
    if (accepts && refersInAttributeToOutside(given.path))
        return "an attribute refers to an entity that is declared outside: refused, since it would be lost";
    bool const expectsRefusal = given.type == "not-wf";
    if (accepts && expectsRefusal && given.entities != "none" && !given.entities.empty())
        return "the fault is in an external entity, and those are never loaded";
    if (accepts && expectsRefusal && given.recommendation.starts_with("NS"))
        return "a fault of namespaces only: names with colons are plain names";
    if (given.edition == "5")
        return "names of the fifth edition, Expat knows those of the first four";
    if (accepts && expectsRefusal && readBytes(given.path).starts_with("\xEF\xBB\xBF"))
        return "a declaration that contradicts the byte-order mark: the mark decides";
    return {};
}

int run(std::string const& folder) {
    Catalog const catalog(folder);
    std::size_t expatAgrees = 0;
    std::size_t suiteAgrees = 0;
    std::map<std::string, std::vector<std::string>> expected;
    std::vector<std::string> unexplained;
    for (Case const& given : catalog.cases()) {
        XML_Error const expat = expatVerdict(readBytes(given.path));
        bool const accepts = libraryAccepts(given.path);
        if (accepts == (expat == XML_ERROR_NONE))
            ++expatAgrees;
        else if (accepts || reasonFor(given, expat).empty())
            unexplained.push_back(given.id + ": the library " + (accepts ? "accepts" : "refuses") +
                                  ", Expat says \"" +
                                  (expat == XML_ERROR_NONE ? "well-formed" : XML_ErrorString(expat)) + "\"");
        if (given.type == "error" || accepts == (given.type != "not-wf")) {
            ++suiteAgrees;
            continue;
        }
        std::string const reason = reasonFor(given, expat);
        if (reason.empty())
            unexplained.push_back(given.id + ": the library " + (accepts ? "accepts" : "refuses") +
                                  ", the suite expects otherwise (" + given.type + ", " +
                                  given.recommendation + ", edition " + given.edition + ", Expat: " +
                                  (expat == XML_ERROR_NONE ? "well-formed" : XML_ErrorString(expat)) + ")");
        else
            expected[reason].push_back(given.id);
    }

    std::cout << catalog.cases().size() << " cases of XML 1.0\n"
              << "library and Expat alone: " << expatAgrees << " agree, "
              << catalog.cases().size() - expatAgrees << " disagree\n"
              << "library and the suite's expectation: " << suiteAgrees << " agree\n";
    for (auto const& [reason, ids] : expected) {
        std::cout << "  " << ids.size() << " differ: " << reason << "\n   ";
        for (std::string const& id : ids)
            std::cout << ' ' << id;
        std::cout << '\n';
    }
    for (std::string const& line : unexplained)
        std::cout << "unexplained: " << line << '\n';
    return catalog.cases().empty() || !unexplained.empty() ? 1 : 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: xml_conformance FOLDER\n";
        return 2;
    }
    try {
        return run(argv[1]);
    } catch (std::exception const& error) {
        std::cerr << "xml_conformance: " << error.what() << '\n';
        return 2;
    }
}
