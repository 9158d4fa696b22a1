#include "FollowState.h"
#include "LogFilter.h"
#include "LogSummary.h"
#include "Output.h"
#include "Program.h"

#include <CLI/CLI.hpp>
#include <chrono>
#include <cstdio>
#include <memory>
#include <optional>
#include <poll.h>
#include <unistd.h>
#include <utility>

namespace tool {

namespace {

using orvane_com::zun::logger::LogReader;
using orvane_com::zun::logger::LogRecord;

constexpr std::size_t batchSize = std::size_t{64} * 1024;

/// How far a command is, on standard error, where a terminal has been waiting for longer than a second.
class Progress {
public:
    explicit Progress(LogReader const& reader) : m_reader(reader) {}
    ~Progress() { erase(); }
    Progress(Progress const&) = delete;
    Progress& operator=(Progress const&) = delete;

    void update() {
        constexpr unsigned recordsBetweenLooks = 4096;
        if (!m_isWatched || ++m_records % recordsBetweenLooks != 0 || Clock::now() < m_next)
            return;
        m_next = Clock::now() + std::chrono::milliseconds(200);
        std::uint64_t const size = m_reader.size();
        std::fprintf(stderr, "\r%3u %%",
                     static_cast<unsigned>(size == 0 ? 0 : m_reader.bytesRead() * 100 / size));
        m_isShown = true;
    }
    void erase() {
        if (m_isShown)
            std::fputs("\r\x1b[K", stderr);
        m_isShown = false;
    }

private:
    using Clock = std::chrono::steady_clock;

    LogReader const& m_reader;
    bool const m_isWatched = isatty(STDERR_FILENO) == 1;
    bool m_isShown = false;
    unsigned m_records = 0;
    Clock::time_point m_next = Clock::now() + std::chrono::seconds(1);
};

/// The last records of many, as they are shown.
class LastRecords {
public:
    explicit LastRecords(std::size_t count) : m_texts(count) {}

    void add(std::string_view text) {
        if (!m_texts.empty())
            m_texts[m_added++ % m_texts.size()] = text;
    }
    void write(Output& output) const {
        for (std::size_t i = m_added < m_texts.size() ? 0 : m_added - m_texts.size(); i < m_added; ++i)
            output.write(m_texts[i % m_texts.size()]);
    }

private:
    std::vector<std::string> m_texts;
    std::size_t m_added = 0;
};

struct LogCommand {
    std::string path;
    LogFilter filter;
    bool isJson = false;
    bool isFollowing = false;
    std::optional<std::uint32_t> last;
    std::string state;
    std::uint64_t damaged = 0;
    bool hasFailed = false;
    std::string complaint;

    /// The next record that is wanted. What cannot be read is said once, and left out.
    bool next(LogReader& reader, LogRecord& record, Progress& progress) {
        while (true) {
            if (!reader.next(record)) {
                if (reader.error().empty())
                    return false;
                progress.erase();
                if (complaint != reader.error())
                    complain(reader.error());
                complaint = reader.error();
                // One who follows waits, as long as it may take, for what can be read.
                if (std::exchange(hasFailed, true) && isFollowing)
                    return false;
                continue;
            }
            progress.update();
            if (!filter.matches(record))
                continue;
            damaged += record.kind != LogRecord::Kind::whole;
            return true;
        }
    }
    void end(std::uint64_t records) const {
        if (damaged != 0)
            complain(std::to_string(damaged) + (damaged == 1 ? " record is" : " records are") +
                     " cut or foreign");
        if (hasFailed || (records == 0 && !filter.isEmpty()))
            throw Failure("");
    }

    void show();
    void summarize();
    void follow();
};

void LogCommand::show() {
    filter.prepare();
    Output& output = Output::standard();
    LogReader reader(path);
    Progress progress(reader);
    LogRecord record;
    LastRecords lastOnes(last.value_or(0));
    std::uint64_t records = 0;
    std::string text;
    for (; next(reader, record, progress); ++records) {
        text.clear();
        appendRecord(text, record, isJson, output.hasColour());
        if (last) {
            lastOnes.add(text);
            continue;
        }
        if (output.isTerminal())
            progress.erase();
        output.write(text);
    }
    progress.erase();
    lastOnes.write(output);
    output.flush();
    end(records);
}

void LogCommand::summarize() {
    filter.prepare();
    LogReader reader(path);
    LogSummary summary;
    LogRecord record;
    std::uint64_t records = 0;
    {
        Progress progress(reader);
        for (; next(reader, record, progress); ++records)
            summary.add(record);
    }
    if (records == 0 && hasFailed)
        throw Failure("");
    if (isJson)
        Output::standard().writeLine(summary.json());
    else
        summary.writeForPeople(Output::standard());
    damaged = 0; // is part of the summary
    end(records);
}

/// False when whoever reads the output has gone.
bool wait() {
    constexpr int milliseconds = 100;
    pollfd output{.fd = STDOUT_FILENO, .events = 0, .revents = 0};
    return poll(&output, 1, milliseconds) <= 0 || (output.revents & (POLLERR | POLLHUP | POLLNVAL)) == 0;
}

void LogCommand::follow() {
    filter.prepare();
    Output& output = Output::standard();
    LogReader reader(path, LogReader::Mode::following);
    Progress progress(reader);
    std::unique_ptr<FollowState> kept;
    if (!state.empty())
        kept = std::make_unique<FollowState>(state);
    bool isFirst = true;
    if (kept && !kept->place().empty()) {
        LogReader::Return const result = reader.goTo(kept->place());
        if (result == LogReader::Return::malformed)
            throw Failure(state + ": it is no state of \"zun log follow\"");
        if (result == LogReader::Return::gone)
            complain(state + ": the file that was read last is gone: going on with the oldest one");
        kept->finishBatch();
        isFirst = false;
    } else if (access(path.c_str(), F_OK) != 0) {
        complain(path + ": is not there yet: waiting for it");
    }
    isFollowing = true;
    constexpr int longestWait = 20;
    constexpr int waitsBetweenPlaces = 10;
    LogRecord record;
    LastRecords lastOnes(last.value_or(0));
    std::string batch;
    for (int waits = 0;;) {
        bool const hasRecord = next(reader, record, progress);
        bool const isGivenUp = !hasRecord && waits > longestWait && reader.nextUnfinished(record);
        if (hasRecord || (isGivenUp && filter.matches(record))) {
            waits = 0;
            std::size_t const before = batch.size();
            appendRecord(batch, record, isJson, output.hasColour());
            if (last && isFirst) {
                lastOnes.add(std::string_view(batch).substr(before));
                batch.resize(before);
            }
            if (batch.size() < batchSize)
                continue;
        } else if (last && isFirst) {
            lastOnes.write(output);
            output.flush();
        }
        isFirst = isFirst && hasRecord;
        progress.erase();
        // Records that are not wanted move the place, too.
        if (kept && (!batch.empty() || waits % waitsBetweenPlaces == 0)) {
            if (std::string const place = reader.place(); !batch.empty() || place != kept->place())
                kept->write(batch, place);
        } else if (!kept) {
            output.write(batch);
            output.flush();
        }
        batch.clear();
        if (!hasRecord && !wait())
            return;
        ++waits;
    }
}

} // namespace

void addLogCommands(CLI::App& program) {
    CLI::App& log = *program.add_subcommand("log", "Show, follow or sum up a log with its backups");
    log.require_subcommand(1);
    auto const add = [&](char const* name, char const* description, void (LogCommand::*run)()) {
        CLI::App& command = *log.add_subcommand(name, description);
        auto const options = std::make_shared<LogCommand>();
        command.add_option("PATH", options->path, "The live file; its backups are found beside it")
            ->required();
        options->filter.addOptions(command);
        command.add_flag("--json", options->isJson, "One JSON object a line");
        if (run != &LogCommand::summarize)
            command.add_option("--last", options->last, "The last N of these records")->type_name("N");
        if (run == &LogCommand::follow)
            command.add_option("--state", options->state, "Go on where the last one with this file was")
                ->type_name("FILE");
        command.callback([options, run] { (options.get()->*run)(); });
    };
    add("show", "Show a log's records", &LogCommand::show);
    add("follow", "Show a log's records, and those that come", &LogCommand::follow);
    add("summary", "Sum up: times, levels, groups, frequent errors, hours", &LogCommand::summarize);
}

} // namespace tool
