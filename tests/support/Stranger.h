#pragma once

#include <tests/support/ChildProcess.h>
#include <tests/support/TemporaryDirectory.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <grp.h>
#include <unistd.h>

/// For tests in which the super-user, as whom they run, meets another local user.
class StrangerTest : public testing::Test {
protected:
    /// User and group of the stranger, who need not be known to the system.
    static constexpr uid_t strangerId = 54321;

    void SetUp() override {
        if (geteuid() != 0 || !asStranger([] { return geteuid() == strangerId; }))
            GTEST_SKIP() << "only the super-user can act as another user, too";
    }

    /// A process that has given up all rights for good before it runs `body`; see ChildProcess.
    template <typename Body>
    static ChildProcess startStranger(Body body) {
        return ChildProcess([&body] {
            return setgroups(0, nullptr) == 0 && setgid(strangerId) == 0 && setuid(strangerId) == 0 && body();
        });
    }

    /// Whether such a process did well.
    template <typename Body>
    static bool asStranger(Body body) {
        return startStranger(body).join();
    }

    /// A new directory of the stranger's own, or of the super-user with these rights. TemporaryDirectory
    /// itself lets nobody else in.
    static std::string makeStrangersDirectory(TemporaryDirectory const& parent, std::string const& name) {
        std::string const path = makeDirectory(parent, name, 0755);
        EXPECT_EQ(chown(path.c_str(), strangerId, strangerId), 0);
        return path;
    }
    static std::string makeDirectory(TemporaryDirectory const& parent, std::string const& name,
                                     unsigned rights) {
        using std::filesystem::perms;
        permissions(std::filesystem::path(parent.path()), static_cast<perms>(0755));
        std::string path = parent.file(name);
        create_directory(std::filesystem::path(path));
        permissions(std::filesystem::path(path), static_cast<perms>(rights));
        return path;
    }
};
