#include <tests/support/XmlRoundTrip.h>
#include <zun/structured/AnXmlNode.h>

#include <algorithm>
#include <array>
#include <list>
#include <utility>
#include <vector>

namespace {

using AdvXMLParser::Attribute;
using AdvXMLParser::Document;
using AdvXMLParser::Element;

/// What an element is taken to hold: attributes, and text and elements in their order.
struct Model {
    explicit Model(std::wstring elementName) : name(std::move(elementName)) {}

    std::wstring name;
    std::vector<std::pair<std::wstring, std::wstring>> attributes;
    struct Item {
        std::wstring text;
        std::unique_ptr<Model> element;
    };
    std::list<Item> items;

    std::wstring text() const {
        std::wstring all;
        for (Item const& item : items)
            all += item.text;
        return all;
    }

    bool hasElements() const {
        return std::any_of(items.begin(), items.end(),
                           [](Item const& item) { return item.element != nullptr; });
    }

    std::wstring* attribute(std::wstring const& wanted) {
        for (auto& [attributeName, value] : attributes)
            if (attributeName == wanted)
                return &value;
        return nullptr;
    }

    void setAttribute(std::wstring const& wanted, std::wstring const& value) {
        if (std::wstring* const existing = attribute(wanted))
            *existing = value;
        else
            attributes.emplace_back(wanted, value);
    }

    void setText(std::wstring const& value) {
        std::erase_if(items, [](Item const& item) { return !item.element; });
        if (!value.empty())
            items.push_front({value, nullptr});
    }

    Model& add(std::wstring const& childName) {
        items.push_back({{}, std::make_unique<Model>(childName)});
        return *items.back().element;
    }

    /// As AnXmlNode::copyAsChild copies: attributes, and text of what has no child elements.
    std::unique_ptr<Model> copy() const {
        auto made = std::make_unique<Model>(name);
        made->attributes = attributes;
        if (!hasElements())
            made->setText(text());
        for (Item const& item : items)
            if (item.element)
                made->items.push_back({{}, item.element->copy()});
        return made;
    }
};

void requireEqual(Element const& element, Model const& model) {
    roundtrip::require(element.GetName() == model.name && element.GetValue() == model.text());
    auto attribute = element.AttributesBegin();
    for (auto const& [name, value] : model.attributes) {
        roundtrip::require(attribute != element.AttributesEnd() && attribute->GetName() == name &&
                           attribute->GetValue() == value);
        ++attribute;
    }
    roundtrip::require(attribute == element.AttributesEnd());
    auto child = element.Begin();
    for (Model::Item const& item : model.items) {
        if (!item.element)
            continue;
        roundtrip::require(child != element.End());
        requireEqual(*child++, *item.element);
    }
    roundtrip::require(child == element.End());
}

constexpr std::array<wchar_t const*, 4> names{L"a", L"b", L"xml:space", L"\xE9\x3B1"};
constexpr std::array<wchar_t const*, 8> texts{
    L"", L"x", L"]]", L">", L"\r", L"\n \t", L"preserve", L"<&\"\x1F600 and some more than a short text has"};

class Program {
public:
    Program(unsigned char const* data, std::size_t size) : m_next(data), m_end(data + size) {}

    void run() {
        // With default values an element that was added reads back with more than it had.
        std::size_t const start = take() % 3;
        bool const hasDefaults = start == 1;
        std::wstring const parsed = L"<a e='f'><b c='d'>t\r\nu<b c='d'/></b>v</a>";
        std::wstring const defaulted =
            L"<!DOCTYPE a [<!ATTLIST b c CDATA 'd'>]><a e='f'><b>t\r\nu<b/></b>v</a>";
        auto const document = start == 0 ? std::make_unique<Document>(L"a")
                                         : roundtrip::parse(hasDefaults ? defaulted : parsed);
        Model model(L"a");
        if (start != 0) {
            model.setAttribute(L"e", L"f");
            Model& outer = model.add(L"b");
            model.items.push_back({L"v", nullptr});
            outer.setText(L"t\nu");
            outer.setAttribute(L"c", L"d");
            outer.add(L"b").setAttribute(L"c", L"d");
        }
        while (m_next != m_end)
            step(*document, model);
        ::requireEqual(document->GetRoot(), model);
        if (!hasDefaults)
            roundtrip::check(*document);
    }

private:
    std::size_t take() { return m_next != m_end ? *m_next++ : 0; }
    std::wstring name() { return names[take() % names.size()]; }
    /// Sometimes longer than what fits beside others.
    std::wstring text() {
        std::size_t const choice = take();
        std::wstring const piece = texts[choice % texts.size()];
        std::wstring all = piece;
        for (std::size_t i = 0; i < (choice > 250 ? 3000 : choice / 64); ++i)
            all += piece;
        return all;
    }

    struct Place {
        Element* element;
        Model* model;
        Model* parent;
    };

    Place choose(Document& document, Model& root) {
        Place place{&document.GetRoot(), &root, nullptr};
        for (std::size_t choice = take(); choice > 0; choice /= 4) {
            std::size_t skipped = choice % 4;
            auto child = place.element->Begin();
            auto item = place.model->items.begin();
            for (; child != place.element->End(); ++child, ++item) {
                while (!item->element)
                    ++item;
                if (skipped-- == 0)
                    break;
            }
            if (child == place.element->End())
                break;
            place = {&*child, item->element.get(), place.model};
        }
        return place;
    }

    void step(Document& document, Model& root) {
        auto const [element, model, parent] = choose(document, root);
        switch (take() % 9) {
        case 0: {
            std::wstring const childName = name();
            element->AddElementInto(childName);
            model->add(childName);
            break;
        }
        case 1: {
            std::wstring const added = text();
            element->AddText(added);
            if (!added.empty())
                model->items.push_back({added, nullptr});
            break;
        }
        case 2: {
            std::wstring const value = text();
            element->SetValue(value);
            model->setText(value);
            break;
        }
        case 3: {
            std::wstring const attributeName = name();
            std::wstring const value = text();
            element->CreateAttribute(attributeName).SetValue(value);
            model->setAttribute(attributeName, value);
            break;
        }
        case 4: {
            std::wstring const attributeName = name();
            Attribute* const attribute = element->GetAttribute(attributeName);
            std::wstring* const value = model->attribute(attributeName);
            roundtrip::require((attribute != nullptr) == (value != nullptr));
            if (attribute == nullptr)
                break;
            // Its own value, too, is a text to add.
            std::wstring const added = value->size() < 10'000 && take() % 2 != 0 ? *value : text();
            if (added == *value)
                attribute->AddText(attribute->GetValue());
            else
                attribute->AddText(added);
            *value += added;
            break;
        }
        case 5: {
            std::wstring const attributeName = name();
            if (Attribute* const attribute = element->GetAttribute(attributeName))
                attribute->Delete();
            std::erase_if(model->attributes, [&](auto const& pair) { return pair.first == attributeName; });
            break;
        }
        case 6:
            element->Delete();
            if (parent != nullptr) {
                parent->items.remove_if(
                    [gone = model](Model::Item const& item) { return item.element.get() == gone; });
            } else {
                model->attributes.clear();
                model->items.clear();
            }
            break;
        case 7:
        case 8:
            copy(document, root, *element, *model);
            break;
        }
    }

    void copy(Document& document, Model& root, Element& element, Model& model) {
        Place const source = choose(document, root);
        AnXmlNode const from(*source.element);
        if (take() % 2 != 0) {
            AnXmlNode(element).copyValues(&from);
            if (&model == source.model)
                return;
            for (auto const& [attributeName, value] : source.model->attributes)
                model.setAttribute(attributeName, value);
            model.setText(source.model->hasElements() ? std::wstring() : source.model->text());
        } else if (m_copies++ < 8) {
            std::unique_ptr<Model> copied = source.model->copy();
            roundtrip::require(AnXmlNode(element).copyAsChild(&from));
            model.items.push_back({{}, std::move(copied)});
        }
    }

    unsigned char const* m_next;
    unsigned char const* m_end;
    /// Each may double the document.
    int m_copies = 0;
};

} // namespace

/// The input is a program that edits a document. What the document then holds is what a simple model of it
/// holds, and it survives writing and reading.
extern "C" int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    Program(data, size).run();
    return 0;
}
