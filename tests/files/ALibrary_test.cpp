#include <tests/support/LogCapture.h>
#include <zun/files/ALibrary.h>
#include <zun/files/APath.h>

#include <gmock/gmock.h>

#include <dlfcn.h>

namespace {

using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;

bool isLoaded() {
    void* const handle = dlopen(LOADABLE_LIBRARY, RTLD_NOLOAD | RTLD_NOW);
    if (handle)
        dlclose(handle);
    return handle != nullptr;
}

TEST(ALibraryTest, LoadsLooksUpAndUnloads) {
    LogCapture log;
    AString directory;
    splitPath(AString(LOADABLE_LIBRARY), &directory, nullptr);
    ALibrary library;
    ASSERT_TRUE(library.open(false, APath(directory, L"loadable"), true, false));
    EXPECT_THAT(log.takeLines(), Contains(HasSubstr("[D] =")));
    int (*answer)() = nullptr;
    ASSERT_TRUE(library.get(true, "loadableAnswer", &answer));
    EXPECT_EQ(answer(), 42);
    EXPECT_FALSE(library.get(false, "missing", &answer));
    EXPECT_EQ(answer, nullptr);
    EXPECT_THAT(log.takeLinesAboveDebug(), IsEmpty());
    EXPECT_FALSE(library.open(false, L"missing", true, true));
    EXPECT_FALSE(isLoaded());
    EXPECT_FALSE(library.get(true, "malloc", &answer));
    EXPECT_THAT(log.takeLinesAboveDebug(), Contains(HasSubstr("[portable LoadLibrary,libmissing.dylib]->")));
}

TEST(ALibraryTest, KeptLibraryStaysInTheProcess) {
    {
        ALibrary library;
        ASSERT_TRUE(library.open(true, AString(LOADABLE_LIBRARY), false, true));
    }
    EXPECT_TRUE(isLoaded());
}

} // namespace
