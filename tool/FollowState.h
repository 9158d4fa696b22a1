#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace tool {

/// The place up to which a log was sent on, kept in a file that is replaced as a whole, so that whoever comes
/// after a killed process goes on there.
///
/// A batch is kept in the file before it is written. Where standard output is a regular file, its length then
/// tells how much of the batch had been written, and every byte comes out once. A pipe does not tell: there
/// the batch that was being written at the kill is written again.
class FollowState {
public:
    /// Fails when the file cannot be read, is none of these, or another process uses it.
    explicit FollowState(std::string path);
    FollowState(FollowState const&) = delete;
    FollowState& operator=(FollowState const&) = delete;
    ~FollowState();

    /// Empty when there was none.
    std::string const& place() const { return m_place; }

    /// Writes what is missing of the batch that the last process was writing.
    void finishBatch();

    /// Writes a batch of output, which may be empty; from then on `place` is the one that counts.
    void write(std::string_view batch, std::string const& place);

private:
    struct OutputFile {
        bool isRegular = false;
        std::uint64_t device = 0;
        std::uint64_t inode = 0;
        std::int64_t length = 0;
    };

    static OutputFile outputFile();
    void read();
    void save(OutputFile const& output, std::string_view batch, std::string const& place) const;

    std::string const m_path;
    int m_lock = -1;
    std::string m_place;
    OutputFile m_output;
    std::string m_batch;
};

} // namespace tool
