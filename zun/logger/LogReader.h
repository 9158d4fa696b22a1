#pragma once

#include <zun/Api.h>
#include <zun/logger/LogRecord.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace orvane_com::zun::logger {

/// Reads a log, its backups and its live file, as one: record after record, each once and in the order of the
/// files, while processes write and rotate it. An error whose lines are mixed with those of other threads is
/// one record, in the place of its last line. Memory is bounded: what is longer than a mebibyte comes in
/// pieces, and an error that stays unfinished for a thousand lines is given up.
///
/// Reading takes no lock and changes nothing. An object is used by one thread at a time; nothing is logged.
class ZUN_API LogReader {
public:
    enum class Mode : std::int32_t {
        /// To the end that the log has when the reader comes there.
        once,
        /// Going on for ever, over rotations, deletions and truncations. Lines that a slow process adds to a
        /// file that was rotated away come late, but come. A last line without end waits for its end.
        following
    };

    /// `path` is the live file's, in UTF-8. The files are looked for by the first `next`.
    explicit LogReader(std::string const& path, Mode mode = Mode::once);
    ~LogReader();
    LogReader(LogReader const&) = delete;
    LogReader& operator=(LogReader const&) = delete;

    /// False at the log's end, or when a file cannot be read, which `error` then tells; a further call goes
    /// on behind that file. Following, further calls give what has come since.
    bool next(LogRecord& record);

    /// The oldest error whose message has not come yet, which is given up: for one who follows and has waited
    /// long enough. False when there is none.
    bool nextUnfinished(LogRecord& record);

    /// What kept the last `next` from reading, with the file's path; empty when nothing did.
    std::string const& error() const;

    /// The place behind the record that was returned last, for `goTo` of a reader of the same log, in
    /// whatever process. Bytes to be kept as they are.
    std::string place() const;

    enum class Return : std::int32_t {
        found,
        /// The file of the place is gone. The reader goes on with the oldest file that is newer.
        gone,
        /// Those are no place's bytes. Nothing was changed.
        malformed
    };

    /// Before the first `next`: goes on at a place.
    Return goTo(std::string_view place);

    /// How many bytes were read, and how many the log's files have now: for a display of progress.
    std::uint64_t bytesRead() const;
    std::uint64_t size() const;

private:
    struct State;

    std::unique_ptr<State> const m_state;
};

} // namespace orvane_com::zun::logger
