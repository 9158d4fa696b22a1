#pragma once

#include <zun/Api.h>
#include <zun/logger/ISubsystem.h>
#include <zun/logger/MultiArgs.h>
#include <zun/logger/eComponent.h>

#include <atomic>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>

namespace orvane_com::zun::logger {

/// Greater is more severe.
enum LogLevel : std::int32_t { Debug = 0, Info = 1, Notice = 2, Warn = 3, Err = 4, Crit = 5, Emer = 6 };

/// The levels' tags as they stand in a log line.
extern ZUN_API std::wstring const log_debug;
extern ZUN_API std::wstring const log_info;
extern ZUN_API std::wstring const log_notice;
extern ZUN_API std::wstring const log_warn;
extern ZUN_API std::wstring const log_err;
extern ZUN_API std::wstring const log_crit;
extern ZUN_API std::wstring const log_emer;

/// The log file of a program that knows no log directory.
extern ZUN_API std::wstring const default_log_file;
extern ZUN_API std::wstring const default_log_prefix;

/// The entry points of a string-table library; for programs that load one.
extern ZUN_API std::string const GetTableFunction;
extern ZUN_API std::string const FreeTableFunction;

} // namespace orvane_com::zun::logger

/// The diagnostic front door, see zun/linux/log.h.
class AFrontDoor;

namespace orvane_com::zun::logger {

/// The process's log: each accepted message becomes one line in every attached file, or on standard output
/// when none is attached. Files and standard output are UTF-8 in every locale.
///
/// A file that grew over the limit is rotated into numbered backups before the next line; a file that was
/// deleted, or replaced by another, is opened anew. Several processes may write one file: a line is appended
/// by one write, and a rotation is done by one process at a time. What a full disk leaves of a line ends
/// before the next line of the same process; a line of another process may follow in between without a line
/// end.
///
/// Any thread may call any member except GetLogger's first call and FreeLogger; a signal handler may call
/// none, and neither may the child that a process of several threads forks. All leave errno alone. No member
/// reports a failed write: a line that cannot be written, for want of memory too, is lost, a file that cannot
/// be reopened is detached. None throws, but that GetLogger's first call and what returns a text may throw
/// std::bad_alloc.
class ZUN_API ILogger final : public subsystem::ISubsystem {
public:
    /// The process's logger, made on first use: stopped, at level Info, without files.
    static ILogger* GetLogger();

    /// Destroys the logger and closes its files. No other thread may be using it.
    static void FreeLogger();

    ~ILogger() override;
    ILogger(ILogger const&) = delete;
    ILogger& operator=(ILogger const&) = delete;

    /// Opens an absolute path for appending, with all missing directories, and adds it to the outputs. False
    /// when it cannot be opened; so a name without a slash, which is taken for a missing directory. A path
    /// that is attached stays as it is.
    bool attach(std::wstring const& path);

    /// False when the path is not attached.
    bool detach(std::wstring const& path);

    /// A line without group and level tag. A narrow message is UTF-8.
    void logMessage(LogLevel const& level, std::wstring const& message);
    void logMessage(LogLevel const& level, std::string const& message);

    /// A line with its group and level tag.
    void logMessage(LogLevel const& level, std::wstring const& group, std::wstring const& message);

    /// A line with a message of the built-in table, its %s places filled in order. An unknown id gives an
    /// empty text.
    void logMessage(LogLevel const& level, eComponent const& component, long const& id,
                    MultiArgs const& arguments);

    /// The same; null arguments are skipped.
    void logMessage(LogLevel const& level, eComponent const& component, long const& id,
                    wchar_t const* argument1 = nullptr, wchar_t const* argument2 = nullptr,
                    wchar_t const* argument3 = nullptr, wchar_t const* argument4 = nullptr,
                    wchar_t const* argument5 = nullptr, wchar_t const* argument6 = nullptr,
                    wchar_t const* argument7 = nullptr, wchar_t const* argument8 = nullptr,
                    wchar_t const* argument9 = nullptr, wchar_t const* argument10 = nullptr);

    /// The level's tag; that of Info for a level that is none.
    std::wstring getLogLevelString(LogLevel const& level);

    /// " [name] ", or default_log_prefix for a value that is no component.
    std::wstring getComponent(eComponent const& component);

    /// Each stores its value unchecked and returns true. Where no backups are to be kept, a file grows on.
    bool setMinLogLevel(LogLevel const& level);
    bool setMaxLogFileSize(long const& kibibytes);
    bool setNumberOfBackupLogs(long const& count);

    /// False: the switch that would let every level through is off in this version.
    bool debugEnabled();

    /// True when the minimum level is Debug. Takes no lock.
    bool isDetailLoggingEnabled();

    /// Rotates every attached file that is over the limit. Returns true.
    bool logRotate();

    /// Opens every attached file whose path is gone, or names another file, anew.
    void checkAndFixMissingFiles();

    /// Opens the gate for messages and the message table; false when the table could not be opened.
    bool Start() override;

    /// Writes a farewell line and closes the gate. Returns true.
    bool Stop() override;

    /// Takes no lock.
    bool CheckSubsystem() override;

    /// Does nothing and returns true.
    bool EnforcePolicy() override;

    /// Takes the logging policy from four texts: three numbers read as booleans and a size in KiB. A text
    /// that is no number reads as false or 0, a number that is neither 0 nor 1 as true, a blank text changes
    /// nothing. Detail logging sets the minimum level to Debug, otherwise it becomes Info. Returns true;
    /// false, with the policy as it was, only when there is no memory to read it.
    bool EnforcePolicy(std::wstring const& loggingEnabled, std::wstring const& detailLogging,
                       std::wstring const& rotationEnabled, std::wstring const& maxLogFileSize);

private:
    friend class ::AFrontDoor;

    ILogger();

    struct State;
    class Hold;

    /// False for a level below the minimum. Takes no lock.
    static bool passes(LogLevel level) { return level >= m_minLogLevel.load(std::memory_order_relaxed); }

    /// Writes a line that `buildLine` appends to its prefix, when the gate is open for the level.
    template <typename BuildLine>
    void writeLine(LogLevel level, BuildLine const& buildLine);

    /// Writes a group line whose message is the given pieces, one after the other.
    void writeGroupLine(LogLevel level, std::wstring_view group,
                        std::initializer_list<std::wstring_view> message);

    static ILogger* m_pLogger;

    /// Of the one logger, and while there is none. Not exported, so that a look at it is one load.
    [[gnu::visibility("hidden")]] static std::atomic<std::int32_t> m_minLogLevel;

    std::atomic<bool> m_bStopped{true};
    std::unique_ptr<State> const m_state;
};

} // namespace orvane_com::zun::logger
