#include <zun/platform/xml/AdvXMLParser.h>

#include <gtest/gtest.h>

#include <memory>

using namespace AdvXMLParser;

namespace {

std::unique_ptr<Document> parse(std::wstring const& text) {
    return std::unique_ptr<Document>(Parser().Parse(text.data(), text.size()));
}

std::wstring written(std::wstring const& text, bool formatted = false) {
    return parse(text)->GenerateXML(formatted);
}

std::wstring repeated(std::wstring const& text, std::size_t count) {
    std::wstring all;
    for (std::size_t i = 0; i < count; ++i)
        all += text;
    return all;
}

/// "line:column message", or "" for a document.
std::wstring errorOf(std::wstring const& text) {
    try {
        parse(text);
        return L"";
    } catch (ParsingException const& error) {
        return std::to_wstring(error.GetLine()) + L":" + std::to_wstring(error.GetColumn()) + L" " +
               error.GetErrorMessage();
    }
}

/// The message alone.
std::wstring reasonOf(std::wstring const& text) {
    std::wstring const error = errorOf(text);
    return error.substr(error.find(L' ') + 1);
}

} // namespace

TEST(Parser, HandsOutTheTreeInWideText) {
    auto const document =
        parse(L"<?xml version='1.0' encoding='no-such'?><n:gr\x00FC\x00DF b='1' a='x&#10;\x1F600 y\nz'>"
              L"<i>one</i>text<i>t<![CDATA[w]]><!-- - -->&#111;</i></n:gr\x00FC\x00DF>");
    Element& root = document->GetRoot();
    EXPECT_EQ(root.GetName(), L"n:gr\x00FC\x00DF");
    EXPECT_EQ(root.AttributesBegin()->GetName(), L"b");
    EXPECT_EQ(root.GetAttribute(L"a")->GetValue(), L"x\n\x1F600 y z");
    EXPECT_EQ(root.GetAttribute(L"c"), nullptr);
    EXPECT_EQ(root.GetElement(L"i", 1).GetValue(), L"two");
    EXPECT_EQ(root.GetElement(L"i", 2).GetElement(L"deeper").GetValue(), L"");
    EXPECT_EQ(root.GetValue(), L"text");
    auto position = root.End();
    EXPECT_EQ((--position)->GetValue(), L"two");
    EXPECT_EQ((--position)->GetValue(), L"one");
    EXPECT_EQ(position, root.Begin());
}

TEST(Parser, NamesTheTruePlaceOfAnError) {
    EXPECT_EQ(errorOf(L""), L"1:1 no element found");
    EXPECT_EQ(errorOf(L"<a>\r\n\x00E9\x1F600<b></a>"), L"2:8 mismatched tag");
    EXPECT_EQ(errorOf(L"<a>\r\r<b x='1' x='2'/></a>"), L"3:10 duplicate attribute");
    std::wstring text = L"<a>\n\x1F600 #</a>";
    for (wchar_t const bad : {L'\0', L'\xD800', L'\xDFFF', static_cast<wchar_t>(0x110000),
                              static_cast<wchar_t>(-1), L'\x1', L'\xFFFE'}) {
        text[6] = bad;
        EXPECT_EQ(errorOf(text), L"2:3 not well-formed (invalid token)") << static_cast<long>(bad);
    }
}

TEST(Parser, RefusesWhatIsTooDeepBeforeReadingOn) {
    EXPECT_EQ(errorOf(repeated(L"<a>", 1000) + repeated(L"</a>", 1000)), L"");
    EXPECT_EQ(errorOf(repeated(L"<a>", 100000)), L"1:3001 elements nested too deeply");
}

TEST(Parser, BoundsWhatADocumentTypeMakesOfAShortText) {
    std::wstring const start = L"<!DOCTYPE a [<!ENTITY e0 'ha'>";
    std::wstring laughs = start;
    std::wstring chain = start;
    std::wstring attributes = start;
    for (int i = 1; i <= 20000; ++i) {
        std::wstring const number = std::to_wstring(i);
        std::wstring const former = std::to_wstring(i - 1);
        std::wstring const declaration = L"<!ENTITY e" + number + L" '";
        if (i <= 20)
            laughs += declaration + repeated(L"&e" + former + L";", 10) + L"'>";
        chain += declaration + L"&e" + former + L";'>";
        attributes += L"<!ATTLIST a b" + number + L" NMTOKEN 'c'>";
        if (i == 1000)
            attributes += L"]><a>" + repeated(L"<a/>", 5000) + L"</a>";
    }
    std::wstring const late = attributes.substr(attributes.find(L"</a>") + 4);
    attributes.resize(attributes.size() - late.size());
    std::wstring implied = attributes;
    for (std::size_t at = 0; (at = implied.find(L"'c'", at)) != implied.npos;)
        implied.replace(at, 3, L"#IMPLIED");
    EXPECT_EQ(errorOf(implied), L"");
    implied.insert(implied.size() - 4, repeated(L"<a/>", 60000));
    auto const repeats = [](std::wstring const& value, std::size_t count) {
        return L"<!DOCTYPE a [<!ENTITY e '" + value + L"'>]><a>" + repeated(L"&e;", count) + L"</a>";
    };
    for (std::wstring const& text : {laughs + L"]><a>&e20;</a>", repeats(std::wstring(100000, L'x'), 50000),
                                     repeats(repeated(L"<b/>", 1000), 5000), attributes})
        EXPECT_EQ(reasonOf(text), L"document too large for the length of its text");
    EXPECT_EQ(reasonOf(laughs + L"]><a b='&e20;'/>"),
              L"limit on input amplification factor (from DTD and entities) breached");
    EXPECT_EQ(reasonOf(implied), L"too many attributes declared for the elements");
    EXPECT_EQ(reasonOf(start + late + L"]><a/>"), L"too many attribute declarations");
    EXPECT_EQ(reasonOf(chain + L"]><a>&e20000;</a>"), L"too many entities that refer to other entities");
}

TEST(Parser, LosesNoReferenceInAnAttribute) {
    std::wstring const start = L"<!DOCTYPE a SYSTEM 'x' [<!ENTITY good '&#38;lt;'><!ENTITY bad '&none;'>"
                               L"<!ENTITY inner '<!--&none;--><b c=\"&good;\">&none;</b>'>"
                               L"<!ENTITY outer '<b/>&none;&deep;'><!ENTITY deep '<b c=\"&bad;\"/>'>";
    for (wchar_t const* const rest :
         {L"]><a b='&good;&amp;&#65;'>&none;&bad;&inner;</a>", L"<!ATTLIST a b CDATA '&good;'>]><a/>"})
        EXPECT_EQ(errorOf(start + rest), L"") << rest;
    for (wchar_t const* const rest :
         {L"]><a b='&none;'/>", L"]><a b='&good;&bad;'/>", L"]><a>&inner;&outer;</a>",
          L"<!ATTLIST a b CDATA '&none;'>]><a/>", L"%p;<!ENTITY e ''>]><a b='&e;'/>"})
        EXPECT_EQ(reasonOf(start + rest), L"undefined entity") << rest;
}

TEST(Parser, LoadsNothingFromOutside) {
    std::wstring const text =
        L"<!DOCTYPE a SYSTEM 'file:///etc/passwd' [<!ENTITY e SYSTEM 'file:///etc/passwd'> "
        L"<!-- ] --><?p ]?><!ENTITY i \"in\">%p;]>\n<a>1&e;2&other;3&i;</a>";
    auto const document = parse(text);
    EXPECT_EQ(document->GetRoot().GetValue(), L"123in");
    EXPECT_EQ(document->GenerateXML(false), text.substr(0, text.find(L"&i;")) + L"in</a>");
}

TEST(Parser, KeepsWhatTheTextHadOnARoundTrip) {
    for (wchar_t const* const text : {
             L"<?xml version=\"1.0\" standalone=\"yes\"?>\n<!-- 1 -->\n<?p 2  3?>\n<!DOCTYPE a [ <!ELEMENT a "
             L"ANY>\n]>\n"
             L"<a> <b c=\"&amp;&lt;>&quot;'&#9;&#10;&#13;\"/>\n\t<![CDATA[<&]] "
             L"]]>&amp;&lt;&gt;\"&#13;<?p?></a>\n<!--4-->\n",
             L"<!-- a\r\nb -->\r\n<a>\r\n  <b/>\r\n  x\ry\n<![CDATA[\r\n]]>\r\n<?p a\r\nb?>&#13;\r\n</a>\r\n",
         })
        EXPECT_EQ(written(text), text);
    EXPECT_EQ(parse(L"<a>1\r\n2\r3&#13;</a>")->GetRoot().GetValue(), L"1\n2\n3\r");
    EXPECT_EQ(written(L"<?xml version='1.0' encoding='ISO-8859-1'?><a  b = '1' ></a >"),
              L"<?xml version=\"1.0\" encoding=\"UTF-8\"?><a b=\"1\"/>");
    // What comes from within an entity has no place of its own in the text.
    EXPECT_EQ(written(L"<!DOCTYPE a [<!ENTITY e 'x<b/>\r\n<!--c-->y'>]><a>1\r\n&e;2&#10;</a>"),
              L"<!DOCTYPE a [<!ENTITY e 'x<b/>\r\n<!--c-->y'>]><a>1\nx<b/>\n<!--c-->y2\n</a>");
}

TEST(Parser, TakesTextThatIsMuchLongerInUtf8) {
    std::wstring const text = L"<a>" + repeated(L"\x4e2d\x10000", 50'000) + L"</a>";
    EXPECT_TRUE(written(text) == text);
}

TEST(Parser, LaysOutElementsAndKeepsTheirText) {
    std::wstring const laidOut =
        L"<?xml version=\"1.0\"?>\n<!-- 1 -->\n<a>\n  <b> </b>\n  <c>\n    <!-- 2\n3 -->\n"
        L"    <d>x<e/> </d>\n  </c>\n  <f xml:space=\"preserve\"> <g/></f>\n</a>\n<?p?>\n";
    EXPECT_EQ(written(L"<?xml version='1.0'?> <!-- 1 --><a><b> </b>\r\n<c><!-- 2\n3 --><d>x<e/> </d></c>\t\t"
                      L"<f xml:space='preserve'> <g/></f></a><?p?>",
                      true),
              laidOut);
    EXPECT_EQ(written(laidOut, true), laidOut);
}
