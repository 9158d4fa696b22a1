#include <gmock/gmock.h>

#include <csignal>
#include <filesystem>
#include <sys/resource.h>
#include <sys/stat.h>
#include <tests/support/LoggerFixture.h>
#include <tests/support/OpenDescriptors.h>
#include <unistd.h>

using namespace orvane_com::zun::logger;
using testing::ElementsAre;
using testing::EndsWith;
using testing::SizeIs;

namespace {

class LogFaultsTest : public LoggerFixture {
protected:
    void log(std::wstring const& message) { logger().logMessage(Info, L"g", message); }
};

/// Holds the files that the process writes to a size, as a full device would.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) {
        std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &m_before);
        set(bytes);
    }
    ~FileSizeLimit() { set(m_before.rlim_cur); }

private:
    void set(rlim_t bytes) const {
        rlimit const limit{bytes, m_before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }

    rlimit m_before{};
};

TEST_F(LogFaultsTest, AFullDeviceLosesOnlyTheLinesItCannotTake) {
    attach("agent.log");
    log(L"first");
    rlim_t const size = std::filesystem::file_size(path("agent.log"));
    {
        FileSizeLimit const full(size + 20);
        log(L"cut short");
        log(L"no room at all");
    }
    log(L"room again");
    log(L"and on");
    auto const written = lines("agent.log");
    ASSERT_THAT(written, SizeIs(4));
    EXPECT_THAT(written[0], EndsWith("first"));
    EXPECT_EQ(written[1].size(), 20u) << "what the device took of the second line stands alone";
    EXPECT_THAT(written[2], EndsWith("] [I] room again"));
    EXPECT_EQ(written[2].rfind("20", 0), 0u) << written[2];
    EXPECT_THAT(written[3], EndsWith("and on"));
}

TEST_F(LogFaultsTest, AnOutputThatFailsDoesNotKeepOthersFromTheirLines) {
    ASSERT_TRUE(logger().attach(L"/dev/full"));
    attach("zz.log");
    log(L"one");
    log(L"two");
    EXPECT_THAT(lines("zz.log"), ElementsAre(EndsWith("one"), EndsWith("two")));
}

TEST_F(LogFaultsTest, AFileThatCannotBeReopenedIsDetached) {
    attach("dir/agent.log");
    attach("last/other.log");
    log(L"one");
    std::filesystem::remove_all(path("dir"));
    writeFile(path("dir"), "in the way");
    log(L"two");
    std::filesystem::remove(path("dir"));
    log(L"three");
    EXPECT_FALSE(std::filesystem::exists(path("dir")));
    EXPECT_THAT(lines("last/other.log"), SizeIs(3));

    // The last one gone, standard output takes over.
    std::filesystem::remove_all(path("last"));
    writeFile(path("last"), "in the way");
    testing::internal::CaptureStdout();
    log(L"four");
    EXPECT_THAT(testing::internal::GetCapturedStdout(), EndsWith("] [I] four\n"));
}

TEST_F(LogFaultsTest, NoDescriptorIsLeftOpen) {
    int const before = openDescriptors();
    logger().setMaxLogFileSize(0);
    attach("agent.log");
    attach("agent.log");
    logger().attach(L"/dev/full");
    writeFile(path("file"), "");
    attach("file/no.log");
    for (int i = 0; i < 20; ++i) {
        log(L"rotates each time");
        if (i % 5 == 0)
            std::filesystem::remove(path("agent.log"));
    }
    ILogger::FreeLogger();
    EXPECT_EQ(openDescriptors(), before);
}

} // namespace
