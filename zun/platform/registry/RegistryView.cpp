#include <zun/platform/file/Place.h>
#include <zun/platform/file/WholeFile.h>
#include <zun/platform/registry/CaseFolding.h>
#include <zun/platform/registry/RegistryView.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <time.h>

namespace orvane_com::zun::registry {

namespace {

constexpr char separator = '\\';

timespec const& contentTime(struct stat const& status) {
#ifdef __APPLE__
    return status.st_mtimespec;
#else
    return status.st_mtim;
#endif
}

timespec const& statusTime(struct stat const& status) {
#ifdef __APPLE__
    return status.st_ctimespec;
#else
    return status.st_ctim;
#endif
}

bool isSame(timespec const& left, timespec const& right) {
    return left.tv_sec == right.tv_sec && left.tv_nsec == right.tv_nsec;
}

bool isSame(struct stat const& left, struct stat const& right) {
    return left.st_dev == right.st_dev && left.st_ino == right.st_ino && left.st_size == right.st_size &&
           isSame(contentTime(left), contentTime(right)) && isSame(statusTime(left), statusTime(right));
}

/// Whether a change made from now on gets another time than the file has: the system's clock for files
/// advances in ticks.
bool isOlderThanClockTick(struct stat const& status) {
    constexpr auto longestTick = std::chrono::milliseconds(20);
    using Clock = std::chrono::system_clock;
    timespec const& changed = statusTime(status);
    Clock::time_point const time(std::chrono::duration_cast<Clock::duration>(
        std::chrono::seconds(changed.tv_sec) + std::chrono::nanoseconds(changed.tv_nsec)));
    return Clock::now() - time > longestTick;
}

/// Takes the first name off a path that has one.
std::string takeName(std::optional<std::string_view>& path) {
    std::size_t const end = path->find(separator);
    std::string name(path->substr(0, end));
    path = end != std::string_view::npos ? std::optional(path->substr(end + 1)) : std::nullopt;
    return name;
}

} // namespace

bool isWithinKeyLevels(std::string_view path) {
    return static_cast<std::size_t>(std::count(path.begin(), path.end(), separator)) <= mostKeyLevels;
}

RegistryView::RegistryView(std::string path) : m_path(std::move(path)) {}

bool RegistryView::isCurrent() const {
    struct stat status {};
    return m_file.isOpen() && m_statusIsReliable && stat(m_path.c_str(), &status) == 0 &&
           isSame(status, m_status);
}

bool RegistryView::refresh() {
    if (isCurrent())
        return true;
    file::FileDescriptor opened = file::openForReading(m_path);
    struct stat status {};
    bool isReliable = false;
    std::string text;
    if (opened.isOpen()) {
        // The status comes first: what changes while the text is read makes the view out of date.
        std::optional<struct stat> const current = opened.status();
        if (!current || !file::readWholeFile(opened, text))
            return false;
        status = *current;
        isReliable = isOlderThanClockTick(status);
    } else if (errno != ENOENT) {
        return false;
    }
    // First: a view that is not complete must not count as current.
    parse(text);
    m_file = std::move(opened);
    m_status = status;
    m_statusIsReliable = isReliable;
    return true;
}

void RegistryView::parse(std::string_view text) {
    Tree<std::size_t> keys;
    Tree<RegistryValue> values;
    std::size_t key = 0;
    SectionReader reader(registryFormat, text);
    while (reader.next()) {
        if (reader.kind() == SectionReader::Line::header) {
            key = 0;
            if (!isWithinKeyLevels(*reader.section()))
                continue;
            std::string const folded = foldCase(*reader.section());
            for (std::optional<std::string_view> path = folded; path;)
                key = keys.try_emplace({key, takeName(path)}, keys.size() + 1).first->second;
        } else if (reader.kind() == SectionReader::Line::entry && key != 0) {
            if (std::optional<RegistryValue> value = parseRegistryValue(reader.value()))
                values.try_emplace({key, foldCase(reader.name())}, *std::move(value));
        }
    }
    m_keys.swap(keys);
    m_values.swap(values);
}

std::size_t RegistryView::findKey(std::string_view path) const {
    std::string const folded = foldCase(path);
    std::size_t key = 0;
    for (std::optional<std::string_view> rest = folded; rest;) {
        auto const found = m_keys.find({key, takeName(rest)});
        if (found == m_keys.end())
            return 0;
        key = found->second;
    }
    return key;
}

RegistryValue const* RegistryView::find(std::string_view path, std::string_view name) const {
    auto const value = m_values.find({findKey(path), foldCase(name)});
    return value != m_values.end() ? &value->second : nullptr;
}

} // namespace orvane_com::zun::registry
