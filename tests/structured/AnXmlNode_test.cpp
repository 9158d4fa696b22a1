#include <tests/support/LogCapture.h>
#include <zun/structured/AnXml.h>
#include <zun/structured/AnXmlChildIndex.h>
#include <zun/structured/AnXmlNode.h>
#include <zun/structured/AnXmlValueIndex.h>

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;

namespace {

class AnXmlNodeTest : public testing::Test {
protected:
    void use(wchar_t const* text) {
        ASSERT_TRUE(m_xml.useString(text));
        m_root.setToRoot(&m_xml);
        m_log.takeLines();
    }

    std::wstring text() {
        AString written;
        m_xml.writeString(&written);
        return written;
    }

    LogCapture m_log;
    AnXml m_xml;
    AnXmlNode m_root;
    AString m_value;
};

} // namespace

TEST_F(AnXmlNodeTest, ReadsAttributesAndText) {
    use(L"<a b='c'>x<d>y</d></a>");
    EXPECT_TRUE(m_root.getExistingValue(L"b", &m_value));
    EXPECT_EQ(m_value, L"c");
    EXPECT_FALSE(m_root.tryGetValue(L"B", &m_value));
    EXPECT_EQ(m_value, L"c");
    EXPECT_TRUE(m_root.getExistingValue(L"", &m_value));
    EXPECT_EQ(m_value, L"");
    EXPECT_TRUE(m_root.hasValue(true, L"b", L"C"));
    EXPECT_FALSE(m_root.hasValue(true, L"b", L"x"));
    EXPECT_TRUE(m_root.matchesValue(true, &m_root, L"b", L"b"));
    EXPECT_THAT(m_log.takeLines(), IsEmpty());
    EXPECT_FALSE(m_root.getExistingValue(L"e", &m_value));
    EXPECT_FALSE(m_root.tryGetValue(nullptr, &m_value));
    EXPECT_FALSE(AnXmlNode().tryGetValue(L"b", &m_value));
    EXPECT_THAT(m_log.takeLines(), ElementsAre("[XmlNode] [E] Error trace:",
                                               "[XmlNode] [E]   getValue: required attribute not found: e",
                                               "[XmlNode] [E] internal error: No attribute named NULL",
                                               "[XmlNode] [E] internal error: Used uninitialized node"));
}

TEST_F(AnXmlNodeTest, FindsChildrenByNameAttributeAndText) {
    use(L"<a><b/><c n='1'>x</c><c n='2' m='z'>y</c></a>");
    AnXmlNode out;
    EXPECT_TRUE(m_root.tryGetChild(&out, nullptr));
    EXPECT_EQ(out.getName(), L"b");
    EXPECT_TRUE(m_root.getChild(true, L"c", L"n", L"2", L"", &m_value));
    EXPECT_EQ(m_value, L"y");
    EXPECT_TRUE(m_root.getChild(true, L"c", L"", L"y", L"n", &m_value));
    EXPECT_EQ(m_value, L"2");
    EXPECT_TRUE(m_root.getChild(true, L"c", L"m", nullptr, L"n", &m_value));
    EXPECT_FALSE(m_root.tryGetChild(&out, L"c", L"n", L"3"));
    EXPECT_THAT(m_log.takeLines(), IsEmpty());
    EXPECT_FALSE(out.positionValid());
    AnXmlNode cursor(&m_root);
    EXPECT_FALSE(cursor.getChildMove(true, L"C", L"n", L"2", L""));
    EXPECT_EQ(cursor.getName(), L"a");
    EXPECT_TRUE(cursor.getChildMove(true, L"c", L"n", L"2"));
    EXPECT_EQ(cursor.asLogString(), L"<c n=\"2\" m=\"z\">y</c>");
    EXPECT_THAT(m_log.takeLines(), ElementsAre("[XmlNode] [E] internal error: Used uninitialized node",
                                               "[XmlNode] [E] Error trace:",
                                               "[XmlNode] [E]   getChild: required child not found: C,n,2,"));
}

TEST_F(AnXmlNodeTest, BuildsAndChanges) {
    m_xml.useNew(L"a");
    m_root.setToRoot(&m_xml);
    AnXmlNode child;
    for (int i = 0; i < 2; ++i)
        EXPECT_TRUE(m_root.setChild(&child, L"b", L"n", L"1", L"", i == 0 ? L"x" : L"y"));
    EXPECT_TRUE(m_root.addChild(nullptr, L"b", L"n", L"1"));
    EXPECT_TRUE(child.setValue(L"n", L"2") && child.setValue(L"m", nullptr));
    EXPECT_TRUE(m_root.addChild(&child, L"c") && m_root.setValue(L"", L"z"));
    EXPECT_TRUE(child.copyValues(&m_root) && child.setChild(nullptr, L"d"));
    EXPECT_THAT(text(), EndsWith(L"<a>z<b n=\"2\" m=\"\">y</b><b n=\"1\"/><c><d/></c></a>"));
    EXPECT_TRUE(child.remove() && m_root.remove());
    EXPECT_THAT(text(), EndsWith(L"<a/>"));
    AnXmlNode none;
    EXPECT_FALSE(none.addChild(&child, L"b") || none.setValue(L"b", L"c") || none.remove());
}

TEST_F(AnXmlNodeTest, CopiesAndCompares) {
    use(L"<a x='1'><b y='2'>t<c/></b><b y='3'>u</b></a>");
    EXPECT_TRUE(m_root.copyAsChild(&m_root));
    EXPECT_EQ(text(), L"<a x=\"1\"><b y=\"2\">t<c/></b><b y=\"3\">u</b>"
                      L"<a x=\"1\"><b y=\"2\"><c/></b><b y=\"3\">u</b></a></a>");
    AnXmlNode copy;
    ASSERT_TRUE(m_root.tryGetChild(&copy, L"a"));
    m_log.takeLines();
    EXPECT_TRUE(m_root.containsValuesOf(&copy) && m_root.containsChildrenOf(&copy));
    EXPECT_THAT(m_log.takeLines(), IsEmpty());
    EXPECT_FALSE(copy.containsChildrenOf(&m_root));
    EXPECT_THAT(m_log.takeLines(),
                ElementsAre("[XmlNode] [E] Error trace:", "[XmlNode] [E]   missing <a x=\"1\"></a>"));

    // A leaf into itself and below, with its text.
    use(L"<a><b>t</b></a>");
    AnXmlNode leaf;
    ASSERT_TRUE(m_root.tryGetChild(&leaf, L"b") && leaf.copyAsChild(&leaf));
    EXPECT_EQ(text(), L"<a><b>t<b>t</b></b></a>");
    ASSERT_TRUE(leaf.getChildMove(true, L"b") && leaf.copyAsChild(&m_root));
    EXPECT_EQ(text(), L"<a><b>t<b>t<a><b><b>t</b></b></a></b></b></a>");
}

TEST_F(AnXmlNodeTest, IndexesWalkChildrenAndAttributes) {
    use(L"<a><b n='1' m='2'/>text<c/><b n='3'/></a>");
    AnXmlChildIndex all(&m_root);
    std::wstring names;
    while (all.moveNext())
        names += all.getName().cpp_str();
    EXPECT_EQ(names, L"bcb");
    AnXmlChildIndex index(&m_root, L"b");
    EXPECT_FALSE(index.remove());
    EXPECT_TRUE(index.moveNext(L"n", &m_value));
    EXPECT_EQ(m_value, L"1");
    AnXmlValueIndex values(&index);
    std::wstring pairs;
    for (AString name; values.moveNext(&name, &m_value);)
        pairs += name.cpp_str() + L"=" + m_value.cpp_str() + L" ";
    EXPECT_EQ(pairs, L"n=1 m=2 ");
    values.close();
    EXPECT_FALSE(values.moveNext(nullptr, nullptr));
    EXPECT_TRUE(index.remove() && !index.remove());
    EXPECT_TRUE(index.moveNext() && index.remove() && !index.remove());
    EXPECT_FALSE(index.moveNext());
    EXPECT_EQ(text(), L"<a>text<c/></a>");
    // After set there is no current node, even when children are added behind it.
    EXPECT_TRUE(all.set(&m_root) && all.moveNext() && index.set(&all) && all.addChild(nullptr, L"d"));
    EXPECT_FALSE(index.remove());
    EXPECT_EQ(text(), L"<a>text<c><d/></c></a>");
    AnXmlNode const none;
    EXPECT_FALSE(index.set(&none) || values.set(&none));
    std::string const noRemoval = "[XmlIndx] [E] internal error: remove without moveNext";
    EXPECT_THAT(m_log.takeLinesAboveDebug(),
                ElementsAre(noRemoval, noRemoval, noRemoval, noRemoval,
                            "[XmlIndx] [E] internal error: Used uninitialized node",
                            "[XmlValx] [E] internal error: Used uninitialized node"));
}

TEST_F(AnXmlNodeTest, RefusesElementsThatWouldStandTooDeep) {
    use(L"<a/>");
    AnXmlNode node = m_root;
    for (std::size_t depth = 2; depth <= AdvXMLParser::maximumDepth; ++depth)
        ASSERT_TRUE(node.addChild(&node, L"b"));
    std::wstring const before = text();
    EXPECT_FALSE(node.addChild(nullptr, L"c"));
    EXPECT_FALSE(m_root.copyAsChild(&m_root));
    EXPECT_EQ(text(), before);
    std::string const reason = "elements nested too deeply for a document";
    EXPECT_THAT(m_log.takeLinesAboveDebug(),
                ElementsAre("[XmlNode] [E] Error trace:", "[XmlNode] [E]   " + reason,
                            "[XmlNode] [E] Error trace:", "[XmlNode] [E]   " + reason));
}
