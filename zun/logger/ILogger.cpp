#include <zun/logger/ILogger.h>
#include <zun/logger/LogFiles.h>
#include <zun/logger/LogLine.h>
#include <zun/logger/MessageResource.h>
#include <zun/platform/file/Attempt.h>
#include <zun/platform/file/ErrnoKeeper.h>
#include <zun/platform/helper/CommonHelper.h>

#include <boost/thread/locks.hpp>
#include <boost/thread/recursive_mutex.hpp>

#include <algorithm>
#include <limits>
#include <locale>
#include <new>
#include <sstream>
#include <utility>

namespace orvane_com::zun::logger {

using file::attempt;
using file::ErrnoKeeper;

namespace {

std::wstring levelTag(LogLevel level) {
    return {L' ', L'[', static_cast<wchar_t>(levelLetter(level)), L']', L' '};
}

} // namespace

std::wstring const log_debug = levelTag(Debug);
std::wstring const log_info = levelTag(Info);
std::wstring const log_notice = levelTag(Notice);
std::wstring const log_warn = levelTag(Warn);
std::wstring const log_err = levelTag(Err);
std::wstring const log_crit = levelTag(Crit);
std::wstring const log_emer = levelTag(Emer);

std::wstring const default_log_file = L"/tmp/zun.log";
std::wstring const default_log_prefix = L" [Agent] ";

std::string const GetTableFunction = "GetStringTable";
std::string const FreeTableFunction = "FreeStringTable";

namespace {

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

} // namespace

// NOLINTBEGIN(readability-identifier-naming): the logger's own members, kept out of its header
struct ILogger::State {
    boost::recursive_mutex m_mutex;
    std::int64_t m_maxLogFileSize = 1000;
    std::int64_t m_numberOfBackupLogs = 5;
    bool m_bLoggingEnabled = true;
    bool m_bRotationEnabled = true;
    bool m_bDetailLogging = false;
    LogFiles m_logFiles;
    LogLine m_line;
    // NOLINTEND(readability-identifier-naming)

    /// In bytes; a limit that has no such number is no limit.
    std::int64_t sizeLimit() const {
        constexpr std::int64_t kibibyte = 1024;
        constexpr std::int64_t greatest = std::numeric_limits<std::int64_t>::max();
        if (!m_bRotationEnabled || m_maxLogFileSize > greatest / kibibyte)
            return greatest;
        return std::max(m_maxLogFileSize, -greatest / kibibyte) * kibibyte;
    }

    void writeLine() {
        if (m_logFiles.isEmpty()) {
            helper::writeLineToStandardOutput(m_line.text());
            return;
        }
        m_line.end();
        m_logFiles.append(m_line.text());
    }
};

/// Holds the logger for one operation, which leaves errno to the code that is reported on.
class ILogger::Hold {
public:
    explicit Hold(State& state) : m_lock(state.m_mutex) {}

private:
    ErrnoKeeper const m_errnoKeeper;
    boost::unique_lock<boost::recursive_mutex> const m_lock;
};

template <typename BuildLine>
void ILogger::writeLine(LogLevel level, BuildLine const& buildLine) {
    if (!passes(level))
        return;
    // A message that cannot be written is lost.
    attempt([&] {
        Hold const hold(*m_state);
        if (!m_state->m_bLoggingEnabled || m_bStopped || !passes(level))
            return;
        if (!m_state->m_logFiles.areGood(m_state->sizeLimit())) {
            // In this order a file that is made anew does not begin with another one's rotation note.
            logRotate();
            checkAndFixMissingFiles();
        }
        m_state->m_line.begin();
        buildLine(m_state->m_line);
        m_state->writeLine();
    });
}

ILogger* ILogger::m_pLogger = nullptr;
constinit std::atomic<std::int32_t> ILogger::m_minLogLevel{Info};

ILogger::ILogger() : m_state(std::make_unique<State>()) {}

ILogger::~ILogger() = default;

ILogger* ILogger::GetLogger() {
    if (!m_pLogger) {
        ErrnoKeeper const errnoKeeper;
        // NOLINTNEXTLINE(cppcoreguidelines-owning-memory): until FreeLogger or the process's end
        m_pLogger = new ILogger;
    }
    return m_pLogger;
}

void ILogger::FreeLogger() {
    // NOLINTNEXTLINE(cppcoreguidelines-owning-memory): GetLogger made it
    delete std::exchange(m_pLogger, nullptr);
    m_minLogLevel = Info;
}

bool ILogger::attach(std::wstring const& path) {
    Hold const hold(*m_state);
    bool isOpen = false;
    attempt([&] { isOpen = m_state->m_logFiles.attach(path); });
    return isOpen;
}

bool ILogger::detach(std::wstring const& path) {
    Hold const hold(*m_state);
    return m_state->m_logFiles.detach(path);
}

void ILogger::logMessage(LogLevel const& level, std::wstring const& message) {
    writeLine(level, [&message](LogLine& line) { line.addText(message); });
}

void ILogger::logMessage(LogLevel const& level, std::string const& message) {
    writeLine(level, [&message](LogLine& line) { line.addText(helper::toWide(message)); });
}

void ILogger::logMessage(LogLevel const& level, std::wstring const& group, std::wstring const& message) {
    writeGroupLine(level, group, {message});
}

void ILogger::writeGroupLine(LogLevel level, std::wstring_view group,
                             std::initializer_list<std::wstring_view> message) {
    writeLine(level, [&](LogLine& line) { line.addGroupMessage(level, group, message); });
}

void ILogger::logMessage(LogLevel const& level, eComponent const& component, long const& id,
                         MultiArgs const& arguments) {
    writeLine(level, [&](LogLine& line) { line.addCatalogMessage(level, component, id, arguments); });
}

void ILogger::logMessage(LogLevel const& level, eComponent const& component, long const& id,
                         wchar_t const* argument1, wchar_t const* argument2, wchar_t const* argument3,
                         wchar_t const* argument4, wchar_t const* argument5, wchar_t const* argument6,
                         wchar_t const* argument7, wchar_t const* argument8, wchar_t const* argument9,
                         wchar_t const* argument10) {
    if (!passes(level))
        return;
    attempt([&, this] {
        MultiArgs arguments;
        for (wchar_t const* const argument : {argument1, argument2, argument3, argument4, argument5,
                                              argument6, argument7, argument8, argument9, argument10})
            if (argument)
                arguments.add(std::wstring(argument));
        logMessage(level, component, id, arguments);
    });
}

std::wstring ILogger::getLogLevelString(LogLevel const& level) {
    return levelTag(level);
}

std::wstring ILogger::getComponent(eComponent const& component) {
    std::wstring text = L" [";
    return text.append(componentName(component)).append(L"] ");
}

bool ILogger::setMinLogLevel(LogLevel const& level) {
    Hold const hold(*m_state);
    m_minLogLevel = level;
    return true;
}

bool ILogger::setMaxLogFileSize(long const& kibibytes) {
    Hold const hold(*m_state);
    m_state->m_maxLogFileSize = kibibytes;
    return true;
}

bool ILogger::setNumberOfBackupLogs(long const& count) {
    Hold const hold(*m_state);
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
    Hold const hold(*m_state);
    // What there is no memory for is done before a later line.
    if (m_state->m_bRotationEnabled)
        attempt([this] {
            m_state->m_logFiles.rotate({.limit = m_state->sizeLimit(),
                                        .backups = static_cast<std::int32_t>(m_state->m_numberOfBackupLogs),
                                        .isNoted = m_state->m_bLoggingEnabled});
        });
    return true;
}

void ILogger::checkAndFixMissingFiles() {
    Hold const hold(*m_state);
    attempt([this] { m_state->m_logFiles.repair(); });
}

bool ILogger::Start() {
    Hold const hold(*m_state);
    m_bStopped = false;
    bool isTableOpen = false;
    attempt([&] { isTableOpen = MessageResource::initialize(); });
    return isTableOpen;
}

bool ILogger::Stop() {
    constexpr long stoppingSubsystem = 0x4031;
    Hold const hold(*m_state);
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
    Hold const hold(*m_state);
    return attempt([&, this] {
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
