#include <tests/support/LoggerFixture.h>
#include <zun/linux/log.h>
#include <zun/logger/LogReader.h>

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <sys/stat.h>
#include <unistd.h>

using namespace orvane_com::zun::logger;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using testing::SizeIs;

namespace {

/// Each at another time.
std::string line(int thread, std::string const& rest) {
    static int count = 0;
    char time[64];
    std::snprintf(time, sizeof time, "2026-11-21 12:%02d:%02d.%03d", count / 60'000 % 60, count / 1000 % 60,
                  count % 1000);
    ++count;
    return std::string(time) + " [7]  (" + std::to_string(thread) + ") " + rest + "\r\n";
}

/// Kind, thread, group, level, traces and message of a record in one text.
std::string shown(LogRecord const& record) {
    std::string text(1, "WCF"[static_cast<int>(record.kind)]);
    text += std::to_string(record.thread) + " " + std::string(record.group) + " " +
            (record.level ? std::to_string(*record.level) : "-") + " ";
    for (std::string_view const trace : record.trace)
        text += std::string(trace) + "->";
    return text += record.message;
}

std::vector<std::string> rest(LogReader& reader) {
    std::vector<std::string> all;
    LogRecord record;
    while (reader.next(record))
        all.push_back(shown(record));
    return all;
}

class LogReaderTest : public LoggerFixture {
protected:
    std::vector<std::string> read(std::string const& bytes) const {
        writeFile(path("a.log"), bytes);
        LogReader reader(path("a.log"));
        return rest(reader);
    }
    void append(std::string const& name, std::string const& bytes) const {
        std::ofstream(path(name), std::ios::app | std::ios::binary) << bytes;
    }
};

TEST_F(LogReaderTest, TakesEveryFormOfLineApart) {
    EXPECT_THAT(read(line(1, "     [Group] [W] text") + line(2, "[0123456789] [I] text") +
                     line(3, "[a [b] c] long] [C] text [x] [E] y") + line(4, "    [Agent]  [N] Failed") +
                     line(5, " [ListenServer]  [E] [I] x") + line(6, "          [] [X] ") +
                     line(7, "plain [a] [I] b") + line(8, "    [Agent] [Q] none") + line(9, "") +
                     "2026-11-21 12:08:45.074 [7] Rotating log files\r\n"),
                ElementsAre("W1 Group 3 text", "W2 0123456789 1 text", "W3 a [b] c] long 5 text [x] [E] y",
                            "W4 Agent 2 Failed", "W5 ListenServer 4 [I] x", "W6  6 ", "W7  - plain [a] [I] b",
                            "W8  -     [Agent] [Q] none", "W9  - ", "W0  - Rotating log files"));
    for (char const* const foreign :
         {"2026-11-21 12:08:45.074 [7] other", "2026-11-21T12:08:45.074 [7]  (1) x",
          "2026-11-21 12:08:4\xB5.074 [7]  (1) x", "2026-11-21 12:08:45.074 [7]  (99999999999999999999) x",
          "2026-11-21 12:08:45.074 [", "x", "\xFF\x01"})
        EXPECT_THAT(read(std::string(foreign) + "\n\r\n" + line(1, "x")),
                    ElementsAre(std::string("F0  - ") + foreign, "W1  - x"));
}

TEST_F(LogReaderTest, AMessageMayHoldLineEndsAndForgesNoLine) {
    std::string const forged = line(1, "[0123456789] [I] forged");
    EXPECT_THAT(read(line(1, "one\n\ntwo\n" + forged.substr(0, forged.size() - 2)) + line(2, "next")),
                ElementsAre("W1  - one\n\ntwo\n" + forged.substr(0, forged.size() - 2), "W2  - next"));
    // A log that was standard output ends its lines so.
    EXPECT_THAT(read("2026-11-21 12:08:45.074 [7]  (1) one\nmore\n2026-11-21 12:08:45.074 [7]  (2) two\n"),
                ElementsAre("W1  - one\nmore", "W2  - two"));
}

TEST_F(LogReaderTest, WhatIsCutStandsByItself) {
    std::string const first = line(1, std::string(3000, 'x'));
    std::string const cut = line(2, std::string(5000, 'y')).substr(0, 4096 - first.size());
    EXPECT_THAT(read(first + cut + line(3, "whole") + line(4, "end").substr(0, 35)),
                ElementsAre("W1  - " + std::string(3000, 'x'), "C2  - " + cut.substr(cut.find('y')),
                            "W3  - whole", "C4  - en"));
    std::string const endless(3'000'000, 'z');
    std::vector<std::string> const pieces = read(line(1, "before") + endless);
    std::string joined;
    for (std::size_t i = 1; i < pieces.size(); ++i)
        joined += pieces[i].substr(6);
    EXPECT_TRUE(joined == endless && pieces.size() > 2);
    EXPECT_THAT(read(""), SizeIs(0));
}

TEST_F(LogReaderTest, AnErrorIsOneRecordAmongOtherThreads) {
    auto const error = [](int thread, std::string const& text) {
        return line(thread, "     [Group] [E] " + text);
    };
    EXPECT_THAT(read(error(1, "Error trace:") + error(2, "Error trace:") + error(1, " [outer\nstep]->") +
                     line(3, "plain") + error(2, " [other]->") + error(1, " [inner]->") +
                     error(1, "  broken\nhere") + error(2, "  gone") + error(4, "Error trace:") +
                     line(4, "given up") + error(5, "Error trace:") + error(5, " [last]->")),
                ElementsAre("W3  - plain", "W1 Group 4 outer\nstep->inner->broken\nhere",
                            "W2 Group 4 other->gone", "C4 Group 4 ", "W4  - given up", "C5 Group 4 last->"));
    EXPECT_THAT(read(error(1, " [no head]->") + error(1, "  indented")),
                ElementsAre("W1 Group 4  [no head]->", "W1 Group 4   indented"));

    attach("b.log");
    AnInfoTrace const outer(L"A", L"outer");
    ADetailTrace const inner(L"B", L"inner");
    logError(L"C", L"message");
    LogReader reader(path("b.log"));
    std::vector<std::string> const found = rest(reader);
    EXPECT_THAT(found, SizeIs(2));
    EXPECT_THAT(found.back(), testing::EndsWith(" C 4 outer->inner->message"));
}

TEST_F(LogReaderTest, BackupsAndLiveFileAreOneLog) {
    logger().setMaxLogFileSize(1);
    logger().setNumberOfBackupLogs(12);
    attach("a.log");
    std::vector<std::string> expected;
    for (int i = 0; i < 60; ++i) {
        logger().logMessage(Info, L"g", std::to_wstring(i) + std::wstring(100, L'x'));
        expected.push_back(" g 1 " + std::to_string(i) + std::string(100, 'x'));
    }
    std::filesystem::remove(path("a_backup_2.log"));
    writeFile(path("a_backup_x.log"), "not a backup");
    LogReader reader(path("a.log"));
    std::vector<std::string> found = rest(reader);
    std::erase_if(found, [](std::string const& text) { return text.ends_with("Rotating log files"); });
    for (std::string& text : found)
        text = text.substr(text.find(" g "));
    EXPECT_GT(found.size(), 40u);
    EXPECT_TRUE(std::includes(expected.begin(), expected.end(), found.begin(), found.end(),
                              [&](auto const& a, auto const& b) {
                                  return std::find(expected.begin(), expected.end(), a) <
                                         std::find(expected.begin(), expected.end(), b);
                              }));
    EXPECT_EQ(found.back(), expected.back());
}

TEST_F(LogReaderTest, WhatCannotBeReadIsToldAndLeftOut) {
    LogRecord record;
    LogReader missing(path("a.log"));
    EXPECT_FALSE(missing.next(record));
    EXPECT_THAT(missing.error(), HasSubstr("a.log: No such file"));
    EXPECT_FALSE(missing.next(record));
    EXPECT_EQ(missing.error(), "");

    writeFile(path("a.log"), line(1, "live"));
    ASSERT_EQ(mkfifo(path("a_backup_1.log").c_str(), 0600), 0);
    writeFile(path("a_backup_2.log"), line(1, "old"));
    LogReader reader(path("a.log"));
    EXPECT_THAT(rest(reader), ElementsAre("W1  - old"));
    EXPECT_THAT(reader.error(), HasSubstr("a_backup_1.log: "));
    EXPECT_THAT(rest(reader), ElementsAre("W1  - live"));
}

TEST_F(LogReaderTest, FollowsWhatBecomesOfTheFile) {
    LogReader reader(path("a.log"), LogReader::Mode::following);
    EXPECT_THAT(rest(reader), SizeIs(0));
    EXPECT_EQ(reader.error(), "");
    append("a.log", line(1, "first") + line(2, "unfini").substr(0, 40));
    EXPECT_THAT(rest(reader), ElementsAre("W1  - first"));
    append("a.log", "shed\r\n");
    EXPECT_THAT(rest(reader), SizeIs(1));
    append("a.log", line(1, "rotated"));
    std::filesystem::rename(path("a.log"), path("a_backup_1.log"));
    EXPECT_THAT(rest(reader), ElementsAre("W1  - rotated"));
    append("a.log", line(1, "new"));
    EXPECT_THAT(rest(reader), ElementsAre("W1  - new"));
    append("a_backup_1.log", line(1, "late"));
    append("a.log", line(1, "after"));
    EXPECT_THAT(rest(reader), ElementsAre("W1  - after", "W1  - late"));
    std::filesystem::remove(path("a.log"));
    append("a.log", line(1, "made anew"));
    EXPECT_THAT(rest(reader), ElementsAre("W1  - made anew"));
    std::filesystem::resize_file(path("a.log"), 0);
    append("a.log", line(1, "truncated, and longer than before"));
    EXPECT_THAT(rest(reader), ElementsAre("W1  - truncated, and longer than before"));
    std::filesystem::resize_file(path("a.log"), 0);
    EXPECT_THAT(rest(reader), SizeIs(0));
    append("a.log", line(1, "short"));
    EXPECT_THAT(rest(reader), ElementsAre("W1  - short"));
}

/// Everything that befalls a log, in any order, and a reader that is replaced at any moment by another, which
/// goes on at its place.
TEST_F(LogReaderTest, EveryRecordComesOnceWhateverHappens) {
    std::mt19937 random(1);
    auto const upTo = [&](unsigned count) { return static_cast<unsigned>(random() % count); };
    for (int run = 0; run < 8; ++run) {
        std::filesystem::remove_all(path("run"));
        std::filesystem::create_directory(path("run"));
        std::string const live = "run/a.log";
        auto reader = std::make_unique<LogReader>(path(live), LogReader::Mode::following);
        std::multiset<std::string> expected;
        std::multiset<std::string> found;
        std::map<int, std::string> errors; // the traces of each thread's open error
        int backups = 0;
        auto const take = [&](unsigned most) {
            LogRecord record;
            for (unsigned i = 0; i < most && reader->next(record); ++i)
                found.insert(shown(record));
        };
        for (int step = 0; step < 300; ++step) {
            std::string const name = std::to_string(step);
            int const thread = 1 + static_cast<int>(upTo(3));
            std::string const target =
                backups > 0 && upTo(8) == 0
                    ? "run/a_backup_" + std::to_string(1 + static_cast<int>(upTo(2)) % backups) + ".log"
                    : live;
            switch (upTo(8)) {
            case 0:
                if (!readFile(path(live)).empty()) {
                    for (int i = backups++; i > 0; --i)
                        std::filesystem::rename(path("run/a_backup_" + std::to_string(i) + ".log"),
                                                path("run/a_backup_" + std::to_string(i + 1) + ".log"));
                    std::filesystem::rename(path(live), path("run/a_backup_1.log"));
                }
                break;
            case 1:
                take(1000);
                if (upTo(2) == 0)
                    std::filesystem::remove(path(live));
                else if (std::filesystem::exists(path(live)))
                    std::filesystem::resize_file(path(live), 0);
                break;
            case 2: {
                std::string const place = reader->place();
                reader = std::make_unique<LogReader>(path(live), LogReader::Mode::following);
                EXPECT_NE(reader->goTo(place), LogReader::Return::malformed);
                break;
            }
            case 3:
            case 4:
                take(upTo(5));
                break;
            default:
                if (thread == 3) {
                    append(target, line(thread, "[0123456789] [I] " + name));
                    expected.insert("W3 0123456789 1 " + name);
                } else if (auto const error = errors.find(thread); error == errors.end()) {
                    append(live, line(thread, "[0123456789] [E] Error trace:"));
                    errors[thread];
                } else if (upTo(2) == 0) {
                    append(live, line(thread, "[0123456789] [E]  [" + name + "]->"));
                    error->second += name + "->";
                } else {
                    append(live, line(thread, "[0123456789] [E]   " + name));
                    expected.insert("W" + std::to_string(thread) + " 0123456789 4 " + error->second + name);
                    errors.erase(error);
                }
            }
        }
        take(1000);
        ASSERT_THAT(found, ElementsAreArray(expected)) << "run " << run;
    }
}

TEST_F(LogReaderTest, APlaceIsCheckedBeforeItIsTaken) {
    append("a.log", line(1, "     [Group] [E] Error trace:") + line(2, "one") + line(2, "two"));
    LogReader first(path("a.log"));
    LogRecord record;
    ASSERT_TRUE(first.next(record));
    std::string const place = first.place();
    LogReader second(path("a.log"));
    for (std::size_t size = 0; size < place.size(); ++size)
        EXPECT_EQ(second.goTo(place.substr(0, size)), LogReader::Return::malformed) << size;
    EXPECT_EQ(second.goTo(place + " "), LogReader::Return::malformed);
    EXPECT_EQ(second.goTo(place), LogReader::Return::found);
    EXPECT_THAT(rest(second), ElementsAre("W2  - two", "C1 Group 4 "));
    std::filesystem::remove(path("a.log"));
    append("a.log", line(3, "another log, which may have got the inode"));
    LogReader third(path("a.log"));
    EXPECT_EQ(third.goTo(place), LogReader::Return::gone);
    EXPECT_THAT(rest(third), SizeIs(2));
}

} // namespace
