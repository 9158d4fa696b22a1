#include "Output.h"
#include "Program.h"
#include <zun/platform/crypto/ACryptWrap.h>
#include <zun/platform/helper/CommonHelper.h>
#include <zun/platform/xml/AdvXMLParser.h>

#include <CLI/CLI.hpp>
#include <charconv>
#include <memory>
#include <unistd.h>

namespace tool {

namespace {

namespace helper = orvane_com::zun::helper;
using AdvXMLParser::Attribute;
using AdvXMLParser::Document;
using AdvXMLParser::Element;

/// Whether the file that was read last was an enciphered one.
bool wasEnciphered = false;

bool decipher(std::string const& stored, std::string& clear) {
    if (!ACryptWrap::decrypt_data(stored, clear)) {
        clear = ACryptWrap::lastError();
        return false;
    }
    wasEnciphered = stored != clear;
    return true;
}

bool encipher(std::string const& clear, std::string& stored) {
    if (ACryptWrap::encrypt_data(clear, stored))
        return true;
    stored = ACryptWrap::lastError();
    return false;
}

/// An element, or an attribute of one: "Policies/Product[2]/@id", the root first, numbers from 1.
class XmlPath {
public:
    explicit XmlPath(std::string const& text) : m_text(text) {
        std::string_view rest = text;
        while (true) {
            std::size_t const slash = rest.find('/');
            std::string_view step = rest.substr(0, slash);
            bool const isLast = slash == std::string_view::npos;
            if (isLast && !m_steps.empty() && step.size() > 1 && step.front() == '@') {
                m_attribute = helper::toWide(step.substr(1));
                return;
            }
            std::size_t index = 1;
            if (std::size_t const open = step.find('['); open != std::string_view::npos) {
                char const* const end = step.data() + step.size();
                auto const number = std::from_chars(step.data() + open + 1, end, index);
                if (number.ec != std::errc() || number.ptr + 1 != end || *number.ptr != ']' || index == 0)
                    fail();
                step = step.substr(0, open);
            }
            if (step.empty())
                fail();
            m_steps.push_back({helper::toWide(step), index - 1});
            if (isLast)
                return;
            rest.remove_prefix(slash + 1);
        }
    }

    std::wstring const& attribute() const { return m_attribute; }

    /// Null when it is not there.
    Element* find(Document& document, bool makeMissing) const {
        Element* element = &document.GetRoot();
        if (m_steps.front().index != 0 || element->GetName() != m_steps.front().name)
            return nullptr;
        for (std::size_t i = 1; element && i < m_steps.size(); ++i)
            element = child(*element, m_steps[i], makeMissing);
        return element;
    }

private:
    struct Step {
        std::wstring name;
        std::size_t index;
    };

    [[noreturn]] void fail() const {
        throw Failure("\"" + m_text + "\" is no path such as Root/Child[2]/@attribute", wrongUse);
    }

    /// Only the next one of its name is made.
    static Element* child(Element& parent, Step const& step, bool makeMissing) {
        std::size_t index = 0;
        for (auto element = parent.Begin(); element != parent.End(); ++element)
            if (element->GetName() == step.name && index++ == step.index)
                return &*element;
        return makeMissing && index == step.index ? &parent.AddElementInto(step.name) : nullptr;
    }

    std::string const m_text;
    std::vector<Step> m_steps;
    std::wstring m_attribute;
};

struct XmlCommand {
    std::string file;
    std::string keyFile;
    std::string path;
    std::string value;
    bool isJson = false;

    void useKey(bool mayMake) const {
        if (keyFile.empty())
            return;
        if (!mayMake)
            requireReadable(keyFile);
        if (!ACryptWrap::useKeyFile(keyFile))
            throw Failure(ACryptWrap::lastError());
    }

    std::unique_ptr<Document> read() const {
        requireReadable(file);
        std::wstring text;
        std::int32_t encoding = AdvXMLParser::Utf8;
        AdvXMLParser::ReadBufferFromFile(helper::toWide(file), text, encoding, 0, decipher);
        try {
            return std::unique_ptr<Document>(AdvXMLParser::Parser().Parse(text.data(), text.size()));
        } catch (AdvXMLParser::ParsingException const& error) {
            if (isJson)
                Output::standard().writeLine(JsonObject()
                                                 .text("file", file)
                                                 .number("line", std::uint64_t{error.GetLine()})
                                                 .number("column", std::uint64_t{error.GetColumn()})
                                                 .text("error", error.what())
                                                 .finish());
            throw Failure(file + ": line " + std::to_string(error.GetLine()) + ", column " +
                          std::to_string(error.GetColumn()) + ": " + error.what());
        }
    }

    void write(Document const& document, bool isEnciphered) const {
        AdvXMLParser::WriteBufferToFile(helper::toWide(file), document.GenerateXML(false), AdvXMLParser::Utf8,
                                        isEnciphered ? encipher : nullptr);
    }

    void check() const {
        useKey(false);
        read();
        if (isJson)
            Output::standard().writeLine(
                JsonObject().text("file", file).flag("enciphered", wasEnciphered).finish());
    }

    void show() const {
        useKey(false);
        std::string text;
        for (std::string_view rest = helperText(text); !rest.empty();) {
            std::size_t const end = rest.find('\n');
            Output::standard().writeLine(forPeople(rest.substr(0, end)));
            rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
        }
    }
    std::string_view helperText(std::string& text) const {
        return text = helper::toNarrow(read()->GenerateXML(true));
    }

    void get() const {
        XmlPath const wanted(path);
        useKey(false);
        std::unique_ptr<Document> const document = read();
        Element* const element = wanted.find(*document, false);
        Attribute const* const attribute =
            element && !wanted.attribute().empty() ? element->GetAttribute(wanted.attribute()) : nullptr;
        if (!element || (!wanted.attribute().empty() && !attribute))
            throw Failure(file + ": there is no " + path);
        std::string const text = helper::toNarrow(attribute ? attribute->GetValue() : element->GetValue());
        Output::standard().writeLine(isJson ? JsonObject().text("value", text).finish() : forPeople(text));
    }

    void set() const {
        XmlPath const wanted(path);
        useKey(false);
        std::unique_ptr<Document> const document = read();
        Element* const element = wanted.find(*document, true);
        if (!element)
            throw Failure(file + ": there is no " + path + ", and it is not the next one");
        if (wanted.attribute().empty())
            element->SetValue(helper::toWide(value));
        else
            element->CreateAttribute(wanted.attribute()).SetValue(helper::toWide(value));
        write(*document, wasEnciphered);
    }

    void convert(bool isEnciphered) const {
        useKey(isEnciphered);
        std::unique_ptr<Document> const document = read();
        if (wasEnciphered == isEnciphered)
            throw Failure(file + (isEnciphered ? ": it is enciphered already" : ": it is not enciphered"));
        write(*document, isEnciphered);
    }
    void enciphered() const { convert(true); }
    void deciphered() const { convert(false); }
};

} // namespace

void addXmlCommands(CLI::App& program) {
    CLI::App& xml = *program.add_subcommand("xml", "Check, read and change XML files, plain or enciphered");
    xml.require_subcommand(1);
    auto const add = [&](char const* name, char const* description, void (XmlCommand::*run)() const) {
        CLI::App& command = *xml.add_subcommand(name, description);
        auto const options = std::make_shared<XmlCommand>();
        bool const isSet = run == &XmlCommand::set;
        bool const isGet = run == &XmlCommand::get;
        bool const isConversion = run == &XmlCommand::enciphered || run == &XmlCommand::deciphered;
        command.add_option("FILE", options->file, "The XML file")->required();
        if (isSet || isGet)
            command.add_option("PATH", options->path, "Such as Policies/Product[2]/@id")->required();
        if (isSet)
            command.add_option("VALUE", options->value, "The new text")->required();
        command.add_option("--key", options->keyFile, "The key's file, for enciphered files")
            ->type_name("KEYFILE")
            ->required(isConversion);
        if (isGet || run == &XmlCommand::check)
            command.add_flag("--json", options->isJson, "One JSON object a line");
        command.callback([options, run] { (options.get()->*run)(); });
    };
    add("check", "Say where a file is no well-formed XML", &XmlCommand::check);
    add("show", "Show a document, laid out", &XmlCommand::show);
    add("get", "Show an element's text, or an attribute", &XmlCommand::get);
    add("set", "Set an element's text, or an attribute, making what is missing", &XmlCommand::set);
    add("encipher", "Encipher a file; a missing key is made", &XmlCommand::enciphered);
    add("decipher", "Decipher a file", &XmlCommand::deciphered);
}

} // namespace tool
