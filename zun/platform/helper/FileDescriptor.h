#pragma once

#include <string_view>
#include <utility>

namespace orvane_com::zun::helper {

/// Owns an open file descriptor.
class FileDescriptor {
public:
    static constexpr int none = -1;

    explicit FileDescriptor(int descriptor = none) : m_descriptor(descriptor) {}
    FileDescriptor(FileDescriptor&& other) noexcept : m_descriptor(std::exchange(other.m_descriptor, none)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept {
        std::swap(m_descriptor, other.m_descriptor);
        return *this;
    }
    /// Leaves errno as it was.
    ~FileDescriptor();

    /// As open(2), close-on-exec, repeated when a signal interrupts it. Not open, with errno set, on failure.
    static FileDescriptor open(char const* path, int flags, unsigned mode = 0);

    bool isOpen() const { return m_descriptor != none; }
    int get() const { return m_descriptor; }

    /// How many of the bytes were written: fewer than all, with errno set, on failure.
    std::size_t write(std::string_view bytes) const;

    /// fsync(2) to the medium, on systems where that takes more than the call, too.
    bool flush() const;

    /// close(2) with its result; the descriptor is given up in any case.
    bool close();

private:
    int m_descriptor;
};

} // namespace orvane_com::zun::helper
