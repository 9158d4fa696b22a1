#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <utility>

namespace orvane_com::zun::file {

/// Owns an open file descriptor.
class FileDescriptor {
public:
    static constexpr int none = -1;

    explicit FileDescriptor(int descriptor = none) : m_descriptor(descriptor) {}
    FileDescriptor(FileDescriptor&& other) noexcept : m_descriptor(std::exchange(other.m_descriptor, none)) {}
    /// Closes what was open, errno left as it was.
    FileDescriptor& operator=(FileDescriptor&& other) noexcept;
    /// Leaves errno as it was.
    ~FileDescriptor();

    /// As openat(2), repeated when a signal interrupts it: close-on-exec, without waiting for a partner,
    /// never a controlling terminal and never descriptor 0, 1 or 2, which others write to unasked. Judges
    /// nothing: what somebody else may have prepared is opened by a Place. Not open, with errno set, on
    /// failure.
    static FileDescriptor openAt(int directory, char const* path, int flags, mode_t mode = 0);

    bool isOpen() const { return m_descriptor != none; }
    int get() const { return m_descriptor; }

    /// Gives the descriptor away: to who closes it from now on.
    int release() { return std::exchange(m_descriptor, none); }

    /// None, with errno set, on failure.
    std::optional<struct stat> status() const;

    /// How many bytes were read: fewer than `size` only at the file's end. None, with errno set, on failure.
    std::optional<std::size_t> read(char* bytes, std::size_t size) const;

    /// How many of the bytes were written: fewer than all, with errno set, on failure.
    std::size_t write(std::string_view bytes) const;

    /// fsync(2) to the medium, on systems where that takes more than the call, too.
    bool flush() const;

    /// close(2) with its result; the descriptor is given up in any case.
    bool close();

private:
    int m_descriptor;
};

/// Whether both are one file.
bool isSameFile(struct stat const& left, struct stat const& right);

/// The directory that a path stands in: all before its last slash, "/" when that is the first character, and
/// "." without a slash.
std::string parentOf(std::string_view path);

} // namespace orvane_com::zun::file
