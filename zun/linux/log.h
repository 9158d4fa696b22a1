#pragma once

#include <zun/Api.h>
#include <zun/logger/ILogger.h>
#include <zun/text/AString.h> // a trace owns its texts, and programs get AString with this header

// The diagnostic front door: what every class of the library, and every program on it, reports through.
//
// A report is a pair of wide texts: the group, a short name of the reporting area, and the message. A null
// one is a programming error that ends the process with an assertion. A report below the minimum level takes
// no lock and allocates nothing. Every function may be called by any thread, but by no signal handler, and
// leaves errno as it found it. A report throws nothing: one that there is no memory for is lost. Making or
// changing a trace may throw std::bad_alloc.
//
// A thread that has traces runs code of the library when it ends: a copy of the library that is linked into a
// plug-in has a log and traces of its own, and the plug-in must stay loaded while such threads live.

ZUN_API void logMessage(orvane_com::zun::logger::LogLevel const& level, wchar_t const* group,
                        wchar_t const* message);

/// At level Debug.
ZUN_API void logDetail(wchar_t const* group, wchar_t const* message);

/// At level Info.
ZUN_API void logInfo(wchar_t const* group, wchar_t const* message);

/// At level Err, without the thread's traces.
ZUN_API void logErrorNoStack(wchar_t const* group, wchar_t const* message);

/// At level Err: "Error trace:", the thread's open traces, outermost first, then the message indented.
ZUN_API void logError(wchar_t const* group, wchar_t const* message);

/// At level Err, "internal error: " before the message, without the thread's traces.
ZUN_API void logInternalError(wchar_t const* group, wchar_t const* message);

/// At level Debug, "=" before the message.
ZUN_API void logResult(wchar_t const* group, wchar_t const* message);

/// logError with the system's text for errno.
ZUN_API void logErrno(wchar_t const* group);

/// logErrno when `failed`. Returns `failed`.
ZUN_API bool logErrnoIf(wchar_t const* group, bool failed);

ZUN_API bool isDetailLoggingEnabled();

/// False: no list is kept.
ZUN_API bool logDetailListContains(char const* name);

/// Attaches the log file `name` (unless `skipAttach`), starts the logger and sets the minimum level Info. The
/// other arguments are not used. To be called before other threads log.
ZUN_API void setupLog(wchar_t const* name, wchar_t const* second, bool third, bool skipAttach);

/// Does nothing: the logger goes on.
ZUN_API void finishLog();

/// False silences everything below Crit; true does nothing.
ZUN_API void setLogging(bool on);

/// Minimum level Debug or Info.
ZUN_API void setLogLevelDetailed(bool detailed);

/// Passes `kilobytes` * 1024 to the logger as its limit in KiB.
ZUN_API void setLogFileSize(unsigned long kilobytes);

/// The number of backups that rotation keeps, at least 1.
ZUN_API void setMaxRollovers(unsigned long count);

/// Runs `body` inside the trace "Main thread" and logs "Exit program" after it. Returns true.
ZUN_API bool setupMainThreadForLogging(void (*body)());

/// setupLog, then `mainFunction` inside the trace "Main thread", then "Exit program". Returns what
/// `mainFunction` returned; its exceptions pass through.
ZUN_API int runMainWithLogging(int (*mainFunction)(int, char**), int argc, char** argv, wchar_t const* name,
                               wchar_t const* second, bool skipAttach);

class ATraceStack;

/// What the thread is doing, from the object's making to its end: every logError of the thread writes its
/// open traces before the error. Traces belong to the thread that made them and end in reverse order of their
/// making.
class ZUN_API ATrace {
public:
    /// Without group and message, at information level; logs nothing.
    ATrace();

    /// Logs the message, at level Debug when `detail`, else Info, if `logNow`.
    ATrace(wchar_t const* group, wchar_t const* message, bool detail, bool logNow);

    ATrace(ATrace const&) = delete;
    ATrace& operator=(ATrace const&) = delete;
    virtual ~ATrace();

    /// Replaces the message.
    void set(wchar_t const* message, bool logNow);

    /// Logs the message at the trace's level.
    void log() const;

    /// Logs the messages of this trace and all older ones as errors, oldest first.
    void chainLog() const;

private:
    ATraceStack* m_stack;
    ATrace* m_previous;
    AString m_group;
    bool m_detail;
    AString m_message;
};

/// A trace that is logged at once at level Info.
class ZUN_API AnInfoTrace : public ATrace {
public:
    AnInfoTrace(wchar_t const* group, wchar_t const* message);
};

/// A trace that is logged at once at level Debug.
class ZUN_API ADetailTrace : public ATrace {
public:
    ADetailTrace(wchar_t const* group, wchar_t const* message);
};

/// One thread's open traces, innermost first.
class ZUN_API ATraceStack {
public:
    ATraceStack() = default;
    ATraceStack(ATraceStack const&) = delete;
    ATraceStack& operator=(ATraceStack const&) = delete;

    /// Deletes the traces that are still open: at a thread's end these live on the heap.
    ~ATraceStack();

    /// Writes an error with its context, as logError does.
    void log(wchar_t const* group, wchar_t const* message) const;

private:
    friend class ATrace;

    ATrace* m_top = nullptr;
};

/// The calling thread's stack, made on first use and deleted when the thread ends.
ZUN_API ATraceStack* getThreadTraceStack();
