#include <zun/logger/LogReader.h>
#include <zun/logger/LogSequence.h>
#include <zun/logger/parseLogLine.h>

#include <algorithm>
#include <charconv>
#include <iterator>
#include <limits>
#include <utility>

namespace orvane_com::zun::logger {

namespace {

constexpr std::size_t longestRecord = std::size_t{1024} * 1024;
constexpr std::size_t mostOpenErrors = 64;
constexpr std::uint64_t longestWait = 1000;

/// What a killed process leaves of a write ends with a page of memory; the next line stands right behind it.
constexpr std::size_t smallestPage = 4096;

constexpr std::string_view errorHead = "Error trace:";
constexpr std::string_view traceBegin = " [";
constexpr std::string_view traceEnd = "]->";
constexpr std::string_view messageIndent = "  ";
constexpr std::string_view lineEnd = "\r\n";

constexpr std::string_view placeHead = "zun log place 1";

bool isTrace(std::string_view message) {
    return message.size() >= traceBegin.size() + traceEnd.size() && message.starts_with(traceBegin) &&
           message.ends_with(traceEnd);
}

/// Without the line feed, and the carriage return in front of it.
std::string_view withoutEnd(std::string_view line) {
    if (line.ends_with('\n'))
        line.remove_suffix(1);
    if (line.ends_with('\r'))
        line.remove_suffix(1);
    return line;
}

/// An error whose message has not come yet.
struct OpenError {
    std::int64_t process = 0;
    std::uint64_t thread = 0;
    /// The number of its first line, as the reader counts.
    std::uint64_t since = 0;
    std::string text;
    /// Where its lines begin.
    std::vector<std::size_t> lines;

    void add(std::string_view line) {
        if (!lines.empty())
            text += lineEnd;
        lines.push_back(text.size());
        text += line;
    }
    std::string_view line(std::size_t index) const {
        std::size_t const end = index + 1 < lines.size() ? lines[index + 1] - lineEnd.size() : text.size();
        return std::string_view(text).substr(lines[index], end - lines[index]);
    }
};

void appendNumber(std::string& text, std::uint64_t number) {
    char room[std::numeric_limits<std::uint64_t>::digits10 + 1];
    text.append(room, std::to_chars(std::begin(room), std::end(room), number).ptr).push_back(' ');
}

/// Takes a number and the blank behind it off the text's front.
template <typename Number>
bool takeNumber(std::string_view& text, Number& number) {
    auto const result = std::from_chars(text.data(), text.data() + text.size(), number);
    if (result.ec != std::errc() || result.ptr == text.data() + text.size() || *result.ptr != ' ' ||
        number < 0)
        return false;
    text.remove_prefix(static_cast<std::size_t>(result.ptr + 1 - text.data()));
    return true;
}

} // namespace

struct LogReader::State {
    State(std::string const& path, Mode mode) : m_files(path, mode == Mode::following), m_mode(mode) {}

    bool next(LogRecord& record);
    bool nextUnfinished(LogRecord& record);
    std::string place() const;
    Return goTo(std::string_view place);

    LogSequence m_files;
    Mode const m_mode;
    /// Oldest first.
    std::vector<OpenError> m_errors;
    std::uint64_t m_lines = 0;
    /// How much of the files' bytes has no line feed.
    std::size_t m_searched = 0;
    /// What the last record was made of.
    OpenError m_given;

private:
    /// The bytes that make one record.
    struct Extent {
        std::size_t textEnd;
        std::size_t next;
        bool isCut;
    };

    bool scan(LogRecord& record, bool isIdle);
    bool measure(LogRecord& record, bool isIdle, Extent& extent);
    static void shortenToPage(std::string_view bytes, std::int64_t offset, Extent& extent);
    /// Whether the line was taken into an open error, or has to wait for one that it ends.
    enum class Chain { noPart, taken, given };
    Chain chain(LogRecord& record, std::size_t length);
    void give(std::vector<OpenError>::iterator error, bool isWhole, LogRecord& record);
    void consume(std::size_t count) {
        m_files.consume(count);
        m_searched = 0;
    }
};

/// Where the next record ends, with its fields. False when that is not known yet.
bool LogReader::State::measure(LogRecord& record, bool isIdle, Extent& extent) {
    std::string_view const bytes = m_files.bytes();
    bool const isEnded = m_files.isEnded();
    auto const cutAt = [&](std::size_t size) {
        extent = {size, size, true};
        record.kind =
            parseLogLine(bytes.substr(0, size), record) ? LogRecord::Kind::cut : LogRecord::Kind::foreign;
        return true;
    };
    std::size_t feed = bytes.find('\n', m_searched);
    if (feed == std::string_view::npos) {
        m_searched = bytes.size();
        return (isEnded || bytes.size() >= longestRecord) && cutAt(bytes.size());
    }
    m_searched = feed;
    std::size_t textEnd = withoutEnd(bytes.substr(0, feed + 1)).size();
    bool const isLine = parseLogLine(bytes.substr(0, textEnd), record);
    // What a bare line feed ends goes on, unless the log's lines end so.
    while (isLine && textEnd == feed) {
        std::size_t const nextFeed = bytes.find('\n', feed + 1);
        bool const isLast = nextFeed == std::string_view::npos;
        if (m_files.endsLinesInLineFeed()) {
            if (isLast && !isEnded && !isIdle)
                return false;
            if (isLast || beginsLogLine(bytes.substr(feed + 1)))
                break;
        } else if (isLast) {
            return (isEnded || bytes.size() >= longestRecord) && cutAt(bytes.size());
        }
        if (nextFeed >= longestRecord)
            return cutAt(feed + 1);
        feed = nextFeed;
        textEnd = withoutEnd(bytes.substr(0, feed + 1)).size();
    }
    extent = {textEnd, feed + 1, false};
    record.kind = isLine ? LogRecord::Kind::whole : LogRecord::Kind::foreign;
    shortenToPage(bytes, m_files.offset(), extent);
    if (extent.isCut)
        return cutAt(extent.textEnd);
    if (isLine) // with the lines that the first one did not hold
        record.message = std::string_view(
            record.message.data(), static_cast<std::size_t>(bytes.data() + textEnd - record.message.data()));
    return true;
}

void LogReader::State::shortenToPage(std::string_view bytes, std::int64_t offset, Extent& extent) {
    for (std::size_t page = smallestPage - static_cast<std::size_t>(offset) % smallestPage;
         page < extent.textEnd; page += smallestPage)
        if (beginsLogLine(bytes.substr(page, extent.textEnd - page))) {
            extent = {page, page, true};
            return;
        }
}

bool LogReader::State::scan(LogRecord& record, bool isIdle) {
    Extent extent{};
    while (!m_files.bytes().empty() && measure(record, isIdle, extent)) {
        record.text = m_files.bytes().substr(0, extent.textEnd);
        record.trace.clear();
        if (record.kind == LogRecord::Kind::foreign) {
            record.time = record.group = {};
            record.process = 0;
            record.thread = 0;
            record.level.reset();
            record.message = record.text;
        }
        // The logger puts a line end behind what a full device has cut.
        if (record.text.empty()) {
            consume(extent.next);
            continue;
        }
        Chain const part = record.kind == LogRecord::Kind::whole ? chain(record, extent.next) : Chain::noPart;
        if (part == Chain::taken)
            continue;
        if (part == Chain::noPart) {
            consume(extent.next);
            ++m_lines;
        }
        return true;
    }
    return false;
}

LogReader::State::Chain LogReader::State::chain(LogRecord& record, std::size_t length) {
    bool const isHead = record.message == errorHead && record.level == Err;
    if (m_errors.empty() && !isHead)
        return Chain::noPart;
    auto const giveUp = [&](std::vector<OpenError>::iterator error) {
        give(error, false, record);
        return Chain::given;
    };
    if (!m_errors.empty() &&
        (m_lines - m_errors.front().since > longestWait || m_errors.size() > mostOpenErrors))
        return giveUp(m_errors.begin());
    auto error = std::find_if(m_errors.begin(), m_errors.end(), [&](OpenError const& open) {
        return open.process == record.process && open.thread == record.thread;
    });
    if (record.thread == 0 || (error == m_errors.end() && !isHead))
        return Chain::noPart;
    bool const isMessage = record.message.starts_with(messageIndent);
    if (error == m_errors.end()) {
        error = m_errors.insert(error, {record.process, record.thread, m_lines, {}, {}});
    } else if (record.level != Err || (!isMessage && !isTrace(record.message)) ||
               error->text.size() + record.text.size() > longestRecord) {
        return giveUp(error);
    }
    error->add(record.text);
    consume(length);
    ++m_lines;
    if (!isMessage || isHead)
        return Chain::taken;
    give(error, true, record);
    return Chain::given;
}

void LogReader::State::give(std::vector<OpenError>::iterator error, bool isWhole, LogRecord& record) {
    m_given = std::move(*error);
    m_errors.erase(error);
    record.trace.clear();
    std::size_t const count = m_given.lines.size();
    for (std::size_t i = 1; i < count - (isWhole ? 1 : 0); ++i) {
        parseLogLine(m_given.line(i), record);
        std::string_view const trace = record.message.substr(traceBegin.size());
        record.trace.push_back(trace.substr(0, trace.size() - traceEnd.size()));
    }
    parseLogLine(m_given.line(count - 1), record);
    record.message = isWhole ? record.message.substr(messageIndent.size()) : std::string_view();
    record.text = m_given.text;
    record.kind = isWhole ? LogRecord::Kind::whole : LogRecord::Kind::cut;
}

bool LogReader::State::next(LogRecord& record) {
    bool isIdle = false;
    while (!scan(record, isIdle)) {
        if (isIdle)
            return m_mode == Mode::once && m_files.error().empty() && nextUnfinished(record);
        isIdle = !m_files.more();
        m_searched = 0;
        if (!m_files.error().empty())
            return false;
    }
    return true;
}

bool LogReader::State::nextUnfinished(LogRecord& record) {
    if (m_errors.empty())
        return false;
    give(m_errors.begin(), false, record);
    return true;
}

std::string LogReader::State::place() const {
    std::string text(placeHead);
    text += '\n';
    std::vector<LogSequence::Place> const files = m_files.places();
    appendNumber(text, files.size());
    for (LogSequence::Place const& file : files)
        for (std::uint64_t const number :
             {file.device, file.inode, static_cast<std::uint64_t>(file.offset), file.checkSum})
            appendNumber(text, number);
    appendNumber(text, m_errors.size());
    for (OpenError const& error : m_errors) {
        appendNumber(text, m_lines - error.since);
        appendNumber(text, error.lines.size());
        for (std::size_t i = 0; i < error.lines.size(); ++i) {
            appendNumber(text, error.line(i).size());
            text += error.line(i);
        }
    }
    return text;
}

LogReader::Return LogReader::State::goTo(std::string_view place) {
    std::size_t count = 0;
    if (!place.starts_with(placeHead) || place.substr(placeHead.size(), 1) != "\n")
        return Return::malformed;
    place.remove_prefix(placeHead.size() + 1);
    if (!takeNumber(place, count) || count > place.size())
        return Return::malformed;
    std::vector<LogSequence::Place> files(count);
    for (LogSequence::Place& file : files)
        if (!takeNumber(place, file.device) || !takeNumber(place, file.inode) ||
            !takeNumber(place, file.offset) || !takeNumber(place, file.checkSum))
            return Return::malformed;
    if (!takeNumber(place, count) || count > place.size())
        return Return::malformed;
    std::vector<OpenError> errors(count);
    // Counted from a number that lets all of them have begun before it.
    std::uint64_t const lines = longestWait * 2;
    for (OpenError& error : errors) {
        std::uint64_t age = 0;
        if (!takeNumber(place, age) || age > lines || !takeNumber(place, count) || count == 0)
            return Return::malformed;
        error.since = lines - age;
        for (; count > 0; --count) {
            LogRecord line;
            std::size_t size = 0;
            if (!takeNumber(place, size) || size > place.size() ||
                !parseLogLine(place.substr(0, size), line) ||
                (error.lines.empty() ? line.message != errorHead : !isTrace(line.message)))
                return Return::malformed;
            error.process = line.process;
            error.thread = line.thread;
            error.add(place.substr(0, size));
            place.remove_prefix(size);
        }
    }
    if (!place.empty())
        return Return::malformed;
    m_errors = std::move(errors);
    m_lines = lines;
    return m_files.goTo(files) ? Return::found : Return::gone;
}

LogReader::LogReader(std::string const& path, Mode mode) : m_state(std::make_unique<State>(path, mode)) {}
LogReader::~LogReader() = default;

bool LogReader::next(LogRecord& record) {
    return m_state->next(record);
}

bool LogReader::nextUnfinished(LogRecord& record) {
    return m_state->nextUnfinished(record);
}

std::string const& LogReader::error() const {
    return m_state->m_files.error();
}

std::string LogReader::place() const {
    return m_state->place();
}

LogReader::Return LogReader::goTo(std::string_view place) {
    return m_state->goTo(place);
}

std::uint64_t LogReader::bytesRead() const {
    return m_state->m_files.bytesRead();
}

std::uint64_t LogReader::size() const {
    return m_state->m_files.size();
}

} // namespace orvane_com::zun::logger
