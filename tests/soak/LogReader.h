#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>

/// The message number `number` of a thread: it can be told from every other, all of it.
std::string soakMessage(std::size_t worker, std::size_t thread, std::uint64_t number);

/// Reads log files that soakMessage lines were written to.
class LogReader {
public:
    using Thread = std::pair<std::size_t, std::size_t>;

    /// All files of a directory, at any depth, whose names start with `name`.
    void readDirectory(std::string const& directory, std::string const& name);

    /// How often each message was found.
    std::map<Thread, std::map<std::uint64_t, int>> const& found() const { return m_found; }
    /// Lines that are nothing that anybody wrote.
    std::uint64_t mixed() const { return m_mixed; }
    std::string const& firstMixed() const { return m_firstMixed; }
    /// Lines that end where a page of the file does: the kernel may leave a killed process's write there.
    std::uint64_t cutAtPage() const { return m_cutAtPage; }

private:
    void read(std::string_view text);
    bool take(std::string_view line);

    std::map<Thread, std::map<std::uint64_t, int>> m_found;
    std::uint64_t m_mixed = 0;
    std::string m_firstMixed;
    std::uint64_t m_cutAtPage = 0;
};
