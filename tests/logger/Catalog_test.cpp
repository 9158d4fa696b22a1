#include <tests/support/LoggerFixture.h>
#include <zun/logger/MessageResource.h>
#include <zun/logger/logInSyslog.h>

#include <gmock/gmock.h>

#include <cstdlib>
#include <sys/socket.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

using namespace orvane_com::zun::logger;
using testing::ElementsAre;
using testing::EndsWith;

namespace {

class CatalogTest : public LoggerFixture {
protected:
    CatalogTest() { attach("agent.log"); }

    /// What a catalog line says behind its thread field.
    template <typename... Arguments>
    std::string said(Arguments const&... arguments) {
        logger().logMessage(arguments...);
        std::string const line = lines("agent.log").back();
        return line.substr(line.find(") ") + 2);
    }
};

TEST_F(CatalogTest, LineLayout) {
    EXPECT_EQ(said(Info, Management, 0x4031L, MultiArgs(std::string("Logger"))),
              " [Management]  [I] Stopping Logger subsystem");
    EXPECT_EQ(said(Err, Agent, 0x4002L), "    [Agent]  [E] No space on disk");
    EXPECT_EQ(said(Err, Xml, 0x401CL), "      [xml]  [E] Socket accpet failed");
    EXPECT_EQ(said(Warn, static_cast<eComponent>(11), 0x403BL), "    [Agent]  [W] ") << "no such id";
    EXPECT_EQ(logger().getComponent(static_cast<eComponent>(-1)), L" [Agent] ");
    EXPECT_EQ(logger().getComponent(ListenServer), L" [ListenServer] ");
}

TEST_F(CatalogTest, ArgumentsFillThePlacesInOrder) {
    constexpr long returned = 0xC055; // "%s returned %s"
    auto const text = [this](long id, MultiArgs const& arguments) {
        std::string const all = said(Info, Agent, id, arguments);
        return all.substr(all.find("[I] ") + 4);
    };
    EXPECT_EQ(text(returned, MultiArgs()), "%s returned %s");
    EXPECT_EQ(text(returned, MultiArgs(std::wstring(L"A"))), "A returned %s");
    EXPECT_EQ(text(returned,
                   MultiArgs().add(std::string("\xC3\xA9")).add(std::wstring(L"B")).add(std::wstring(L"C"))),
              "\xC3\xA9 returned B");
    EXPECT_EQ(text(0x4004, MultiArgs(std::string("x%sy"))), "File xy%s not found on disk");
    EXPECT_EQ(text(0x4002, MultiArgs(std::string("unused"))), "No space on disk");
    EXPECT_THAT(said(Info, Agent, returned, nullptr, L"first", nullptr, L"second"),
                EndsWith("first returned second"));
    EXPECT_THAT(MultiArgs().add(4294967297L).add(-5L).add(0x80000000L).get(),
                ElementsAre(L"1", L"-5", L"-2147483648"));
    EXPECT_TRUE(MultiArgs(std::string("x")).clear().get().empty());
}

TEST(MessageResourceTest, TableOpensOnceAndExtendsTheSearchPath) {
    std::wstring text = L"before";
    EXPECT_FALSE(MessageResource(0x4031).getRawMessage(text));
    EXPECT_FALSE(MessageResource(0x4031).getCatalogMessage(text));
    EXPECT_EQ(text, L"before");
    setenv("NLSPATH", "A", 1);
    EXPECT_TRUE(MessageResource::initialize());
    EXPECT_TRUE(MessageResource::initialize());
    EXPECT_STREQ(std::getenv("NLSPATH"), "A:/usr/share/locale/en_US/LC_MESSAGES/%N");

    // The first and last row of the table, one with a trailing blank and one with doubled blanks.
    for (auto const& [id, expected] : std::initializer_list<std::pair<long, wchar_t const*>>{
             {0x4001, L"This is a place holder message and is not currently active"},
             {0x34001, L"Rotating log files"},
             {0x800F, L"Update task is already running. Postponing [%s] by 10 seconds "},
             {0x40CE, L"Abandoning  %s thread to stop"}}) {
        EXPECT_TRUE(MessageResource(id).getRawMessage(text));
        EXPECT_EQ(text, expected);
    }
    EXPECT_FALSE(MessageResource(0x403B).getRawMessage(text));
    EXPECT_EQ(text, L"");
}

TEST(MessageResourceTest, SearchPathMayBeUnset) {
    unsetenv("NLSPATH");
    EXPECT_TRUE(MessageResource::initialize());
    EXPECT_STREQ(std::getenv("NLSPATH"), "/usr/share/locale/en_US/LC_MESSAGES/%N");
}

TEST(LogInSyslogTest, SendsOneRecord) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::string("/dev/log").copy(address.sun_path, sizeof(address.sun_path) - 1);
    int const receiver = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (bind(receiver, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0) {
        close(receiver);
        GTEST_SKIP() << "/dev/log cannot be made here";
    }
    logInSyslog("no %s for %d", "room", 3);
    char record[256] = {};
    EXPECT_GT(recv(receiver, record, sizeof(record) - 1, MSG_DONTWAIT), 0);
    unlink(address.sun_path);
    close(receiver);
    EXPECT_EQ(std::string(record).rfind("<" + std::to_string(LOG_USER | LOG_ERR) + ">", 0), 0u) << record;
    EXPECT_THAT(std::string(record), EndsWith(" [ZUN]: no room for 3"));
}

} // namespace
