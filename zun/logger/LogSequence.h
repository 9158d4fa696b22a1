#pragma once

#include <zun/logger/Generations.h>
#include <zun/platform/file/FileDescriptor.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <utility>
#include <vector>

namespace orvane_com::zun::logger {

/// The bytes of a log's files, from the oldest backup to the live file, one file after the other.
///
/// A file is known by device, inode and a check sum of the bytes in front of the place that was reached: so
/// rotations are followed whatever the file is called by now, and a file that was truncated, or has got the
/// inode of another, is read from its start. Following, files that were rotated away are looked at for a
/// while: a process that had opened one may still write to it.
class LogSequence {
public:
    LogSequence(std::string const& path, bool isFollowing);

    /// What was read and not consumed yet, of one file.
    std::string_view bytes() const { return {m_buffer.get() + m_begin, m_end - m_begin}; }
    /// Where in that file they begin.
    std::int64_t offset() const { return m_offset + static_cast<std::int64_t>(m_begin); }
    /// Nothing more comes behind these bytes: the file was left, or what follows is another's.
    bool isEnded() const { return m_onceConsumed != Next::read; }
    void consume(std::size_t count) {
        m_begin += count;
        reading().offset = offset();
    }

    /// Reads more bytes, of the next file when this one is ended and its bytes are consumed. False when there
    /// are none now, or on an error.
    bool more();

    /// Whether the file's lines end without a carriage return, as those of standard output do.
    bool endsLinesInLineFeed();

    std::string const& error() const { return m_error; }

    /// The files that are being read or were left last, to be found again by goTo.
    struct Place {
        std::uint64_t device = 0;
        std::uint64_t inode = 0;
        std::int64_t offset = 0;
        std::uint64_t checkSum = 0;
    };
    /// The file that comes next first.
    std::vector<Place> places() const;
    /// False when the first file is gone.
    bool goTo(std::vector<Place> const& places);

    std::uint64_t bytesRead() const { return m_bytesRead; }
    std::uint64_t size() const;

private:
    using Clock = std::chrono::steady_clock;

    struct File : Place {
        file::FileDescriptor descriptor;
        /// The size that the file had when it was looked at last.
        std::int64_t seen = 0;
        Clock::time_point left;
        std::optional<bool> endsLinesInLineFeed;
    };

    /// What becomes of the file once its bytes are consumed.
    enum class Next { read, restart, leave, giveUp, end };

    static bool isSame(Place const& place, struct stat const& status);
    static bool isReached(Place const& place, int descriptor);
    bool isNamed(Place const& place, std::int32_t number) const;
    std::string pathOf(std::int32_t number) const;
    std::vector<std::int32_t> numbers() const;
    std::optional<std::int32_t> numberOf(Place const& place) const;
    std::optional<std::int32_t> oldestUnread() const;
    bool wasLeft(std::int32_t number) const;

    File const& reading() const { return m_late != noFile ? m_left[m_late] : m_current; }
    File& reading() { return const_cast<File&>(std::as_const(*this).reading()); }
    bool isExpired(std::size_t left) const;
    std::uint64_t checkSum() const;
    void select(std::size_t late);
    bool selectLateFile();
    bool open(std::string const& path, File& file);
    bool find(Place const& place, File& file);
    bool read();
    bool isUnchanged() const;
    bool endOfFile();
    bool findSuccessor();
    void leave();
    void settle();

    static constexpr std::size_t noFile = static_cast<std::size_t>(-1);

    std::string const m_path;
    Generations const m_generations;
    bool const m_isFollowing;
    std::string m_error;
    std::uint64_t m_bytesRead = 0;

    /// The file that the log goes on in; without a descriptor before the first, and when it is gone.
    File m_current;
    /// Whether the path was seen to name another file than the current one.
    bool m_isRotated = false;
    File m_successor;
    std::string m_successorsError;
    /// Latest first.
    std::deque<File> m_left;
    /// Of m_left, while one of them is read.
    std::size_t m_late = noFile;

    std::unique_ptr<char[]> m_buffer;
    std::size_t m_capacity = 0;
    std::size_t m_begin = 0;
    std::size_t m_end = 0;
    /// Of the buffer's first byte, in the file.
    std::int64_t m_offset = 0;
    Next m_onceConsumed = Next::read;
};

} // namespace orvane_com::zun::logger
