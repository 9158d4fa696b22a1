#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/wait.h>
#include <tests/lock/LockFixture.h>
#include <thread>
#include <unistd.h>

std::string const lockDirectory = "/Library/Orvane/zun/scratch/";

LockFixture::LockFixture() : m_workingDirectory(std::filesystem::current_path()) {
    std::filesystem::create_directories(m_root.path() + lockDirectory);
    std::filesystem::create_directories(m_root.path() + testing::TempDir());
    m_oldRoot = open("/", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (chroot(m_root.path().c_str()) == 0 && chdir("/") == 0)
        return;
    close(m_oldRoot);
    m_oldRoot = -1;
}

LockFixture::~LockFixture() {
    if (m_oldRoot == -1)
        return;
    if (fchdir(m_oldRoot) != 0 || chroot(".") != 0 || chdir(m_workingDirectory.c_str()) != 0)
        abort();
    close(m_oldRoot);
}

void LockFixture::SetUp() {
    if (m_oldRoot == -1)
        GTEST_SKIP() << "needs the super-user, to put " << lockDirectory << " in a root directory of its own";
}

int LockFixture::findSet() {
    key_t const key = ftok(lockFile().c_str(), 3737);
    return key == -1 ? -1 : semget(key, 0, 0);
}

std::vector<int> LockFixture::counts() {
    int const set = findSet();
    return {semctl(set, 0, GETVAL), semctl(set, 1, GETVAL), semctl(set, 2, GETVAL)};
}

void LockFixture::waitForWaiters(unsigned short semaphore, int count) {
    while (semctl(findSet(), semaphore, GETZCNT) < count)
        std::this_thread::yield();
}

pid_t LockFixture::start(std::function<bool()> const& body) {
    pid_t const process = fork();
    if (process == 0)
        [&body]() noexcept { _exit(body() ? EXIT_SUCCESS : EXIT_FAILURE); }();
    return process;
}

bool LockFixture::join(pid_t process) {
    int status = 0;
    return waitpid(process, &status, 0) == process && WIFEXITED(status) &&
           WEXITSTATUS(status) == EXIT_SUCCESS;
}

void LockFixture::kill(pid_t process) {
    int status = 0;
    EXPECT_EQ(::kill(process, SIGKILL), 0);
    EXPECT_EQ(waitpid(process, &status, 0), process);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << "had ended before";
}
