#include <tests/soak/LogReader.h>
#include <tests/soak/Workers.h>
#include <tests/support/TemporaryDirectory.h>
#include <zun/lock/UnixLock.h>
#include <zun/logger/ILogger.h>
#include <zun/platform/helper/CommonHelper.h>
#include <zun/platform/registry/ProfileString.h>
#include <zun/platform/registry/Registry.h>
#include <zun/structured/AnXml.h>
#include <zun/structured/AnXmlNode.h>

#include <chrono>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <grp.h>
#include <random>
#include <sched.h>
#include <sys/file.h>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/stat.h>
#include <thread>
#include <vector>

using namespace orvane_com::zun;
using helper::toWide;
using logger::ILogger;

namespace {

/// A pause, so that the processes do not fill the disk: nothing depends on its length.
void rest(std::chrono::microseconds time) {
    std::this_thread::sleep_for(time);
}

std::string counterName(std::size_t index) {
    return "counter" + std::to_string(index);
}

/// Reads back, adds one, and so on. What it reads is what it wrote, unless a kill left that open.
void count(Worker const& worker, std::function<std::uint64_t()> const& read,
           std::function<bool(std::uint64_t)> const& write) {
    Progress& progress = worker.progress();
    while (!worker.isOver()) {
        std::uint64_t const value = read();
        worker.account.expect(value >= progress.ended && value <= progress.begun, lostUpdate,
                              counterName(worker.index) + " is " + std::to_string(value) + " after " +
                                  std::to_string(progress.ended));
        auto const start = std::chrono::steady_clock::now();
        if (write(progress.begin()))
            progress.end();
        else
            worker.account.blame(failedOperation, "a counter cannot be written");
        worker.account.expectUnblocked(start, "the write of a counter");
        rest(std::chrono::milliseconds(1));
    }
}

std::uint64_t readProfile(std::string const& file, std::string const& key) {
    wchar_t value[32] = L"";
    GetPrivateProfileString(L"Soak", toWide(key).c_str(), L"0", value, std::size(value),
                            toWide(file).c_str());
    return std::wcstoull(value, nullptr, 10);
}

bool writeProfile(std::string const& file, std::string const& key, std::uint64_t value) {
    return WritePrivateProfileString(L"Soak", toWide(key).c_str(), std::to_wstring(value).c_str(),
                                     toWide(file).c_str());
}

HKEY soakKey() {
    HKEY key = nullptr;
    RegCreateKey(HKEY_LOCAL_MACHINE, "Software\\Soak", &key);
    return key;
}

std::uint64_t readRegistry(HKEY key, std::string const& name) {
    std::uint64_t value = 0;
    unsigned long size = sizeof value;
    unsigned long type = 0;
    auto* const bytes = reinterpret_cast<unsigned char*>(&value);
    return RegQueryValueEx(key, name.c_str(), nullptr, &type, bytes, &size) == ERROR_SUCCESS ? value : 0;
}

void makeDocument(AnXml& document, std::uint64_t number) {
    std::wstring const text = std::to_wstring(number);
    document.useNew(L"soak", L"number", text.c_str());
    AnXmlNode root(&document);
    for (std::uint64_t item = 0; item < 100 + number % 100; ++item) {
        AnXmlNode node;
        root.addChild(&node, L"item", L"number", text.c_str());
        node.setValue(L"", (L"<&> " + text).c_str());
    }
}

bool writeDocument(std::string const& file, std::uint64_t number) {
    AnXml document;
    makeDocument(document, number);
    return document.writeFile(toWide(file).c_str(), false, false);
}

/// The number of the document in the file; 0 when it is not the whole of it.
std::uint64_t readWholeDocument(std::string const& file) {
    AnXml document;
    AString number;
    AString text;
    if (!document.useExistingFile(toWide(file).c_str(), L"soak") ||
        !AnXmlNode(&document).getValue(true, L"number", &number) || !document.writeString(&text))
        return 0;
    std::uint64_t const value = std::wcstoull(number, nullptr, 10);
    AnXml expected;
    AString expectedText;
    makeDocument(expected, value);
    expected.writeString(&expectedText);
    return text == expectedText ? value : 0;
}

/// Whether the file ends with a whole line of that message.
bool endsWithLine(std::string const& file, std::string const& message) {
    std::string const text = readFile(file);
    std::string const end = "[soak] [I] " + message + "\r\n";
    if (text.size() < end.size() || text.compare(text.size() - end.size(), end.size(), end) != 0)
        return false;
    std::size_t const before = text.rfind('\n', text.size() - end.size());
    std::size_t const start = before == std::string::npos ? 0 : before + 1;
    constexpr std::size_t prefix = 100;
    return text.compare(start, 2, "20") == 0 && text.size() - end.size() - start < prefix;
}

} // namespace

void writeLogs(Worker const& worker) {
    ILogger& log = *ILogger::GetLogger();
    log.attach(toWide(worker.place.file("log/scrap.log")));
    log.attach(toWide(worker.place.file("sticky/squatted.log")));
    log.setMaxLogFileSize(128);
    log.setNumberOfBackupLogs(1'000'000);
    std::vector<std::thread> threads;
    for (std::size_t thread = 0; thread < Account::threads; ++thread)
        threads.emplace_back([&worker, &log, thread] {
            Progress& progress = worker.progress(thread);
            while (!worker.isOver()) {
                constexpr int burst = 20;
                auto const start = std::chrono::steady_clock::now();
                for (int line = 0; line < burst; ++line) {
                    std::uint64_t const number = progress.begin();
                    log.logMessage(logger::Info, L"soak", toWide(soakMessage(worker.index, thread, number)));
                    progress.end();
                }
                worker.account.expectUnblocked(start, "a burst of log lines");
                rest(std::chrono::milliseconds(4));
            }
        });
    for (std::thread& thread : threads)
        thread.join();
}

void takeLogsAway(Worker const& worker) {
    std::string const kept = worker.place.file("log/kept");
    std::filesystem::create_directories(kept);
    std::string const configuration = worker.place.file("logrotate.conf");
    writeFile(configuration, worker.place.file("log/agent.log") + " { size 1\n rotate 1000\n nocreate\n }\n");
    std::string const logrotate = "PATH=$PATH:/usr/sbin logrotate --state " +
                                  worker.place.file("logrotate.state") + " " + configuration + " 2>/dev/null";
    while (!worker.isOver()) {
        std::uint64_t const number = worker.progress().begin();
        std::string const target = kept + "/agent." + std::to_string(number);
        if (number % 4 == 0)
            worker.account.logrotateRuns += std::system(logrotate.c_str()) == 0;
        else if (std::rename(worker.place.file("log/agent.log").c_str(), target.c_str()) == 0)
            ++worker.account.logsTakenAway;
        unlink(worker.place.file("log/scrap.log").c_str());
        rest(std::chrono::milliseconds(20));
    }
}

void actAsStranger(Worker const& worker) {
    if (setgroups(0, nullptr) != 0 || setgid(strangerId) != 0 || setuid(strangerId) != 0)
        return;
    Place const& place = worker.place;
    std::string const squatted = place.file("sticky/squatted");
    std::mt19937 random(worker.seed);
    while (!worker.isOver()) {
        worker.progress().begin();
        ++worker.account.strangersDeeds;
        // Names that the log takes next, now a link, now a pipe, now a file of his own.
        for (char const* const ending : {".log", ".log.lock", "_backup_1.log", "_backup_2.log"}) {
            std::string const name = squatted + ending;
            unlink(name.c_str());
            switch (random() % 4) {
            case 0:
                static_cast<void>(symlink(place.victim().c_str(), name.c_str()));
                break;
            case 1:
                mkfifo(name.c_str(), 0666);
                break;
            case 2:
                close(open(name.c_str(), O_CREAT | O_EXCL | O_WRONLY, 0666));
                break;
            default:;
            }
        }
        // Locks on all that he may read, and a semaphore in the place of a named lock's set.
        std::vector<int> held;
        for (char const* const name : {"log", "log/agent.log", "log/agent.log.lock", "settings.ini",
                                       "settings.ini.lock", "registry", "registry.lock", "documents"})
            if (int const opened = open(place.file(name).c_str(), O_RDONLY | O_NONBLOCK); opened != -1) {
                flock(opened, LOCK_EX | LOCK_NB);
                held.push_back(opened);
            }
        std::string const lockFile = "/Library/Orvane/zun/scratch/" + place.lockName;
        if (key_t const key = ftok(lockFile.c_str(), 3737); key != -1)
            semget(key, 1, IPC_CREAT | IPC_EXCL | 0666);
        rest(std::chrono::milliseconds(20));
        for (int const opened : held)
            close(opened);
        worker.progress().end();
    }
}

void countInProfile(Worker const& worker) {
    std::string const file = worker.place.file("settings.ini");
    std::string const key = counterName(worker.index);
    count(
        worker, [&] { return readProfile(file, key); },
        [&](std::uint64_t value) { return writeProfile(file, key, value); });
}

std::uint64_t counterInProfile(Place const& place, std::size_t index) {
    return readProfile(place.file("settings.ini"), counterName(index));
}

void countInRegistry(Worker const& worker) {
    InitializeRegistry(toWide(worker.place.file("registry")));
    HKEY const key = soakKey();
    std::string const name = counterName(worker.index);
    count(
        worker, [&] { return readRegistry(key, name); },
        [&](std::uint64_t value) {
            auto const* const bytes = reinterpret_cast<unsigned char const*>(&value);
            return RegSetValueEx(key, name.c_str(), 0, REG_BINARY, bytes, sizeof value) == ERROR_SUCCESS;
        });
    RegCloseKey(key);
}

std::uint64_t counterInRegistry(Place const& place, std::size_t index) {
    InitializeRegistry(toWide(place.file("registry")));
    HKEY const key = soakKey();
    std::uint64_t const value = readRegistry(key, counterName(index));
    RegCloseKey(key);
    return value;
}

void replaceDocument(Worker const& worker) {
    while (!worker.isOver()) {
        bool const written =
            writeDocument(worker.place.file("documents/soak.xml"), worker.progress().begin());
        worker.account.expect(written, failedOperation, "a document cannot be written");
        worker.progress().end();
        rest(std::chrono::milliseconds(1));
    }
}

void readDocument(Worker const& worker) {
    std::string const file = worker.place.file("documents/soak.xml");
    while (!worker.isOver()) {
        if (std::filesystem::exists(file)) {
            worker.account.expect(readWholeDocument(file) != 0, brokenDocument, "a document is not whole");
            ++worker.account.documentsRead;
        }
        rest(std::chrono::milliseconds(2));
    }
}

void countUnderLock(Worker const& worker) {
    Account& account = worker.account;
    std::mt19937 random(worker.seed);
    while (!worker.isOver()) {
        try {
            lock::UnixLock lock(worker.place.lockName);
            auto const before = std::chrono::steady_clock::now();
            bool const writes = random() % 4 != 0;
            if (!(writes ? lock.writeLock(0) : lock.readLock(0))) {
                account.blame(failedOperation, "a named lock is not given");
                continue;
            }
            auto const wait = std::chrono::duration_cast<std::chrono::microseconds>(
                std::chrono::steady_clock::now() - before);
            // Between two processes that both find theirs the longest, the last one told stays.
            if (wait.count() > account.longestWaitMicroseconds)
                account.longestWaitMicroseconds = wait.count();

            std::uint64_t const value = account.guarded;
            if (writes)
                worker.progress().begin();
            sched_yield();
            account.expect(account.guarded == value, overlappingHolds, "a hold does not exclude a writer's");
            if (writes) {
                account.guarded = value + 1;
                worker.progress().end();
            }
            account.expect(writes ? lock.writeUnlock() : lock.readUnlock(), failedOperation,
                           "a named lock is not given back");
        } catch (std::exception const&) {
            account.blame(failedOperation, "a named lock cannot be made");
        }
    }
}

void workInSmallSpace(Worker const& worker) {
    Account& account = worker.account;
    SmallSpace const& space = worker.place.smallSpace;
    std::string const log = space.file("small.log");
    std::string const document = space.file("soak.xml");
    std::string const settings = space.file("settings.ini");
    space.free();
    for (std::string const& left : {log, document, settings})
        unlink(left.c_str());
    ILogger& logger = *ILogger::GetLogger();
    logger.attach(toWide(log));
    logger.detach(toWide(worker.place.file("reports.log")));

    auto const write = [&](std::string const& message) {
        logger.logMessage(logger::Info, L"soak", toWide(message));
    };
    std::uint64_t kept = 0;
    std::uint64_t setting = 0;
    while (!worker.isOver()) {
        std::uint64_t const number = worker.progress().begin();
        for (bool const isFull : {true, false}) {
            if (isFull)
                space.fill(log);
            else
                space.free();
            for (std::size_t line = 0; line < 20; ++line)
                write(soakMessage(worker.index, line, number));
            bool const isLogged = endsWithLine(log, soakMessage(worker.index, 19, number));
            account.expect(isLogged || isFull, lostLine, "a line is missing although there is space again");

            std::uint64_t const version = 2 * number + (isFull ? 0 : 1);
            if (writeDocument(document, version))
                kept = version;
            else
                account.expect(isFull, failedOperation,
                               "a document cannot be written although there is space");
            account.expect(kept == 0 || readWholeDocument(document) == kept, brokenDocument,
                           "a full device broke a document");

            if (writeProfile(settings, "counter", number))
                setting = number;
            else
                account.expect(isFull, failedOperation,
                               "a setting cannot be written although there is space");
            account.expect(readProfile(settings, "counter") == setting, lostUpdate,
                           "a full device broke a setting");
        }
        ++account.timesFull;
        worker.progress().end();
        constexpr std::uintmax_t enough = 50'000;
        if (std::filesystem::file_size(log) > enough)
            unlink(log.c_str());
        rest(std::chrono::milliseconds(5));
    }
}
