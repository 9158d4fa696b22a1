#include <zun/logger/ComponentNames.h>
#include <zun/logger/ILogger.h>
#include <zun/logger/LogFile.h>
#include <zun/logger/MessageResource.h>
#include <zun/platform/file/ErrnoKeeper.h>
#include <zun/platform/helper/CommonHelper.h>

#include <boost/thread/locks.hpp>
#include <boost/thread/recursive_mutex.hpp>

#include <algorithm>
#include <array>
#include <charconv>
#include <exception>
#include <limits>
#include <locale>
#include <map>
#include <new>
#include <pthread.h>
#include <sstream>
#include <unistd.h>
#include <utility>
#include <vector>

namespace orvane_com::zun::logger {

namespace {

// Threads may log while the process ends, when the strings made of these are gone already.
constexpr std::array<std::wstring_view, 7> levelTags = {L" [D] ", L" [I] ", L" [N] ", L" [W] ",
                                                        L" [E] ", L" [C] ", L" [X] "};
constexpr std::wstring_view agentPrefix = L" [Agent] ";

} // namespace

std::wstring const log_debug(levelTags[Debug]);
std::wstring const log_info(levelTags[Info]);
std::wstring const log_notice(levelTags[Notice]);
std::wstring const log_warn(levelTags[Warn]);
std::wstring const log_err(levelTags[Err]);
std::wstring const log_crit(levelTags[Crit]);
std::wstring const log_emer(levelTags[Emer]);

std::wstring const default_log_file = L"/tmp/zun.log";
std::wstring const default_log_prefix(agentPrefix);

std::string const GetTableFunction = "GetStringTable";
std::string const FreeTableFunction = "FreeStringTable";

namespace {

constexpr std::string_view lineEnd = "\r\n";

std::wstring_view levelTag(LogLevel level) {
    return level >= Debug && level <= Emer ? levelTags[static_cast<std::size_t>(level)] : levelTags[Info];
}

template <typename Number>
void appendDecimal(std::string& line, Number number) {
    char room[std::numeric_limits<Number>::digits10 + 2];
    line.append(room, std::to_chars(std::begin(room), std::end(room), number).ptr);
}

/// 0 where it is not known. Kept because asking the system for it takes as long as building a line.
std::atomic<pid_t> knownProcess{0};

void forgetProcess() {
    knownProcess = 0;
}

/// A process made by fork(2) has its own number.
int const forkHandler = pthread_atfork(nullptr, nullptr, forgetProcess);

pid_t process() {
    pid_t number = knownProcess.load(std::memory_order_relaxed);
    if (number == 0) {
        number = getpid();
        if (forkHandler == 0)
            knownProcess.store(number, std::memory_order_relaxed);
    }
    return number;
}

void appendTimeAndProcess(std::string& line) {
    helper::appendTimeStamp(line);
    line += " [";
    appendDecimal(line, process());
    line += "] ";
}

/// A thread's handle is an integer on one system and a pointer on the other.
unsigned long threadNumber() {
    return (unsigned long)pthread_self();
}

void appendPrefix(std::string& line) {
    appendTimeAndProcess(line);
    line += " (";
    appendDecimal(line, threadNumber());
    line += ") ";
}

/// Right-aligned in the width of the line's source field.
void appendSource(std::string& line, std::size_t length, std::initializer_list<std::wstring_view> pieces) {
    constexpr std::size_t width = 12;
    if (length < width)
        line.append(width - length, ' ');
    for (std::wstring_view const piece : pieces)
        helper::appendNarrow(line, piece);
}

/// Fills the text's argument places. An argument goes in front of the first place, then the first place of
/// the new text is taken out: one that stands in the argument itself goes first.
void fillPlaces(std::wstring& text, std::vector<std::wstring> const& arguments) {
    constexpr std::wstring_view place = L"%s";
    for (std::wstring const& argument : arguments) {
        std::size_t const position = text.find(place);
        if (position == std::wstring::npos)
            return;
        text.insert(position, argument);
        text.erase(text.find(place), place.size());
    }
}

/// A blank text changes nothing.
template <typename Value>
Value readPolicy(std::wstring const& text, Value value) {
    std::wistringstream stream(text);
    stream.imbue(std::locale::classic());
    stream >> value;
    if (stream.bad())
        throw std::bad_alloc();
    return value;
}

/// False when the action threw: those who log have other work to do than to see to that.
template <typename Action>
bool isDoneWithoutException(Action const& action) {
    try {
        action();
        return true;
    } catch (std::exception const&) {
        return false;
    }
}

} // namespace

struct ILogger::State {
    boost::recursive_mutex m_mutex;
    std::int64_t m_maxLogFileSize = 1000;
    std::int64_t m_numberOfBackupLogs = 5;
    bool m_bLoggingEnabled = true;
    bool m_bRotationEnabled = true;
    bool m_bDetailLogging = false;
    std::map<std::wstring, LogFile> m_logFiles;
    /// Room for the line that is being built.
    std::string m_line;

    /// In bytes; a limit that has no such number is no limit.
    std::int64_t sizeLimit() const {
        constexpr std::int64_t kibibyte = 1024;
        constexpr std::int64_t greatest = std::numeric_limits<std::int64_t>::max();
        if (m_maxLogFileSize > greatest / kibibyte)
            return greatest;
        return std::max(m_maxLogFileSize, -greatest / kibibyte) * kibibyte;
    }

    bool filesAreGood() const {
        std::int64_t const limit =
            m_bRotationEnabled ? sizeLimit() : std::numeric_limits<std::int64_t>::max();
        for (auto const& [path, file] : m_logFiles)
            if (file.examine(limit) != LogFile::Condition::Good)
                return false;
        return true;
    }

    /// Opens the files anew; those that cannot be opened are detached.
    void reopen(std::vector<std::wstring> const& paths) {
        for (std::wstring const& path : paths)
            if (auto const found = m_logFiles.find(path);
                found != m_logFiles.end() && !found->second.reopen())
                m_logFiles.erase(found);
    }

    /// The files that are in one of the conditions, whatever their size.
    std::vector<std::wstring> pathsOf(std::initializer_list<LogFile::Condition> conditions) const {
        std::vector<std::wstring> paths;
        for (auto const& [path, file] : m_logFiles) {
            LogFile::Condition const condition = file.examine(std::numeric_limits<std::int64_t>::max());
            if (std::find(conditions.begin(), conditions.end(), condition) != conditions.end())
                paths.push_back(path);
        }
        return paths;
    }

    /// Appends to every file; those that fail are opened anew and tried once more.
    void append(std::string_view lines) {
        std::vector<std::wstring> failed;
        for (auto& [path, file] : m_logFiles)
            if (!file.append(lines))
                failed.push_back(path);
        reopen(failed);
        for (std::wstring const& path : failed)
            if (auto const found = m_logFiles.find(path); found != m_logFiles.end())
                found->second.append(lines);
    }

    void writeRotationNote() {
        std::string note;
        appendTimeAndProcess(note);
        note.append("Rotating log files").append(lineEnd);
        append(note);
    }

    /// Rotates the files that are over the limit.
    void rotate() {
        if (!m_bRotationEnabled)
            return;
        reopen(pathsOf({LogFile::Condition::Replaced}));
        std::vector<std::wstring> paths;
        for (auto const& [path, file] : m_logFiles)
            paths.push_back(path);
        for (std::wstring const& path : paths) {
            auto found = m_logFiles.find(path);
            auto const isTooLarge = [&] {
                return found->second.examine(sizeLimit()) == LogFile::Condition::TooLarge;
            };
            if (found == m_logFiles.end() || !isTooLarge())
                continue;
            RotationRight const right(found->second.path());
            if (!right.isHeld() || !isTooLarge())
                continue;
            if (m_bLoggingEnabled) {
                writeRotationNote();
                found = m_logFiles.find(path);
            }
            auto const backups = static_cast<std::int32_t>(m_numberOfBackupLogs);
            if (found != m_logFiles.end() && !found->second.rotate(backups))
                m_logFiles.erase(found);
        }
    }

    /// Keeps the line's room for the next one, short of what a rare giant took.
    void clearLine() {
        constexpr std::size_t kept = 64 * 1024;
        if (m_line.capacity() > kept)
            std::string().swap(m_line); // an assignment would keep the room
        m_line.clear();
    }

    /// Builds a line and writes it to the outputs.
    template <typename BuildLine>
    void write(BuildLine const& buildLine) {
        clearLine();
        appendPrefix(m_line);
        buildLine(m_line);
        if (m_logFiles.empty()) {
            helper::writeLineToStandardOutput(m_line);
            return;
        }
        m_line += lineEnd;
        append(m_line);
    }
};

template <typename BuildLine>
void ILogger::writeLine(LogLevel level, BuildLine const& buildLine) {
    if (!passes(level))
        return;
    file::ErrnoKeeper const errnoKeeper; // it belongs to the code that is reported on
    // A message that cannot be written is lost.
    isDoneWithoutException([&] {
        boost::unique_lock<boost::recursive_mutex> const lock(m_state->m_mutex);
        if (!m_state->m_bLoggingEnabled || m_bStopped || !passes(level))
            return;
        if (!m_state->filesAreGood()) {
            // In this order a file that is made anew does not begin with another one's rotation note.
            logRotate();
            checkAndFixMissingFiles();
        }
        m_state->write(buildLine);
    });
}

ILogger* ILogger::m_pLogger = nullptr;

ILogger::ILogger() : m_state(std::make_unique<State>()) {}

ILogger::~ILogger() = default;

ILogger* ILogger::GetLogger() {
    if (!m_pLogger)
        m_pLogger = new ILogger;
    return m_pLogger;
}

void ILogger::FreeLogger() {
    delete std::exchange(m_pLogger, nullptr);
}

bool ILogger::attach(std::wstring const& path) {
    boost::unique_lock<boost::recursive_mutex> const lock(m_state->m_mutex);
    bool isOpen = false;
    return isDoneWithoutException([&, this] {
               LogFile file(helper::toNarrow(path));
               isOpen = file.isOpen();
               if (isOpen)
                   m_state->m_logFiles.try_emplace(path, std::move(file));
           }) &&
           isOpen;
}

bool ILogger::detach(std::wstring const& path) {
    boost::unique_lock<boost::recursive_mutex> const lock(m_state->m_mutex);
    return m_state->m_logFiles.erase(path) != 0;
}

void ILogger::logMessage(LogLevel const& level, std::wstring const& message) {
    writeLine(level, [&message](std::string& line) { helper::appendNarrow(line, message); });
}

void ILogger::logMessage(LogLevel const& level, std::string const& message) {
    writeLine(level, [&message](std::string& line) { helper::appendNarrow(line, helper::toWide(message)); });
}

void ILogger::logMessage(LogLevel const& level, std::wstring const& group, std::wstring const& message) {
    writeGroupLine(level, group, {message});
}

void ILogger::writeGroupLine(LogLevel level, std::wstring_view group,
                             std::initializer_list<std::wstring_view> message) {
    writeLine(level, [level, group, message](std::string& line) {
        constexpr std::size_t brackets = 2;
        appendSource(line, group.size() + brackets, {L"[", group, L"]"});
        helper::appendNarrow(line, levelTag(level));
        for (std::wstring_view const piece : message)
            helper::appendNarrow(line, piece);
    });
}

void ILogger::logMessage(LogLevel const& level, eComponent const& component, long const& id,
                         MultiArgs const& arguments) {
    writeLine(level, [&, this](std::string& line) {
        std::wstring const source = getComponent(component);
        appendSource(line, source.size(), {source});
        helper::appendNarrow(line, levelTag(level));
        std::wstring text;
        MessageResource(id).getRawMessage(text);
        fillPlaces(text, arguments.get());
        helper::appendNarrow(line, text);
    });
}

void ILogger::logMessage(LogLevel const& level, eComponent const& component, long const& id,
                         wchar_t const* argument1, wchar_t const* argument2, wchar_t const* argument3,
                         wchar_t const* argument4, wchar_t const* argument5, wchar_t const* argument6,
                         wchar_t const* argument7, wchar_t const* argument8, wchar_t const* argument9,
                         wchar_t const* argument10) {
    if (!passes(level))
        return;
    isDoneWithoutException([&, this] {
        MultiArgs arguments;
        for (wchar_t const* const argument : {argument1, argument2, argument3, argument4, argument5,
                                              argument6, argument7, argument8, argument9, argument10})
            if (argument)
                arguments.add(std::wstring(argument));
        logMessage(level, component, id, arguments);
    });
}

std::wstring ILogger::getLogLevelString(LogLevel const& level) {
    return std::wstring(levelTag(level));
}

std::wstring ILogger::getComponent(eComponent const& component) {
    if (component < Framework || component > ListenServer)
        return std::wstring(agentPrefix);
    std::wstring text = L" [";
    return text.append(componentNames[static_cast<std::size_t>(component)]).append(L"] ");
}

bool ILogger::setMinLogLevel(LogLevel const& level) {
    boost::unique_lock<boost::recursive_mutex> const lock(m_state->m_mutex);
    m_minLogLevel = level;
    return true;
}

bool ILogger::setMaxLogFileSize(long const& kibibytes) {
    boost::unique_lock<boost::recursive_mutex> const lock(m_state->m_mutex);
    m_state->m_maxLogFileSize = kibibytes;
    return true;
}

bool ILogger::setNumberOfBackupLogs(long const& count) {
    boost::unique_lock<boost::recursive_mutex> const lock(m_state->m_mutex);
    m_state->m_numberOfBackupLogs = count;
    return true;
}

bool ILogger::debugEnabled() {
    return false;
}

bool ILogger::isDetailLoggingEnabled() {
    return debugEnabled() || m_minLogLevel == Debug;
}

bool ILogger::logRotate() {
    boost::unique_lock<boost::recursive_mutex> const lock(m_state->m_mutex);
    // What there is no memory for is done before a later line.
    isDoneWithoutException([this] { m_state->rotate(); });
    return true;
}

void ILogger::checkAndFixMissingFiles() {
    boost::unique_lock<boost::recursive_mutex> const lock(m_state->m_mutex);
    isDoneWithoutException([this] {
        m_state->reopen(m_state->pathsOf({LogFile::Condition::Replaced, LogFile::Condition::Missing}));
    });
}

bool ILogger::Start() {
    boost::unique_lock<boost::recursive_mutex> const lock(m_state->m_mutex);
    m_bStopped = false;
    bool isTableOpen = false;
    isDoneWithoutException([&] { isTableOpen = MessageResource::initialize(); });
    return isTableOpen;
}

bool ILogger::Stop() {
    constexpr long stoppingSubsystem = 0x4031;
    boost::unique_lock<boost::recursive_mutex> const lock(m_state->m_mutex);
    logMessage(Info, Management, stoppingSubsystem, L"Logger");
    m_bStopped = true;
    return true;
}

bool ILogger::CheckSubsystem() {
    return !m_bStopped;
}

bool ILogger::EnforcePolicy() {
    return true;
}

bool ILogger::EnforcePolicy(std::wstring const& loggingEnabled, std::wstring const& detailLogging,
                            std::wstring const& rotationEnabled, std::wstring const& maxLogFileSize) {
    boost::unique_lock<boost::recursive_mutex> const lock(m_state->m_mutex);
    return isDoneWithoutException([&, this] {
        bool const logs = readPolicy(loggingEnabled, m_state->m_bLoggingEnabled);
        bool const logsDetails = readPolicy(detailLogging, m_state->m_bDetailLogging);
        bool const rotates = readPolicy(rotationEnabled, m_state->m_bRotationEnabled);
        m_state->m_maxLogFileSize = readPolicy(maxLogFileSize, m_state->m_maxLogFileSize);
        m_state->m_bLoggingEnabled = logs;
        m_state->m_bDetailLogging = logsDetails;
        m_state->m_bRotationEnabled = rotates;
        setMinLogLevel(logsDetails ? Debug : Info);
    });
}

} // namespace orvane_com::zun::logger
