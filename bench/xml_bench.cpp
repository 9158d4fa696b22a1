#include <zun/platform/xml/AdvXMLParser.h>

#include <benchmark/benchmark.h>
#include <expat.h>

#include <cstddef>
#include <cstring>
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <memory>
#include <pugixml.hpp>
#include <string>

// One document of 9 MiB, such as inventories are: from text to tree, a walk over all elements that looks up
// one attribute of each, and back to text. The peers take UTF-8, which a wide text has to be brought to
// first. Expat alone keeps nothing.

namespace {

using AdvXMLParser::Document;
using AdvXMLParser::Element;

struct Texts {
    std::string utf8;
    std::wstring wide;
};

Texts const& texts() {
    static Texts const made = [] {
        Texts both;
        both.utf8 = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Inventory>\n";
        for (int i = 0; both.utf8.size() < std::size_t{9} * 1024 * 1024; ++i) {
            std::string const number = std::to_string(i);
            both.utf8 += "  <Software id=\"" + number +
                         "\" kind=\"package\" state=\"installed\">\n    <Name>Package " + number +
                         " &amp; its tools</Name>\n    <Version major=\"5\" minor=\"7\" build=\"" + number +
                         "\"/>\n    <Description>Der gr\xC3\xB6\xC3\x9F"
                         "ere Teil einer Beschreibung ist einfacher Text, "
                         "wie er in solchen Dateien steht.</Description>\n  </Software>\n";
        }
        both.utf8 += "</Inventory>\n";
        AdvXMLParser::ConvertBufferToUnicode(both.utf8.data(), both.utf8.size(), both.wide,
                                             AdvXMLParser::Utf8);
        return both;
    }();
    return made;
}

void countBytes(benchmark::State& state) {
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(texts().utf8.size()));
}

std::unique_ptr<Document> parseZun() {
    std::wstring const& text = texts().wide;
    return std::unique_ptr<Document>(AdvXMLParser::Parser().Parse(text.data(), text.size()));
}

struct LibxmlFree {
    void operator()(xmlDoc* document) const { xmlFreeDoc(document); }
};
using LibxmlDocument = std::unique_ptr<xmlDoc, LibxmlFree>;

LibxmlDocument parseLibxml() {
    std::string const& text = texts().utf8;
    return LibxmlDocument(
        xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr, XML_PARSE_HUGE));
}

void parsePugixml(pugi::xml_document& document) {
    std::string const& text = texts().utf8;
    document.load_buffer(text.data(), text.size(), pugi::parse_full | pugi::parse_ws_pcdata,
                         pugi::encoding_utf8);
}

void parseWithZun(benchmark::State& state) {
    texts();
    for (auto _ : state)
        benchmark::DoNotOptimize(parseZun());
    countBytes(state);
}

void parseWithLibxml2(benchmark::State& state) {
    texts();
    for (auto _ : state)
        benchmark::DoNotOptimize(parseLibxml());
    countBytes(state);
}

void parseWithPugixml(benchmark::State& state) {
    texts();
    for (auto _ : state) {
        pugi::xml_document document;
        parsePugixml(document);
        benchmark::DoNotOptimize(document.first_child());
    }
    countBytes(state);
}

void tokenizeWithExpat(benchmark::State& state) {
    std::string const& text = texts().utf8;
    for (auto _ : state) {
        XML_Parser const parser = XML_ParserCreate("UTF-8");
        std::size_t count = 0;
        XML_SetUserData(parser, &count);
        XML_SetElementHandler(
            parser, [](void* reports, char const*, char const**) { ++*static_cast<std::size_t*>(reports); },
            [](void* reports, char const*) { ++*static_cast<std::size_t*>(reports); });
        XML_SetCharacterDataHandler(
            parser, [](void* reports, char const*, int) { ++*static_cast<std::size_t*>(reports); });
        XML_Parse(parser, text.data(), static_cast<int>(text.size()), XML_TRUE);
        XML_ParserFree(parser);
        benchmark::DoNotOptimize(count);
    }
    countBytes(state);
}

std::size_t walk(Element const& element) {
    std::size_t found = element.GetAttribute(L"build") != nullptr ? 1 : 0;
    for (auto child = element.Begin(); child != element.End(); ++child)
        found += walk(*child);
    return found;
}

std::size_t walk(xmlNode const* element) {
    std::size_t found = xmlHasProp(element, reinterpret_cast<xmlChar const*>("build")) != nullptr ? 1 : 0;
    for (xmlNode const* child = element->children; child != nullptr; child = child->next)
        if (child->type == XML_ELEMENT_NODE)
            found += walk(child);
    return found;
}

std::size_t walk(pugi::xml_node element) {
    std::size_t found = element.attribute("build") ? 1 : 0;
    for (pugi::xml_node const child : element.children())
        if (child.type() == pugi::node_element)
            found += walk(child);
    return found;
}

void walkWithZun(benchmark::State& state) {
    auto const document = parseZun();
    for (auto _ : state)
        benchmark::DoNotOptimize(walk(std::as_const(*document).GetRoot()));
    countBytes(state);
}

void walkWithLibxml2(benchmark::State& state) {
    auto const document = parseLibxml();
    for (auto _ : state)
        benchmark::DoNotOptimize(walk(xmlDocGetRootElement(document.get())));
    countBytes(state);
}

void walkWithPugixml(benchmark::State& state) {
    pugi::xml_document document;
    parsePugixml(document);
    for (auto _ : state)
        benchmark::DoNotOptimize(walk(document.document_element()));
    countBytes(state);
}

void writeWithZun(benchmark::State& state) {
    auto const document = parseZun();
    for (auto _ : state)
        benchmark::DoNotOptimize(document->GenerateXML(false));
    countBytes(state);
}

void writeWithLibxml2(benchmark::State& state) {
    auto const document = parseLibxml();
    for (auto _ : state) {
        xmlChar* text = nullptr;
        int size = 0;
        xmlDocDumpMemoryEnc(document.get(), &text, &size, "UTF-8");
        benchmark::DoNotOptimize(text);
        xmlFree(text);
    }
    countBytes(state);
}

void writeWithPugixml(benchmark::State& state) {
    pugi::xml_document document;
    parsePugixml(document);
    struct Text : pugi::xml_writer {
        void write(void const* data, std::size_t size) override {
            text.append(static_cast<char const*>(data), size);
        }
        std::string text;
    };
    for (auto _ : state) {
        Text text;
        document.save(text, "", pugi::format_raw, pugi::encoding_utf8);
        benchmark::DoNotOptimize(text.text);
    }
    countBytes(state);
}

} // namespace

BENCHMARK(parseWithZun)->Name("xml_parse/zun")->Unit(benchmark::kMillisecond);
BENCHMARK(tokenizeWithExpat)->Name("xml_parse/expat")->Unit(benchmark::kMillisecond);
BENCHMARK(parseWithLibxml2)->Name("xml_parse/libxml2")->Unit(benchmark::kMillisecond);
BENCHMARK(parseWithPugixml)->Name("xml_parse/pugixml")->Unit(benchmark::kMillisecond);
BENCHMARK(walkWithZun)->Name("xml_walk/zun")->Unit(benchmark::kMillisecond);
BENCHMARK(walkWithLibxml2)->Name("xml_walk/libxml2")->Unit(benchmark::kMillisecond);
BENCHMARK(walkWithPugixml)->Name("xml_walk/pugixml")->Unit(benchmark::kMillisecond);
BENCHMARK(writeWithZun)->Name("xml_write/zun")->Unit(benchmark::kMillisecond);
BENCHMARK(writeWithLibxml2)->Name("xml_write/libxml2")->Unit(benchmark::kMillisecond);
BENCHMARK(writeWithPugixml)->Name("xml_write/pugixml")->Unit(benchmark::kMillisecond);
