#include <zun/logger/LogSequence.h>
#include <zun/logger/parseLogLine.h>
#include <zun/platform/file/Place.h>
#include <zun/platform/file/Refusal.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <limits>
#include <system_error>
#include <unistd.h>

namespace orvane_com::zun::logger {

namespace {

constexpr std::size_t chunk = std::size_t{256} * 1024;

/// How many bytes in front of a place tell whether the file is still the one that was read.
constexpr std::size_t checked = 64;

/// A file that was left is looked at as long as it is one of so many, and so young.
constexpr std::size_t watchedFiles = 32;
constexpr std::chrono::seconds watchedTime(60);

/// Files that were left are remembered, to be told from those that were not read yet.
constexpr std::size_t rememberedFiles = 64;

constexpr std::int32_t liveFile = 0;

/// pread(2), going on after signals and short reads. -1 on failure.
ssize_t readAt(int descriptor, char* room, std::size_t size, std::int64_t offset) {
    std::size_t done = 0;
    while (done < size) {
        ssize_t const count = pread(descriptor, room + done, size - done, offset + static_cast<off_t>(done));
        if (count == 0)
            break;
        if (count > 0)
            done += static_cast<std::size_t>(count);
        else if (errno != EINTR)
            return -1;
    }
    return static_cast<ssize_t>(done);
}

/// Not open, with errno set and reasonFor it, on failure and when it is no regular file.
file::FileDescriptor openLog(std::string const& path) {
    std::optional<file::Place> const place = file::Place::find(path);
    return place ? place->open(file::Place::Kind::data, O_RDONLY) : file::FileDescriptor();
}

/// FNV-1a, 64 bits.
std::uint64_t checkSumOf(std::string_view bytes) {
    std::uint64_t sum = 0xCBF29CE484222325;
    for (char const byte : bytes)
        sum = (sum ^ static_cast<unsigned char>(byte)) * 0x100000001B3;
    return sum;
}

} // namespace

LogSequence::LogSequence(std::string const& path, bool isFollowing)
    : m_path(path), m_generations(path), m_isFollowing(isFollowing) {}

bool LogSequence::isSame(Place const& place, struct stat const& status) {
    return static_cast<std::uint64_t>(status.st_ino) == place.inode &&
           static_cast<std::uint64_t>(status.st_dev) == place.device;
}

bool LogSequence::isReached(Place const& place, int descriptor) {
    char bytes[checked];
    auto const count = static_cast<std::size_t>(std::min<std::int64_t>(place.offset, checked));
    ssize_t const got = readAt(descriptor, bytes, count, place.offset - static_cast<std::int64_t>(count));
    return got == static_cast<ssize_t>(count) && checkSumOf({bytes, count}) == place.checkSum;
}

std::string LogSequence::pathOf(std::int32_t number) const {
    return number == liveFile ? m_path : m_generations.path(number);
}

bool LogSequence::isNamed(Place const& place, std::int32_t number) const {
    struct stat status {};
    return stat(pathOf(number).c_str(), &status) == 0 && isSame(place, status);
}

/// The live file's, whether it exists or not, and those of the backups, ascending.
std::vector<std::int32_t> LogSequence::numbers() const {
    std::vector<std::int32_t> all = m_generations.existing(std::numeric_limits<std::int32_t>::max());
    all.push_back(liveFile);
    std::reverse(all.begin(), all.end());
    // A rotation may have moved the oldest one on meanwhile.
    while (access(pathOf(all.back() + 1).c_str(), F_OK) == 0)
        all.push_back(all.back() + 1);
    return all;
}

/// Ascending, as the files move: none slips by.
std::optional<std::int32_t> LogSequence::numberOf(Place const& place) const {
    for (std::int32_t const number : numbers())
        if (isNamed(place, number))
            return number;
    return std::nullopt;
}

bool LogSequence::wasLeft(std::int32_t number) const {
    file::FileDescriptor file;
    return std::any_of(m_left.begin(), m_left.end(), [&](File const& left) {
        if (!isNamed(left, number) || (left.offset == 0 && !left.descriptor.isOpen()))
            return false;
        // An inode that is held open has not been given to another file.
        if (!left.descriptor.isOpen() && !file.isOpen())
            file = openLog(pathOf(number));
        return left.descriptor.isOpen() || (file.isOpen() && isReached(left, file.get()));
    });
}

/// From the live file on, those that were not left yet are newer than those that were.
std::optional<std::int32_t> LogSequence::oldestUnread() const {
    std::optional<std::int32_t> oldest;
    for (std::int32_t const number : numbers()) {
        if (access(pathOf(number).c_str(), F_OK) != 0)
            continue;
        if (wasLeft(number))
            break;
        oldest = number;
    }
    return oldest;
}

bool LogSequence::open(std::string const& path, File& file) {
    file.descriptor = openLog(path);
    std::optional<struct stat> status = file.descriptor.isOpen() ? file.descriptor.status() : std::nullopt;
    if (!status) {
        int const error = errno;
        file.descriptor.close();
        if (error != ENOENT)
            m_error = path + ": " + file::reasonFor(error);
        status.emplace();
        if (stat(path.c_str(), &*status) != 0)
            return false;
    }
    file.device = static_cast<std::uint64_t>(status->st_dev);
    file.inode = static_cast<std::uint64_t>(status->st_ino);
    return file.descriptor.isOpen();
}

bool LogSequence::find(Place const& place, File& file) {
    // Again when a rotation came between.
    for (std::optional<std::int32_t> number; place.inode != 0 && (number = numberOf(place));) {
        if (open(pathOf(*number), file) && file.inode == place.inode && file.device == place.device) {
            static_cast<Place&>(file) = place;
            return isReached(place, file.descriptor.get());
        }
        if (!std::exchange(m_error, {}).empty())
            return false;
    }
    return false;
}

std::vector<LogSequence::Place> LogSequence::places() const {
    std::vector<Place> all{m_current};
    all.insert(all.end(), m_left.begin(), m_left.end());
    all[m_late != noFile ? m_late + 1 : 0].checkSum = checkSum();
    return all;
}

bool LogSequence::goTo(std::vector<Place> const& places) {
    m_left.clear();
    for (std::size_t i = 1; i < places.size(); ++i) {
        // Nothing tells the file that nothing was read of from a later one with its inode.
        if (places[i].offset == 0)
            continue;
        File& left = m_left.emplace_back();
        if (!find(places[i], left) || !m_isFollowing)
            left.descriptor.close();
        static_cast<Place&>(left) = places[i];
        left.seen = left.offset;
        left.left = Clock::now();
    }
    m_current = File();
    if (places.empty() || places.front().offset == 0)
        return true;
    if (!find(places.front(), m_current)) {
        m_current.descriptor.close();
        static_cast<Place&>(m_current) = places.front();
        leave();
        return false;
    }
    m_late = noFile;
    select(noFile);
    return true;
}

std::uint64_t LogSequence::size() const {
    std::uint64_t sum = 0;
    struct stat status {};
    for (std::int32_t const number : numbers())
        if (stat(pathOf(number).c_str(), &status) == 0)
            sum += static_cast<std::uint64_t>(status.st_size);
    return sum;
}

/// Of what stands in front of the next byte.
std::uint64_t LogSequence::checkSum() const {
    std::size_t const count = std::min(m_begin, checked);
    return checkSumOf({m_buffer.get() + m_begin - count, count});
}

bool LogSequence::isExpired(std::size_t left) const {
    return left >= watchedFiles || Clock::now() - m_left[left].left > watchedTime;
}

/// Goes on with another file where it was left.
void LogSequence::select(std::size_t late) {
    m_late = late;
    File& file = reading();
    std::int64_t const front = std::min<std::int64_t>(file.offset, checked);
    if (!m_buffer) {
        m_buffer = std::make_unique_for_overwrite<char[]>(chunk);
        m_capacity = chunk;
    }
    m_begin = m_end = 0;
    m_offset = 0;
    if (!file.descriptor.isOpen())
        return;
    if (!isReached(file, file.descriptor.get()) ||
        readAt(file.descriptor.get(), m_buffer.get(), static_cast<std::size_t>(front), file.offset - front) !=
            front) {
        file.offset = 0;
        return;
    }
    m_offset = file.offset - front;
    m_begin = m_end = static_cast<std::size_t>(front);
}

/// One that was left and has grown since, or has to be done with. False when there is none.
bool LogSequence::selectLateFile() {
    for (std::size_t i = 0; i < m_left.size(); ++i) {
        File& file = m_left[i];
        struct stat status {};
        if (!file.descriptor.isOpen())
            continue;
        bool const expired = isExpired(i);
        if (fstat(file.descriptor.get(), &status) == 0 &&
            status.st_size > (expired ? file.offset : file.seen)) {
            m_current.checkSum = checkSum();
            select(i);
            return true;
        }
        if (expired)
            file.descriptor.close();
    }
    return false;
}

bool LogSequence::isUnchanged() const {
    char bytes[checked];
    std::size_t const count = std::min(m_end, checked);
    return readAt(reading().descriptor.get(), bytes, count,
                  m_offset + static_cast<std::int64_t>(m_end - count)) == static_cast<ssize_t>(count) &&
           std::memcmp(bytes, m_buffer.get() + m_end - count, count) == 0;
}

bool LogSequence::read() {
    File& file = reading();
    if (!file.descriptor.isOpen())
        return false;
    if (!isUnchanged()) {
        m_onceConsumed = Next::restart;
        return m_begin < m_end;
    }
    if (std::size_t const dropped = m_begin - std::min(m_begin, checked); dropped != 0) {
        std::memmove(m_buffer.get(), m_buffer.get() + dropped, m_end - dropped);
        m_begin -= dropped;
        m_end -= dropped;
        m_offset += static_cast<std::int64_t>(dropped);
    }
    if (m_end > m_capacity / 2) {
        auto larger = std::make_unique_for_overwrite<char[]>(m_capacity * 2);
        std::memcpy(larger.get(), m_buffer.get(), m_end);
        m_buffer = std::move(larger);
        m_capacity *= 2;
    }
    ssize_t const count = readAt(file.descriptor.get(), m_buffer.get() + m_end, m_capacity - m_end,
                                 m_offset + static_cast<std::int64_t>(m_end));
    if (count < 0) {
        std::optional<std::int32_t> const number = numberOf(file);
        m_error = (number ? pathOf(*number) : m_path) + ": " + std::generic_category().message(errno);
        file.descriptor.close();
        return false;
    }
    m_end += static_cast<std::size_t>(count);
    m_bytesRead += static_cast<std::uint64_t>(count);
    return count > 0;
}

/// The file that follows the current one; none when that is the live file.
bool LogSequence::findSuccessor() {
    // Rotations move the files while they are looked at: what was found holds if it still does afterwards.
    constexpr int attempts = 1000;
    for (int attempt = 0; attempt < attempts; ++attempt) {
        std::optional<std::int32_t> const current = m_current.inode != 0 ? numberOf(m_current) : std::nullopt;
        std::optional<std::int32_t> successor;
        if (current == liveFile)
            return false;
        if (current) {
            std::vector<std::int32_t> const all = numbers();
            successor = *std::prev(std::lower_bound(all.begin(), all.end(), *current));
        } else {
            successor = oldestUnread();
        }
        if (!successor)
            return false;
        File file;
        bool const isFound = open(pathOf(*successor), file) || !m_error.empty();
        m_successorsError = std::exchange(m_error, {});
        if (current ? isNamed(m_current, *current)
                    : isFound && isNamed(file, *successor) && oldestUnread() == successor) {
            // One that is still open was left before, however it comes to be next again.
            auto const left = std::find_if(m_left.begin(), m_left.end(), [&](File const& candidate) {
                return candidate.descriptor.isOpen() && candidate.inode == file.inode &&
                       candidate.device == file.device;
            });
            if (left != m_left.end()) {
                file = std::move(*left);
                m_left.erase(left);
            }
            m_successor = std::move(file);
            return isFound;
        }
    }
    return false;
}

void LogSequence::leave() {
    if (m_current.inode != 0) {
        m_current.left = Clock::now();
        if (!m_isFollowing)
            m_current.descriptor.close();
        m_left.push_front(std::move(m_current));
        if (m_left.size() > rememberedFiles)
            m_left.pop_back();
    }
    m_current = std::exchange(m_successor, File());
    m_isRotated = false;
    select(noFile);
}

/// Where nothing more comes from the file that is read. False when there is nothing else to read now.
bool LogSequence::endOfFile() {
    File& file = reading();
    file.seen = m_offset + static_cast<std::int64_t>(m_end);
    if (m_late != noFile) {
        if (isExpired(m_late)) {
            m_onceConsumed = Next::giveUp;
        } else {
            file.checkSum = checkSum();
            select(noFile);
        }
        return true;
    }
    bool const isLive = file.inode != 0 && isNamed(file, liveFile);
    if (!isLive && file.descriptor.isOpen() && !m_isRotated) {
        // From now on only those write to it who opened it before.
        m_isRotated = true;
        return true;
    }
    if (!isLive && findSuccessor()) {
        file.checkSum = m_buffer ? checkSum() : 0;
        if (m_isFollowing) {
            leave();
            selectLateFile();
            m_error = std::exchange(m_successorsError, {});
        } else {
            m_onceConsumed = Next::leave;
        }
        return true;
    }
    if (m_isFollowing && isLive && !file.descriptor.isOpen() && open(m_path, file)) {
        select(noFile);
        return true;
    }
    if (m_buffer && selectLateFile())
        return true;
    if (!m_isFollowing) {
        if (file.inode == 0)
            m_error = m_path + ": " + std::generic_category().message(ENOENT);
        m_onceConsumed = Next::end;
    }
    return false;
}

void LogSequence::settle() {
    Next const next = std::exchange(m_onceConsumed, Next::read);
    if (next == Next::leave) {
        leave();
        m_error = std::exchange(m_successorsError, {});
    } else if (next == Next::giveUp) {
        reading().checkSum = checkSum();
        reading().descriptor.close();
        select(noFile);
    } else {
        reading().offset = 0;
        reading().endsLinesInLineFeed.reset();
        select(m_late);
    }
}

bool LogSequence::more() {
    m_error.clear();
    while (m_onceConsumed != Next::end) {
        if (isEnded())
            settle();
        else if (read())
            return true;
        else if (m_error.empty() && !isEnded() && !endOfFile())
            return isEnded() && m_begin < m_end;
        if (!m_error.empty())
            return false;
        if (isEnded() && m_begin < m_end)
            return true;
    }
    return false;
}

bool LogSequence::endsLinesInLineFeed() {
    File& file = reading();
    if (file.endsLinesInLineFeed)
        return *file.endsLinesInLineFeed;
    // What most lines of the file's front end with: a message may hold what looks like a line.
    std::string front(chunk / 4, '\0');
    ssize_t const count = readAt(file.descriptor.get(), front.data(), front.size(), 0);
    std::string_view const text(front.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    int lineFeedsAlone = 0;
    for (std::size_t end = text.find('\n'); end != std::string_view::npos; end = text.find('\n', end + 1))
        if (beginsLogLine(text.substr(end + 1)))
            lineFeedsAlone += end == 0 || text[end - 1] != '\r' ? 1 : -1;
    if (text.size() == front.size())
        file.endsLinesInLineFeed = lineFeedsAlone > 0;
    return lineFeedsAlone > 0;
}

} // namespace orvane_com::zun::logger
