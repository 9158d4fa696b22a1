#include <tests/support/TemporaryDirectory.h>
#include <tests/tool/Program.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <sys/stat.h>

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

using Words = std::vector<std::string>;

std::string line(std::string const& time, int process, std::string const& rest) {
    return "2026-11-21 " + time + " [" + std::to_string(process) + "]  (9) " + rest + "\r\n";
}

class ToolTest : public testing::Test {
protected:
    std::string path(std::string const& name) const { return m_directory.file(name); }

    /// A file's name stands for its path where it begins with "@".
    Words in(Words words) const {
        for (std::string& word : words)
            if (word.starts_with("@"))
                word = path(word.substr(1));
        return words;
    }

    struct Call {
        Words words;
        std::string output;
    };
    void expectOutputs(std::vector<Call> const& calls) const {
        for (Call const& call : calls) {
            Outcome const outcome = runProgram(in(call.words));
            EXPECT_EQ(outcome.output, call.output) << testing::PrintToString(call.words);
            EXPECT_EQ(outcome.errors, "");
            EXPECT_EQ(outcome.status, 0);
        }
    }

    struct Refusal {
        Words words;
        int status;
        std::string reason;
    };
    /// One line says why.
    void expectRefusals(std::vector<Refusal> const& refusals) const {
        for (Refusal const& refusal : refusals) {
            Outcome const outcome = runProgram(in(refusal.words));
            EXPECT_EQ(outcome.status, refusal.status) << testing::PrintToString(refusal.words);
            EXPECT_THAT(outcome.errors, AllOf(StartsWith("zun: "), HasSubstr(refusal.reason)));
            EXPECT_EQ(std::count(outcome.errors.begin(), outcome.errors.end(), '\n'), 1) << outcome.errors;
        }
    }

    void writeLog() const {
        writeFile(path("a_backup_1.log"), line("10:00:00.000", 1, "     [Agent] [I] started 1"));
        writeFile(path("a.log"), line("11:30:00.000", 1, "   [Updater] [E] Error trace:") +
                                     line("11:30:00.000", 2, "    [Agent]  [W] \x1b[2Jw\xE9ise\ttext") +
                                     line("11:30:00.000", 1, "     [Agent] [E]  [Updating]->") +
                                     line("11:30:00.001", 1, "   [Updater] [E]   No \"file\" 0x1F\n12") +
                                     "foreign\n" +
                                     line("12:00:00.000", 1, "   [Updater] [E] No \"file\" 7\n8"));
    }

private:
    TemporaryDirectory m_directory;
};

TEST_F(ToolTest, ShowsWhatIsWantedOfALog) {
    writeLog();
    std::string const start = "2026-11-21 10:00:00.000 [1]  (9)      [Agent] [I] started 1\n";
    std::string const warning = "2026-11-21 11:30:00.000 [2]  (9)     [Agent]  [W] \\x1B[2Jw\\xE9ise\ttext\n";
    std::string const last = "2026-11-21 12:00:00.000 [1]  (9)    [Updater] [E] No \"file\" 7\n    8\n";
    expectOutputs({
        {{"log", "show", "@a.log", "--level", "w", "--process", "2"}, warning},
        {{"log", "show", "@a.log", "--until", "2026-11-21 10:00"}, start},
        {{"log", "show", "@a.log", "--since", "2026-11-21T11:30:00.002", "--thread", "9"}, last},
        {{"log", "show", "@a.log", "--group", "AGENT", "--last", "1"}, warning},
        {{"log", "show", "@a.log", "--match", "start|ise\ttext", "--last", "7"}, start + warning},
        {{"log", "show", "@a.log", "--match", "Updating", "--json"},
         R"({"time":"2026-11-21 11:30:00.001","process":1,"thread":9,"group":"Updater","level":"error",)"
         R"("message":"No \"file\" 0x1F\u000A12","trace":["Updating"]})"
         "\n"},
    });
    Outcome const all = runProgram({"log", "show", path("a.log")});
    EXPECT_THAT(all.output, HasSubstr("[Updating]->\n2026-11-21 11:30:00.001"));
    EXPECT_EQ(all.errors, "zun: 1 record is cut or foreign\n");
    EXPECT_THAT(runProgram({"log", "summary", path("a.log")}).output,
                AllOf(HasSubstr("error    2"), HasSubstr("2  [Updater] No \"file\" #\\x0A#"),
                      HasSubstr("2026-11-21 11  2  ####"), HasSubstr("cut or foreign  1")));
    EXPECT_THAT(
        runProgram({"log", "summary", "--json", path("a.log")}).output,
        HasSubstr(
            R"("from":"2026-11-21 10:00:00.000","to":"2026-11-21 12:00:00.000","records":5,"damaged":1)"));
}

TEST_F(ToolTest, ATerminalIsColouredUnlessItMustNotBe) {
    writeLog();
    Words const words = {"log", "show", path("a.log"), "--level", "warning"};
    std::string const coloured = runInTerminal(words).output;
    EXPECT_THAT(coloured,
                AllOf(HasSubstr("\x1b[33m2026"), HasSubstr("\x1b[31m2026"), Not(HasSubstr("\x1b[2J"))));
    setenv("NO_COLOR", "1", 1);
    EXPECT_THAT(runInTerminal(words).output, AllOf(HasSubstr("\\x1B[2J"), Not(HasSubstr("\x1b"))));
    unsetenv("NO_COLOR");
    EXPECT_THAT(runInTerminal({"lock", "list", "--help"}).output, HasSubstr("Usage"));
}

TEST_F(ToolTest, ChangesSettingsAndShowsThem) {
    writeFile(path("a.ini"), "; mine\n[One]\nkey=1\n");
    expectOutputs(
        {{{"ini", "set", "@a.ini", "one", "Key", "a=b \xC3\xBC"}, ""},
         {{"ini", "set", "@a.ini", "Two", "x", ""}, ""},
         {{"ini", "get", "@a.ini", "One", "KEY"}, "a=b \xC3\xBC\n"},
         {{"ini", "list", "@a.ini"}, "[One]\nkey=a=b \xC3\xBC\n[Two]\nx=\n"},
         {{"ini", "list", "--json", "@a.ini", "Two"}, "{\"section\":\"Two\",\"key\":\"x\",\"value\":\"\"}\n"},
         {{"ini", "unset", "@a.ini", "Two", "x"}, ""}});
    EXPECT_THAT(readFile(path("a.ini")), StartsWith("; mine\n[One]\nkey=a=b \xC3\xBC\n"));

    std::string const key = "SOFTWARE\\Maker";
    expectOutputs(
        {{{"registry", "set", "@r.ini", key, "Name", "text"}, ""},
         {{"registry", "set", "--type", "number", "@r.ini", key, "Flags", "258"}, ""},
         {{"registry", "set", "--type", "binary", "@r.ini", key, "", "00fF"}, ""},
         {{"registry", "get", "@r.ini", "HKEY_LOCAL_MACHINE\\" + key, "name"}, "text\n"},
         {{"registry", "get", "--json", "@r.ini", key, "Flags"},
          "{\"type\":\"number\",\"value\":\"02010000\"}\n"},
         {{"registry", "list", "@r.ini", "SOFTWARE"},
          "[HKEY_LOCAL_MACHINE\\SOFTWARE\\Maker]\n  Name   text    text\n  Flags  number  02010000\n"
          "         binary  00ff\n"},
         {{"registry", "delete", "@r.ini", key, "Name"}, ""}});
    EXPECT_THAT(readFile(path("r.ini")), Not(HasSubstr("Name")));
}

TEST_F(ToolTest, ReadsAndChangesXmlPlainAndEnciphered) {
    writeFile(path("a.xml"), "<R><P id='1'/><!-- kept --><P id='2'>x</P></R>");
    expectOutputs({{{"xml", "check", "@a.xml"}, ""},
                   {{"xml", "get", "@a.xml", "R/P[2]/@id"}, "2\n"},
                   {{"xml", "set", "@a.xml", "R/P[2]", "<y>"}, ""},
                   {{"xml", "set", "@a.xml", "R/Q/S/@new", "z"}, ""},
                   {{"xml", "encipher", "--key", "@key", "@a.xml"}, ""},
                   {{"xml", "check", "--json", "--key", "@key", "@a.xml"},
                    "{\"file\":\"" + path("a.xml") + "\",\"enciphered\":true}\n"},
                   {{"xml", "set", "--key", "@key", "@a.xml", "R/P/@id", "3"}, ""}});
    EXPECT_THAT(readFile(path("a.xml")), Not(HasSubstr("id")));
    expectRefusals({{{"xml", "show", "@a.xml"}, 1, "key"},
                    {{"xml", "get", "--key", "@none", "@a.xml", "R"}, 1, "none: No such"}});
    expectOutputs({{{"xml", "decipher", "--key", "@key", "@a.xml"}, ""},
                   {{"xml", "get", "@a.xml", "R/P[2]"}, "<y>\n"}});
    EXPECT_THAT(readFile(path("a.xml")),
                AllOf(HasSubstr("<!-- kept -->"), HasSubstr("<Q><S new=\"z\"/></Q>")));
}

TEST_F(ToolTest, RefusesWithAReasonAndChangesNothing) {
    writeLog();
    writeFile(path("a.ini"), "[One]\nkey=1\n");
    writeFile(path("bad.xml"), "<R>\n <P></Q></R>");
    ASSERT_EQ(mkfifo(path("fifo").c_str(), 0600), 0);
    expectRefusals({
        {{"log", "show", "@none.log"}, 1, "No such file"},
        {{"log", "show", "@fifo"}, 1, "regular file"},
        {{"log", "show", "@a.log", "--match", "("}, 2, "missing )"},
        {{"log", "show", "@a.log", "--since", "10x"}, 2, "\"10x\" is no time"},
        {{"log", "show", "@a.log", "--level", "loud"}, 2, "\"loud\" is no level"},
        {{"log", "follow", "@a.log", "--state", "@a.ini"}, 1, "it is no state"},
        {{"log", "show"}, 2, "PATH is required"},
        {{"ini", "list", "@fifo"}, 1, "regular file"},
        {{"ini", "get", "@a.ini", "One", "none"}, 1, "there is no [One] none"},
        {{"ini", "unset", "@a.ini", "Two", "key"}, 1, "there is no [Two] key"},
        {{"ini", "set", "@a.ini", "One", "key", "a\nb"}, 2, "cannot hold"},
        {{"ini", "set", "@none/a.ini", "One", "key", "1"}, 1, "No such file"},
        {{"ini", "set", "/dev/full", "One", "key", "1"}, 1, "regular file"},
        {{"registry", "get", "@none.ini", "A", "b"}, 1, "No such file"},
        {{"registry", "set", "--type", "number", "@r.ini", "A", "b", "-1"}, 2, ""},
        {{"xml", "check", "@bad.xml"}, 1, "bad.xml: line 2, column "},
        {{"xml", "get", "@bad.xml", "R//"}, 2, "is no path"},
        {{"lock", "run", "a/b", "--", "true"}, 2, "is no name"},
        {{"lock", "clean", "zun_test_none"}, 1, "there is no lock"},
        {{"message", "0xZ"}, 2, "is no message's id"},
        {{"message", "0x4000"}, 1, "there is no message"},
        {{"config", "@none"}, 1, ""},
        {{"nonsense"}, 2, ""},
    });
    EXPECT_EQ(readFile(path("a.ini")), "[One]\nkey=1\n");
    EXPECT_EQ(runProgram({"log", "show", path("a.log"), "--level", "critical"}).status, 1) << "nothing found";
    writeFile(path("noise.log"), std::string("\0\x1b]0;\x07\xFF\xFE\r\r\n\n", 11));
    Outcome const noise = runProgram({"log", "show", path("noise.log")});
    EXPECT_EQ(noise.output, "\\x00\\x1B]0;\\x07\\xFF\\xFE\\x0D\n");
    EXPECT_EQ(noise.status, 0);
}

TEST_F(ToolTest, OutputThatEndsOrIsFull) {
    writeFile(path("a.log"), [] {
        std::string log;
        for (int i = 0; i < 5000; ++i)
            log += line("10:00:00.000", 1, "text " + std::to_string(i));
        return log;
    }());
    int ends[2];
    ASSERT_EQ(pipe2(ends, O_CLOEXEC), 0);
    close(ends[0]);
    int const quiet = open(path("errors").c_str(), O_CREAT | O_RDWR | O_CLOEXEC, 0600);
    EXPECT_EQ(statusOf(startProgram({"log", "show", path("a.log")}, ends[1], quiet)), 0);
    EXPECT_EQ(statusOf(startProgram({"log", "follow", path("a.log")}, ends[1], quiet)), 0);
    EXPECT_EQ(readFile(path("errors")), "");
    close(ends[1]);
    int const full = open("/dev/full", O_WRONLY | O_CLOEXEC);
    EXPECT_EQ(statusOf(startProgram({"log", "show", path("a.log")}, full, quiet)), 1);
    EXPECT_THAT(readFile(path("errors")), HasSubstr("zun: standard output: No space"));
    close(full);
    close(quiet);
}

TEST_F(ToolTest, TellsOfMessagesConfigurationAndItself) {
    expectOutputs({{{"message", "0x4003", "/etc/%s"}, "Failed to open file /etc/%s\n"},
                   {{"message", "--json", "16387"}, "{\"id\":16387,\"text\":\"Failed to open file %s\"}\n"}});
    EXPECT_THAT(runProgram({"message"}).output,
                AllOf(HasSubstr("0x4003  Failed to open file %s\n"), HasSubstr("0x34001  Rotating")));
    std::filesystem::create_directories(path("etc/XOQAGENT3700MACX"));
    writeFile(path("etc/XOQAGENT3700MACX/config.xml"),
              "<C><InstalledPath>" + path("agent") + "</InstalledPath></C>");
    std::filesystem::create_directories(path("etc/ORVFIREW5000MACX"));
    EXPECT_THAT(runProgram({"config", path("etc")}).output,
                AllOf(HasSubstr("installed in       " + path("agent")),
                      HasSubstr("product            ORVFIREW5000MACX")));
    EXPECT_THAT(runProgram({"version"}).output, testing::MatchesRegex("zun [0-9.]+\n"));
    std::string const script = path("completion");
    writeFile(script, runProgram({"completion", "bash"}).output +
                          "COMP_WORDS=(zun log --json sh); COMP_CWORD=3; _zun; echo \"${COMPREPLY[@]}\"\n");
    EXPECT_EQ(std::system(("[ \"$(bash " + script + ")\" = show ]").c_str()), 0);
}

TEST_F(ToolTest, RunsCommandsUnderALock) {
    if (geteuid() != 0)
        GTEST_SKIP() << "only the super-user has the locks' directory";
    std::filesystem::path directory = "/Library/Orvane/zun/scratch";
    bool const isMade = create_directories(directory);
    std::string const name = "zun_tool_test_" + std::to_string(getpid());
    std::string const zun = std::string(ZUN_PROGRAM) + " lock ";
    EXPECT_EQ(runProgram({"lock", "run", name, "--", "sh", "-c", "exit 7"}).status, 7);
    EXPECT_EQ(runProgram({"lock", "run", name, "--", "sh", "-c", "kill -9 $$"}).status, 128 + SIGKILL);
    EXPECT_THAT(runProgram({"lock", "run", name, "--", "/none/such"}).errors,
                HasSubstr("/none/such: No such file"));
    EXPECT_EQ(
        runProgram({"lock", "run", name, "--", "sh", "-c", zun + "run --wait 0 " + name + " -- true"}).status,
        1);
    EXPECT_EQ(runProgram({"lock", "run", "--read", name, "--", "sh", "-c",
                          zun + "run --read --wait 0 " + name + " -- true"})
                  .status,
              0);
    EXPECT_THAT(runProgram({"lock", "run", name, "--", "sh", "-c", zun + "list --json"}).output,
                HasSubstr("{\"name\":\"" + name + "\",\"writer\":true,\"readers\":0,\"references\":1}\n"));
    // A lock whose user was killed is free, and stays until somebody takes or cleans it.
    pid_t const killed =
        startProgram({"lock", "run", name, "--", "sh", "-c", "kill -9 $PPID"}, STDERR_FILENO, STDERR_FILENO);
    EXPECT_EQ(statusOf(killed), -SIGKILL);
    EXPECT_THAT(runProgram({"lock", "list"}).output, HasSubstr(name));
    EXPECT_EQ(runProgram({"lock", "clean", name}).status, 0);
    EXPECT_THAT(runProgram({"lock", "list"}).output, Not(HasSubstr(name)));
    std::error_code inUse;
    for (; isMade && directory != "/" && remove(directory, inUse); directory = directory.parent_path())
        ;
}

} // namespace
