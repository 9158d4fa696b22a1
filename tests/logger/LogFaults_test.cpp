#include <tests/support/ChildProcess.h>
#include <tests/support/LoggerFixture.h>
#include <tests/support/OpenDescriptors.h>

#include <gmock/gmock.h>

#include <csignal>
#include <filesystem>
#include <iterator>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>
#ifdef __linux__
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#endif

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

TEST_F(LogFaultsTest, AFileThatCannotBeMadeAnewIsDetached) {
    auto const block = [this](char const* name) {
        std::filesystem::remove_all(path(name));
        writeFile(path(name), "in the way");
    };
    attach("dir/agent.log");
    attach("other/agent.log");
    log(L"one");
    block("dir");
    log(L"two");
    std::filesystem::remove(path("dir"));
    log(L"three");
    EXPECT_FALSE(std::filesystem::exists(path("dir")));
    EXPECT_THAT(lines("other/agent.log"), SizeIs(3));

    // The last one gone, standard output takes over.
    block("other");
    testing::internal::CaptureStdout();
    log(L"four");
    EXPECT_THAT(testing::internal::GetCapturedStdout(), EndsWith("] [I] four\n"));
}

TEST_F(LogFaultsTest, WithoutAFreeDescriptorTheLogsOwnServes) {
    attach("agent.log");
    log(L"goes with its file"); // a sanitizer that sees these types first without descriptors misjudges them
    std::filesystem::remove(path("agent.log"));
    rlimit before{};
    getrlimit(RLIMIT_NOFILE, &before);
    rlimit const few{100, before.rlim_max};
    setrlimit(RLIMIT_NOFILE, &few);
    std::vector<int> taken;
    for (int descriptor; (descriptor = dup(STDIN_FILENO)) >= 0;)
        taken.push_back(descriptor);
    log(L"made anew");
    logger().setMaxLogFileSize(0);
    log(L"behind a rotation");
    for (int const descriptor : taken)
        close(descriptor);
    setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_THAT(lines("agent_backup_1.log"), ElementsAre(EndsWith("made anew"), EndsWith("log files")));
    EXPECT_THAT(lines("agent.log"), ElementsAre(EndsWith("behind a rotation")));
}

#ifdef __linux__
/// From now on the kernel refuses the process a system call, as a container's filter would.
bool refuse(unsigned call) {
    sock_filter rules[] = {BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
                           BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, call, 0, 1),
                           BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EPERM),
                           BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW)};
    sock_fprog const filter{std::size(rules), rules};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter, 0, 0) == 0;
}

TEST_F(LogFaultsTest, TheLookAtAPathHasAnOlderCallToFallBackOn) {
    ChildProcess child([this] {
        logger().setMaxLogFileSize(0);
        bool const isSetUp = refuse(SYS_statx) && attach("agent.log");
        log(L"one");
        log(L"two");
        return isSetUp;
    });
    ASSERT_TRUE(child.join());
    EXPECT_THAT(lines("agent_backup_1.log"), ElementsAre(EndsWith("one"), EndsWith("log files")));
}
#endif

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
