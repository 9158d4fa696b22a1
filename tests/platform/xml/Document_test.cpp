#include <zun/platform/xml/AdvXMLParser.h>

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string_view>

using namespace AdvXMLParser;

namespace {

std::unique_ptr<Document> parse(std::wstring_view text) {
    return std::unique_ptr<Document>(Parser().Parse(text.data(), text.size()));
}

} // namespace

TEST(Document, IsBuiltAndWritten) {
    Document document(L"root");
    Element& root = document.GetRoot();
    Element& child = root.AddElementInto(L"child");
    child.CreateAttribute(L"a").AddText(L"1<");
    child.CreateAttribute(L"b").SetValue(L"2\n\"");
    child.GetAttribute(L"a")->AddText(L"&3");
    child.AddText(L"]]");
    child.AddText(L">\r");
    root.AddText(L"after");
    EXPECT_EQ(document.GenerateXML(false),
              L"<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
              L"<root><child a=\"1&lt;&amp;3\" b=\"2&#10;&quot;\">]]&gt;&#13;</child>after</root>");
    EXPECT_EQ(child.CreateAttribute(L"a").GetValue(), L"");
    EXPECT_EQ(parse(document.GenerateXML(true))->GetRoot().GetElement(L"child").GetValue(), L"]]>\r");
}

TEST(Document, ReplacesTextAndKeepsElements) {
    auto const document = parse(L"<!DOCTYPE a SYSTEM 'x'><a>1<b/>2<![CDATA[3]]><!--4-->&e;<c/></a>");
    Element& root = document->GetRoot();
    root.SetValue(L"new");
    EXPECT_EQ(document->GenerateXML(false), L"<!DOCTYPE a SYSTEM 'x'><a>new<b/><!--4--><c/></a>");
    root.SetValue(root.GetName());
    EXPECT_EQ(root.GetValue(), L"a");
    root.SetValue(L"");
    EXPECT_EQ(document->GenerateXML(false), L"<!DOCTYPE a SYSTEM 'x'><a><b/><!--4--><c/></a>");
}

TEST(Document, DeletesElementsAndAttributes) {
    auto const document =
        parse(L"<a x='1' y='2' z='3'><b/>1\r<c><d>x</d><d e='f'/></c>\n]]<b/>&gt;\r<e/></a>");
    Element& root = document->GetRoot();
    auto position = root.Begin();
    auto const first = position++;
    (position++)->Delete();
    EXPECT_EQ(position->GetName(), L"b");
    position->Delete();
    first->Delete();
    root.GetAttribute(L"y")->Delete();
    root.GetAttribute(L"z")->Delete();
    // Text that has become neighbour to text stays what it was.
    EXPECT_EQ(document->GenerateXML(false), L"<a x=\"1\">1\r&#10;]]&gt;\n<e/></a>");
    EXPECT_EQ(parse(document->GenerateXML(false))->GetRoot().GetValue(), root.GetValue());
    root.Delete();
    EXPECT_EQ(document->GenerateXML(false), L"<a/>");
}

TEST(Document, RefusesToWriteWhatXmlCannotExpress) {
    auto const messageOf = [](auto change) {
        Document document(L"root");
        change(document.GetRoot());
        try {
            document.GenerateXML(false);
            return std::wstring();
        } catch (ReadWriteException const& error) {
            EXPECT_EQ(error.GetErrorMessage(), GetLastXmlErrorMessage());
            return error.GetErrorMessage();
        }
    };
    EXPECT_EQ(messageOf([](Element& root) { root.AddText(L"\x1"); }), L"no XML character: U+0001");
    EXPECT_EQ(messageOf([](Element& root) { root.CreateAttribute(L"a").AddText(L"\xD800"); }),
              L"no XML character: U+D800");
    for (wchar_t const* const name : {L"", L"a b", L"1", L"a>", L"\xD7", L"a\xD800"})
        EXPECT_EQ(messageOf([&](Element& root) { root.AddElementInto(name); }),
                  L"no XML name: \"" + std::wstring(name) + L"\"");
    for (wchar_t const* const name : {L"a", L"_1", L"x:y.z-", L"\xE9\x3B1"})
        EXPECT_EQ(messageOf([&](Element& root) { root.CreateAttribute(name); }), L"");
}

TEST(Document, NestsAsDeepAsItCanBeReadAgain) {
    Document document(L"a");
    Element* deepest = &document.GetRoot();
    for (std::size_t depth = 1; depth < maximumDepth; ++depth)
        deepest = &deepest->AddElementInto(L"a");
    EXPECT_THROW(deepest->AddElementInto(L"a"), std::length_error);
    deepest->AddText(L"text");
    std::wstring const formatted = document.GenerateXML(true);
    EXPECT_LT(formatted.size(), 2 * maximumDepth * (2 * 64 + 5));
    EXPECT_EQ(parse(formatted)->GenerateXML(true), formatted);
    document.GetRoot().Delete();
    EXPECT_EQ(document.GetRoot().Begin(), document.GetRoot().End());
}

TEST(Document, KeepsItsTextWhileItIsEditedOverAndOver) {
    auto const document = parse(L"<a><b>0</b></a>");
    Element& root = document->GetRoot();
    for (std::size_t i = 0; i < 2000; ++i) {
        std::wstring const text(i * 7919 % 20000, static_cast<wchar_t>(L'a' + i % 26));
        Element& added = root.AddElementInto(L"c" + std::to_wstring(i % 7));
        added.CreateAttribute(L"d").AddText(text);
        added.AddText(text.substr(0, 9));
        added.AddText(text.substr(std::min<std::size_t>(9, text.size())));
        ASSERT_EQ(added.GetValue(), text);
        ASSERT_EQ(added.GetAttribute(L"d")->GetValue(), text);
        if (i % 3 != 0)
            added.Delete();
        if (i % 50 == 0)
            (--root.End())->Delete();
    }
    EXPECT_EQ(root.GetElement(L"b").GetValue(), L"0");
}
