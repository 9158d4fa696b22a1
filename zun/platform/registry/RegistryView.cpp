#include <zun/platform/file/Place.h>
#include <zun/platform/file/WholeFile.h>
#include <zun/platform/registry/RegistryView.h>

#include <cerrno>
#include <chrono>
#include <time.h>

namespace orvane_com::zun::registry {

namespace {

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

} // namespace

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
    std::set<std::string> keys;
    std::map<std::string, std::map<std::string, RegistryValue>> valuesOfKeys;
    std::map<std::string, RegistryValue>* values = nullptr;
    SectionReader reader(registryFormat, text);
    while (reader.next()) {
        if (reader.kind() == SectionReader::Line::header) {
            std::string const path = foldCase(*reader.section());
            for (std::size_t end = path.find('\\'); end != std::string::npos; end = path.find('\\', end + 1))
                keys.insert(path.substr(0, end));
            keys.insert(path);
            values = &valuesOfKeys[path];
        } else if (reader.kind() == SectionReader::Line::entry && values) {
            if (std::optional<RegistryValue> value = parseRegistryValue(reader.value()))
                values->try_emplace(foldCase(reader.name()), *std::move(value));
        }
    }
    m_keys.swap(keys);
    m_values.swap(valuesOfKeys);
}

bool RegistryView::hasKey(std::string const& path) const {
    return m_keys.contains(foldCase(path));
}

RegistryValue const* RegistryView::find(std::string const& path, std::string_view name) const {
    auto const values = m_values.find(foldCase(path));
    if (values == m_values.end())
        return nullptr;
    auto const value = values->second.find(foldCase(name));
    return value != values->second.end() ? &value->second : nullptr;
}

} // namespace orvane_com::zun::registry
