#include "FollowState.h"

#include "Output.h"
#include "Program.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <sstream>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace tool {

namespace {

constexpr char stateHead[] = "zun-log-follow 1";
constexpr mode_t ownerOnly = S_IRUSR | S_IWUSR;

void writeAll(int descriptor, std::string_view bytes, std::string const& name) {
    while (!bytes.empty()) {
        ssize_t const count = ::write(descriptor, bytes.data(), bytes.size());
        if (count >= 0)
            bytes.remove_prefix(static_cast<std::size_t>(count));
        else if (errno != EINTR)
            throw Failure::ofSystem(name, errno);
    }
}

} // namespace

FollowState::FollowState(std::string path) : m_path(std::move(path)) {
    std::string const lock = m_path + ".lock";
    m_lock = open(lock.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, ownerOnly);
    if (m_lock < 0)
        throw Failure::ofSystem(lock, errno);
    try {
        if (flock(m_lock, LOCK_EX | LOCK_NB) != 0)
            throw errno == EWOULDBLOCK ? Failure(m_path + ": another process follows with it")
                                       : Failure::ofSystem(lock, errno);
        read();
    } catch (...) {
        close(m_lock);
        throw;
    }
}

FollowState::~FollowState() {
    close(m_lock);
}

void FollowState::read() {
    if (access(m_path.c_str(), F_OK) != 0 && errno == ENOENT)
        return;
    requireReadable(m_path);
    std::ifstream file(m_path, std::ios::binary);
    std::string const bytes{std::istreambuf_iterator<char>(file), {}};
    std::size_t const end = bytes.find('\n');
    std::istringstream numbers(bytes.substr(0, end));
    std::string name;
    int version = 0;
    std::size_t batch = 0;
    std::size_t place = 0;
    numbers >> name >> version >> m_output.isRegular >> m_output.device >> m_output.inode >>
        m_output.length >> batch >> place;
    if (!numbers || name + " " + std::to_string(version) != stateHead || end == std::string::npos ||
        batch > bytes.size() || place > bytes.size() || end + 1 + batch + place != bytes.size())
        throw Failure(m_path + ": it is no state of \"zun log follow\"");
    m_batch = bytes.substr(end + 1, batch);
    m_place = bytes.substr(end + 1 + batch);
}

/// Its length is where the next byte goes.
FollowState::OutputFile FollowState::outputFile() {
    struct stat status {};
    if (fstat(STDOUT_FILENO, &status) != 0 || !S_ISREG(status.st_mode))
        return {};
    bool const isAppended = (fcntl(STDOUT_FILENO, F_GETFL) & O_APPEND) != 0;
    return {true, static_cast<std::uint64_t>(status.st_dev), static_cast<std::uint64_t>(status.st_ino),
            isAppended ? status.st_size : lseek(STDOUT_FILENO, 0, SEEK_CUR)};
}

void FollowState::save(OutputFile const& output, std::string_view batch, std::string const& place) const {
    std::ostringstream text;
    text << stateHead << ' ' << output.isRegular << ' ' << output.device << ' ' << output.inode << ' '
         << output.length << ' ' << batch.size() << ' ' << place.size() << '\n'
         << batch << place;
    // The lock is held: nobody else makes this name.
    std::string const next = m_path + ".new";
    unlink(next.c_str());
    int const file = open(next.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, ownerOnly);
    if (file < 0)
        throw Failure::ofSystem(next, errno);
    try {
        writeAll(file, text.str(), next);
        if (fsync(file) != 0 || std::rename(next.c_str(), m_path.c_str()) != 0)
            throw Failure::ofSystem(next, errno);
    } catch (Failure const&) {
        close(file);
        unlink(next.c_str());
        throw;
    }
    close(file);
}

void FollowState::finishBatch() {
    if (m_batch.empty())
        return;
    OutputFile const now = outputFile();
    std::int64_t written = 0;
    if (now.isRegular && m_output.isRegular && now.device == m_output.device && now.inode == m_output.inode &&
        now.length >= m_output.length)
        written =
            std::min<std::int64_t>(now.length - m_output.length, static_cast<std::int64_t>(m_batch.size()));
    Output::standard().write(std::string_view(m_batch).substr(static_cast<std::size_t>(written)));
    Output::standard().flush();
    m_batch.clear();
    save({}, {}, m_place);
}

void FollowState::write(std::string_view batch, std::string const& place) {
    OutputFile const output = outputFile();
    // The state says that all batches before this one are there.
    if (output.isRegular)
        fsync(STDOUT_FILENO);
    save(output, batch, place);
    m_place = place;
    if (batch.empty())
        return;
    Output::standard().write(batch);
    Output::standard().flush();
    if (!output.isRegular)
        save({}, {}, place);
}

} // namespace tool
