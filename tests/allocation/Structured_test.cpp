#include <tests/allocation/FailingAllocations.h>
#include <zun/structured/AnIni2.h>
#include <zun/structured/AnXml.h>
#include <zun/structured/AnXmlChildIndex.h>
#include <zun/structured/AnXmlNode.h>
#include <zun/structured/AnXmlValueIndex.h>

#include <filesystem>

namespace {

class StructuredAllocation : public AllocationTest {
protected:
    /// The work makes the file, which a symbolic link leads to, from `before` what `after` is, and when it
    /// fails perhaps `otherwise`. Done or not, the file is whole, and the link is there.
    template <typename Work>
    void failChange(std::string const& before, std::string const& after, Work const& work,
                    std::string const& otherwise = {}) {
        std::filesystem::create_symlink("real", directory.file("file"));
        auto const check = [&](bool done) {
            std::string const text = contents("file");
            EXPECT_TRUE(text == after || (!done && (text == before || text == otherwise))) << text;
            EXPECT_TRUE(std::filesystem::is_symlink(directory.file("file")));
            EXPECT_EQ(countFiles(), 2);
        };
        failEach(work, check, [&] { write("real", before); });
    }
};

TEST_F(StructuredAllocation, ADocumentIsReadAndWrittenWhole) {
    auto const work = [this] {
        AnXml xml;
        return xml.useFile(true, path("file"), L"root") &&
               AnXmlNode(&xml).setChild(nullptr, L"two-\xE9", L"name", L"a value", L"", L"text") &&
               xml.writeFile(path("file"), false, false);
    };
    failChange("<root><one/><!-- a comment --></root>",
               "<root><one/><!-- a comment --><two-\xC3\xA9 name=\"a value\">text</two-\xC3\xA9></root>",
               work);
}

TEST_F(StructuredAllocation, ANodeIsAddedOrNot) {
    AnXml xml;
    AnXmlNode root;
    std::wstring const before =
        L"<root><source name=\"a value\"><inner-\xE9 other=\"value\"/></source></root>";
    auto const prepare = [&] {
        xml.useString(before.c_str());
        root.setToRoot(&xml);
    };
    auto const check = [&](bool done) {
        AString text;
        EXPECT_TRUE(xml.writeString(&text));
        EXPECT_NE(text == before.c_str(), done);
    };
    std::wstring const text(5000, L't');
    failEach([&] { return root.addChild(nullptr, L"a-\xE9", L"b-\xE9", text.c_str()); }, check, prepare);
    failEach([&] { return root.setChild(nullptr, L"a", L"b", L"c", L"d-\xE9", text.c_str()); }, check,
             prepare);
    failEach([&] { return root.setValue(L"b-\xE9", text.c_str()); }, check, prepare);
    failEach([&] { return root.setValue(L"", text.c_str()); }, check, prepare);
    auto const copy = [&] {
        AnXmlNode source;
        return root.tryGetChild(&source, L"source") && root.copyAsChild(&source);
    };
    failEach(copy, check, prepare);
}

TEST_F(StructuredAllocation, IndexesSkipNothing) {
    AnXml xml;
    ASSERT_TRUE(xml.useString(L"<root><one a='a long value' b='another'/><two/></root>"));
    AnXmlNode const root(&xml);
    AnXmlChildIndex children;
    AnXmlValueIndex values;
    auto const startChildren = [&] { children.set(&root, nullptr); };
    auto const checkChildren = [&](bool done) {
        EXPECT_TRUE(children.moveNext());
        EXPECT_EQ(children.getName(), done ? L"two" : L"one");
        startChildren();
    };
    auto const moveToChild = [&] {
        AString text;
        return children.moveNext(L"a", &text);
    };
    failEach(moveToChild, checkChildren, startChildren);

    startChildren();
    ASSERT_TRUE(children.moveNext());
    auto const startValues = [&] { values.set(&children); };
    auto const checkValues = [&](bool done) {
        AString name;
        EXPECT_TRUE(values.moveNext(&name, nullptr));
        EXPECT_EQ(name, done ? L"b" : L"a");
        startValues();
    };
    auto const moveToValue = [&] {
        AString text;
        return values.moveNext(nullptr, &text);
    };
    failEach(moveToValue, checkValues, startValues);
}

TEST_F(StructuredAllocation, AProfileFileIsChangedOrNot) {
    auto const work = [this] {
        AnIni ini(path("file"));
        AString value;
        ini.set(L"section", L"key", L"value of some length");
        return ini.tryGet(L"section", L"key", value) && value == L"value of some length";
    };
    failChange("; a comment\n[section]\nkey=value\n", "; a comment\n[section]\nkey=value of some length\n",
               work);
}

TEST_F(StructuredAllocation, NoSettingIsLost) {
    auto const work = [this] {
        AString value;
        AnIni2 ini(path("file"));
        ini.open(path("file"));
        ini.set(L"b section", L"b key", L"new value");
        ini.write();
        return ini.parsed() && ini.getExisting(L"a section", L"a key", value) &&
               contents("file").find("new value") != std::string::npos;
    };
    // A file that could not be parsed is edited in place.
    std::string const begin = "[a section]\na key=a value of some length\n";
    failChange(begin + "[b section]\nb key=value\n", begin + "\n[b section]\nb key=new value\n\n", work,
               begin + "[b section]\nb key=new value\n");
}

} // namespace
