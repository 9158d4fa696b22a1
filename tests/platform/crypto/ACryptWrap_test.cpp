#include <tests/support/Crowd.h>
#include <tests/support/Stranger.h>
#include <tests/support/TemporaryDirectory.h>
#include <zun/platform/crypto/ACryptWrap.h>

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <initializer_list>
#include <sys/stat.h>
#include <unistd.h>

using namespace std::string_literals;

namespace {

class ACryptWrapTest : public testing::Test {
protected:
    static std::string encrypt(std::string const& clear) {
        std::string stored;
        EXPECT_TRUE(ACryptWrap::encrypt_data(clear, stored)) << ACryptWrap::lastError();
        return stored;
    }

    static bool isRefused(std::string const& stored) {
        std::string clear = "untouched";
        return !ACryptWrap::decrypt_data(stored, clear) && clear == "untouched";
    }

    void expectKeyIsRefused(std::string const& reason) const {
        EXPECT_FALSE(ACryptWrap::useKeyFile(m_keyFile));
        EXPECT_NE(ACryptWrap::lastError().find(reason), std::string::npos) << ACryptWrap::lastError();
        EXPECT_NE(ACryptWrap::lastError().find(m_keyFile), std::string::npos) << ACryptWrap::lastError();
    }

    TemporaryDirectory m_directory;
    std::string m_keyFile = m_directory.file("key");
};

TEST_F(ACryptWrapTest, NeedsTheRightKey) {
    std::string stored;
    EXPECT_EQ(ACryptWrap::lastError(), "");
    EXPECT_FALSE(ACryptWrap::encrypt_data("x", stored));
    EXPECT_EQ(stored, "");
    EXPECT_NE(ACryptWrap::lastError().find("no key"), std::string::npos);

    ChildProcess other([this, file = m_directory.file("stored")] {
        bool const hasKey = ACryptWrap::useKeyFile(m_keyFile);
        writeFile(file, encrypt("secret"));
        return hasKey;
    });
    ASSERT_TRUE(other.join());
    stored = readFile(m_directory.file("stored"));
    EXPECT_TRUE(isRefused(stored));
    EXPECT_NE(ACryptWrap::lastError().find("no key"), std::string::npos);

    ASSERT_TRUE(ACryptWrap::useKeyFile(m_directory.file("another key")));
    EXPECT_TRUE(isRefused(stored));
    ASSERT_TRUE(ACryptWrap::useKeyFile(m_keyFile));
    std::string clear;
    EXPECT_TRUE(ACryptWrap::decrypt_data(stored, clear));
    EXPECT_EQ(clear, "secret");
}

TEST_F(ACryptWrapTest, GivesBackWhatWasEnciphered) {
    ASSERT_TRUE(ACryptWrap::useKeyFile(m_keyFile)) << ACryptWrap::lastError();
    for (std::string const& clear : {""s, "<xml/>"s, "\0\xFF"s, std::string(1'000'000, 'x')}) {
        std::string text = encrypt(clear);
        EXPECT_NE(text, encrypt(clear)) << "every encryption has a nonce of its own";
        EXPECT_EQ(text.find("xxxx"), std::string::npos);
        ASSERT_TRUE(ACryptWrap::decrypt_data(text, text)) << ACryptWrap::lastError();
        EXPECT_EQ(text, clear);
    }
}

TEST_F(ACryptWrapTest, RefusesWhatIsAlteredOrCut) {
    ASSERT_TRUE(ACryptWrap::useKeyFile(m_keyFile));
    std::string const stored = encrypt("<clear/>");
    for (std::size_t at = 0; at < stored.size(); ++at) {
        std::string altered = stored;
        for (int bit = 0; bit < 8; ++bit) {
            altered[at] = static_cast<char>(stored[at] ^ (1 << bit));
            EXPECT_TRUE(isRefused(altered)) << at << " " << bit;
        }
        EXPECT_TRUE(at == 0 || isRefused(stored.substr(0, at))) << at;
    }
    EXPECT_TRUE(isRefused(stored + '\0'));
}

TEST_F(ACryptWrapTest, PassesWhatIsNotEnciphered) {
    ASSERT_TRUE(ACryptWrap::useKeyFile(m_keyFile));
    std::string const stored = encrypt("x");
    for (std::string const& text :
         {""s, "<xml/>"s, "\0\0"s, "\xEF\xBB\xBF<a/>"s, stored.substr(1), " " + stored}) {
        std::string clear;
        EXPECT_TRUE(ACryptWrap::decrypt_data(text, clear));
        EXPECT_EQ(clear, text);
    }
}

TEST_F(ACryptWrapTest, TakesOnlyASafeKeyFile) {
    mode_t const mask = umask(0);
    ASSERT_TRUE(ACryptWrap::useKeyFile(m_keyFile));
    umask(mask);
    struct stat status {};
    ASSERT_EQ(stat(m_keyFile.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode, mode_t{S_IFREG | S_IRUSR | S_IWUSR});
    std::string const key = readFile(m_keyFile);
    std::string const stored = encrypt("x");

    for (mode_t const others : std::initializer_list<mode_t>{S_IRGRP, S_IROTH, S_IWGRP, S_IWOTH}) {
        ASSERT_EQ(chmod(m_keyFile.c_str(), S_IRUSR | S_IWUSR | others), 0);
        expectKeyIsRefused("open to others");
    }
    ASSERT_EQ(chmod(m_keyFile.c_str(), S_IRUSR), 0);
    EXPECT_TRUE(ACryptWrap::useKeyFile(m_keyFile));
    ASSERT_EQ(chmod(m_keyFile.c_str(), S_IRUSR | S_IWUSR), 0);
    for (std::string const& wrong : {""s, key.substr(1), key + "x"}) {
        writeFile(m_keyFile, wrong);
        expectKeyIsRefused("32 bytes");
        EXPECT_EQ(readFile(m_keyFile), wrong);
    }
    ASSERT_EQ(unlink(m_keyFile.c_str()), 0);
    ASSERT_EQ(mkfifo(m_keyFile.c_str(), S_IRUSR | S_IWUSR), 0);
    expectKeyIsRefused("regular");
    m_keyFile = m_directory.file("loop");
    std::filesystem::create_symlink(m_keyFile, m_keyFile);
    expectKeyIsRefused("cannot open");
    m_keyFile = m_directory.file(std::string(300, 'n'));
    expectKeyIsRefused("File name too long");
    m_keyFile = m_directory.file("no/such/directory");
    expectKeyIsRefused("cannot create");
    m_keyFile = "";
    expectKeyIsRefused("cannot create");
    std::string const gone = m_directory.file("gone");
    EXPECT_TRUE(ChildProcess([&gone] {
                    return mkdir(gone.c_str(), 0700) == 0 && chdir(gone.c_str()) == 0 &&
                           rmdir(gone.c_str()) == 0 && !ACryptWrap::useKeyFile("key");
                }).join());

    std::string clear;
    EXPECT_TRUE(ACryptWrap::decrypt_data(stored, clear)) << "the key in use stays";
}

using ACryptWrapAmongUsersTest = StrangerTest;

TEST_F(ACryptWrapAmongUsersTest, AKeyBelongsToTheProcessesUser) {
    TemporaryDirectory const parent;
    std::string const own = makeDirectory(parent, "own", 0755);
    std::string const strangers = makeStrangersDirectory(parent, "strangers");
    for (std::string const& directory : {own, strangers}) {
        std::string const planted = directory + "/key";
        writeFile(planted, std::string(32, 'k'));
        ASSERT_EQ(chmod(planted.c_str(), 0600) + chown(planted.c_str(), strangerId, strangerId), 0);
        EXPECT_FALSE(ACryptWrap::useKeyFile(planted));
        EXPECT_TRUE(ACryptWrap::lastError().ends_with("belongs to another user")) << ACryptWrap::lastError();
    }
    // One that may be searched and written, not listed.
    ASSERT_EQ(chmod(strangers.c_str(), 0300), 0);
    EXPECT_TRUE(asStranger([&] { return ACryptWrap::useKeyFile(strangers + "/new"); }));
}

TEST_F(ACryptWrapTest, ProcessesThatComeAtOnceAgreeOnOneKey) {
    for (int round = 0; round < 20; ++round) {
        std::string const directory = m_directory.file(std::to_string(round));
        ASSERT_EQ(mkdir(directory.c_str(), S_IRWXU), 0);
        runInProcesses(4, [&directory](int process) {
            bool const hasKey = ACryptWrap::useKeyFile(directory + "/key");
            writeFile(directory + "/" + std::to_string(process), encrypt("x"));
            return hasKey;
        });
        ASSERT_TRUE(ACryptWrap::useKeyFile(directory + "/key"));
        for (int process = 0; process < 4; ++process) {
            std::string const stored = readFile(directory + "/" + std::to_string(process));
            std::string clear;
            EXPECT_TRUE(ACryptWrap::decrypt_data(stored, clear)) << ACryptWrap::lastError();
            EXPECT_EQ(clear, "x");
        }
    }
}

TEST_F(ACryptWrapTest, ServesManyThreadsWhileTheKeyIsSetAnew) {
    ASSERT_TRUE(ACryptWrap::useKeyFile(m_keyFile));
    std::atomic<int> working{4};
    runInThreads(5, [&](int thread) {
        std::string const clear(1000, static_cast<char>('a' + thread));
        while (thread == 4 && working > 0)
            EXPECT_TRUE(ACryptWrap::useKeyFile(m_keyFile));
        for (int round = 0; round < 500 && thread != 4; ++round) {
            std::string result;
            EXPECT_TRUE(ACryptWrap::decrypt_data(encrypt(clear), result));
            EXPECT_EQ(result, clear);
        }
        EXPECT_EQ(ACryptWrap::lastError(), "");
        --working;
    });
}

} // namespace
