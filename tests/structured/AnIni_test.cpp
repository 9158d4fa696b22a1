#include <tests/support/LogCapture.h>
#include <zun/structured/AnIni.h>

#include <gmock/gmock.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

TEST(AnIniTest, ReadsAndWritesSingleSettings) {
    LogCapture log;
    TemporaryDirectory directory;
    std::string const path = directory.file("a.ini");
    writeFile(path, "[s]\nk=v\nempty=\nsentinel=`~`~\nlong=" + std::string(5000, 'x') + "\n");
    AnIni ini(directory.wideFile("a.ini"));
    AString value;
    EXPECT_TRUE(ini.get(true, L"S", L"K", value));
    EXPECT_EQ(value, L"v");
    EXPECT_TRUE(ini.getExisting(L"s", L"empty", value));
    EXPECT_EQ(value, L"");
    EXPECT_TRUE(ini.tryGet(L"s", L"long", value));
    EXPECT_EQ(value.size(), 4094u);
    EXPECT_FALSE(ini.tryGet(L"s", L"sentinel", value));
    EXPECT_EQ(value, L"");
    ini.set(L"s", L"k", L"w");
    ini.set(L"new", L"k", L"1");
    EXPECT_TRUE(ini.tryGet(L"new", L"k", value));
    EXPECT_EQ(readFile(path).substr(0, 8), "[s]\nk=w\n");
    EXPECT_THAT(log.takeLinesAboveDebug(), IsEmpty());
    EXPECT_THAT(log.takeLines(), IsEmpty()) << "taken above";

    EXPECT_FALSE(ini.getExisting(L"s", L"no", value));
    EXPECT_THAT(log.takeLinesAboveDebug(),
                testing::Contains(testing::HasSubstr(
                    "Couldn't read required section \"s\", setting \"no\" of file \"" + path + "\"")));
    ini.tryGet(L"s", L"k", value);
    EXPECT_THAT(log.takeLines(), ElementsAre("[ini] [D] GetPrivateProfileString,s,k," + path));
}

TEST(AnIniTest, NeedsAFileName) {
    LogCapture log;
    AnIni ini(L"/nowhere/a.ini");
    ini.close();
    AString value(L"kept");
    EXPECT_FALSE(ini.getExisting(L"s", L"k", value));
    EXPECT_EQ(value, L"kept");
    ini.set(L"s", L"k", L"v");
    EXPECT_THAT(log.takeLines(), ElementsAre("[ini] [E] internal error: No file name in AnIni::tryGet",
                                             "[ini] [E] internal error: No file name in AnIni::set"));
}

} // namespace
