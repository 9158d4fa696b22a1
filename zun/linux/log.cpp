#include <zun/linux/log.h>
#include <zun/linux/requireTexts.h>
#include <zun/platform/file/Attempt.h>

#include <boost/thread/tss.hpp>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <iterator>
#include <memory>
#include <new>
#include <string_view>
#include <type_traits>

namespace logger = orvane_com::zun::logger;

using logger::ILogger;
using logger::LogLevel;

/// What the front door may do that other callers of the logger may not: look at its level without a call, and
/// hand over a message in pieces.
class AFrontDoor {
public:
    static bool passes(LogLevel level) { return ILogger::passes(level); }

    static void report(LogLevel level, wchar_t const* group, wchar_t const* message,
                       std::wstring_view before = {}, std::wstring_view after = {}) {
        requireTexts(group, message);
        if (passes(level))
            write(level, group, message, before, after);
    }

private:
    [[gnu::noinline]] static void write(LogLevel level, wchar_t const* group, wchar_t const* message,
                                        std::wstring_view before, std::wstring_view after) {
        // There may be no memory for the logger itself.
        orvane_com::zun::file::attempt([&] {
            ILogger::GetLogger()->writeGroupLine(level, group, {before, message, after});
        });
    }
};

namespace {

/// The threads' trace stacks. They are never destroyed: other static objects may report until the process
/// ends, and the traces of a main function that calls exit stay on its call stack.
boost::thread_specific_ptr<ATraceStack>& threadStacks() {
    using Stacks = boost::thread_specific_ptr<ATraceStack>;
    alignas(Stacks) static char room[sizeof(Stacks)];
    // NOLINTNEXTLINE(cppcoreguidelines-owning-memory): made in that room
    static auto* const t_Stack = new (room) Stacks;
    return *t_Stack;
}

/// The system's text for an error number, in room of its own: what reports that memory is short needs none.
class ErrorText {
public:
    explicit ErrorText(int error) {
        char room[std::extent_v<decltype(m_wide)>] = "";
        std::size_t const count =
            std::mbstowcs(m_wide, narrow(strerror_r(error, room, sizeof room), room), std::size(m_wide) - 1);
        if (count == static_cast<std::size_t>(-1))
            std::swprintf(m_wide, std::size(m_wide), L"error %d", error);
    }

    wchar_t const* wide() const { return m_wide; }

private:
    // There are two strerror_r(3): one returns the text, the other a result.
    static char const* narrow(char const* text, char const*) { return text; }
    [[maybe_unused]] static char const* narrow(int, char const* room) { return room; }

    wchar_t m_wide[256] = L"";
};

} // namespace

void logMessage(LogLevel const& level, wchar_t const* group, wchar_t const* message) {
    AFrontDoor::report(level, group, message);
}

void logDetail(wchar_t const* group, wchar_t const* message) {
    AFrontDoor::report(logger::Debug, group, message);
}

void logInfo(wchar_t const* group, wchar_t const* message) {
    AFrontDoor::report(logger::Info, group, message);
}

void logErrorNoStack(wchar_t const* group, wchar_t const* message) {
    AFrontDoor::report(logger::Err, group, message);
}

void logError(wchar_t const* group, wchar_t const* message) {
    ATraceStack const none;
    ATraceStack const* const stack = threadStacks().get();
    (stack ? stack : &none)->log(group, message);
}

void logInternalError(wchar_t const* group, wchar_t const* message) {
    AFrontDoor::report(logger::Err, group, message, L"internal error: ");
}

void logResult(wchar_t const* group, wchar_t const* message) {
    AFrontDoor::report(logger::Debug, group, message, L"=");
}

void logErrno(wchar_t const* group) {
    requireTexts(group, L"");
    if (!AFrontDoor::passes(logger::Err))
        return;
    int const error = errno;
    ErrorText const text(error);
    logError(group, text.wide());
    errno = error;
}

bool logErrnoIf(wchar_t const* group, bool failed) {
    if (failed)
        logErrno(group);
    return failed;
}

bool isDetailLoggingEnabled() {
    return ILogger::GetLogger()->isDetailLoggingEnabled();
}

bool logDetailListContains(char const*) {
    return false;
}

void setupLog(wchar_t const* name, wchar_t const*, bool, bool skipAttach) {
    ILogger* const instance = ILogger::GetLogger();
    if (!skipAttach)
        instance->attach(name);
    instance->Start();
    instance->setMinLogLevel(logger::Info);
}

void finishLog() {}

void setLogging(bool on) {
    if (!on)
        ILogger::GetLogger()->setMinLogLevel(logger::Crit);
}

void setLogLevelDetailed(bool detailed) {
    ILogger::GetLogger()->setMinLogLevel(detailed ? logger::Debug : logger::Info);
}

void setLogFileSize(unsigned long kilobytes) {
    ILogger::GetLogger()->setMaxLogFileSize(static_cast<long>(kilobytes << 10));
}

void setMaxRollovers(unsigned long count) {
    ILogger::GetLogger()->setNumberOfBackupLogs(static_cast<long>(count == 0 ? 1 : count));
}

bool setupMainThreadForLogging(void (*body)()) {
    ADetailTrace const trace(L"Log", L"Main thread");
    body();
    logInfo(L"Log", L"Exit program");
    return true;
}

int runMainWithLogging(int (*mainFunction)(int, char**), int argc, char** argv, wchar_t const* name,
                       wchar_t const* second, bool skipAttach) {
    setupLog(name, second, false, skipAttach);
    ADetailTrace const trace(L"Log", L"Main thread");
    int const result = mainFunction(argc, argv);
    logInfo(L"Log", L"Exit program");
    return result;
}

ATrace::ATrace() : m_stack(getThreadTraceStack()), m_previous(m_stack->m_top), m_detail(false) {
    m_stack->m_top = this;
}

ATrace::ATrace(wchar_t const* group, wchar_t const* message, bool detail, bool logNow)
    : m_stack(getThreadTraceStack()), m_previous(m_stack->m_top), m_group(group), m_detail(detail) {
    set(message, logNow);
    m_stack->m_top = this;
}

ATrace::~ATrace() {
    m_stack->m_top = m_previous;
}

void ATrace::set(wchar_t const* message, bool logNow) {
    m_message = message;
    if (logNow)
        log();
}

void ATrace::log() const {
    if (m_detail)
        logDetail(m_group, m_message);
    else
        logInfo(m_group, m_message);
}

void ATrace::chainLog() const {
    if (m_previous)
        m_previous->chainLog();
    AFrontDoor::report(logger::Err, m_group, m_message, L" [", L"]->");
}

AnInfoTrace::AnInfoTrace(wchar_t const* group, wchar_t const* message)
    : ATrace(group, message, false, true) {}

ADetailTrace::ADetailTrace(wchar_t const* group, wchar_t const* message)
    : ATrace(group, message, true, true) {}

ATraceStack::~ATraceStack() {
    while (m_top)
        // NOLINTNEXTLINE(clang-analyzer-cplusplus.NewDelete): deleting it makes the next older one the top
        delete m_top;
}

void ATraceStack::log(wchar_t const* group, wchar_t const* message) const {
    requireTexts(group, message);
    if (!AFrontDoor::passes(logger::Err))
        return;
    logErrorNoStack(group, L"Error trace:");
    if (m_top)
        m_top->chainLog();
    AFrontDoor::report(logger::Err, group, message, L"  ");
}

ATraceStack* getThreadTraceStack() {
    boost::thread_specific_ptr<ATraceStack>& stacks = threadStacks();
    if (!stacks.get()) {
        auto stack = std::make_unique<ATraceStack>();
        stacks.reset(stack.get());
        static_cast<void>(stack.release());
    }
    return stacks.get();
}
