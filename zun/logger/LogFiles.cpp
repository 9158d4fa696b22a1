#include <zun/logger/LogFiles.h>
#include <zun/platform/helper/CommonHelper.h>

#include <algorithm>
#include <limits>
#include <utility>

namespace orvane_com::zun::logger {

bool LogFiles::attach(std::wstring const& path) {
    LogFile file(helper::toNarrow(path));
    if (!file.isOpen())
        return false;
    m_files.try_emplace(path, std::move(file));
    return true;
}

bool LogFiles::detach(std::wstring const& path) {
    return m_files.erase(path) != 0;
}

bool LogFiles::areGood(std::int64_t limit) const {
    return std::all_of(m_files.begin(), m_files.end(), [limit](auto const& entry) {
        return entry.second.examine(limit) == LogFile::Condition::good;
    });
}

void LogFiles::rotate(Rotation const& rotation) {
    reopen(pathsOf({LogFile::Condition::replaced}));
    std::vector<std::wstring> paths;
    for (auto const& [path, file] : m_files)
        paths.push_back(path);
    for (std::wstring const& path : paths) {
        auto found = m_files.find(path);
        auto const isTooLarge = [&] {
            return found->second.examine(rotation.limit) == LogFile::Condition::tooLarge;
        };
        if (found == m_files.end() || !isTooLarge())
            continue;
        RotationRight const right(found->second.path());
        if (!right.isHeld() || !isTooLarge())
            continue;
        if (rotation.isNoted) {
            LogLine note;
            note.setRotationNote();
            append(note.text());
            found = m_files.find(path);
        }
        if (found != m_files.end() && !found->second.rotate(rotation.backups))
            m_files.erase(found);
    }
}

void LogFiles::repair() {
    reopen(pathsOf({LogFile::Condition::replaced, LogFile::Condition::missing}));
}

void LogFiles::append(std::string_view lines) {
    std::vector<std::wstring> failed;
    for (auto& [path, file] : m_files)
        if (!file.append(lines))
            failed.push_back(path);
    reopen(failed);
    for (std::wstring const& path : failed)
        if (auto const found = m_files.find(path); found != m_files.end())
            found->second.append(lines);
}

/// The files that are in one of the conditions, whatever their size.
std::vector<std::wstring> LogFiles::pathsOf(std::initializer_list<LogFile::Condition> conditions) const {
    std::vector<std::wstring> paths;
    for (auto const& [path, file] : m_files) {
        LogFile::Condition const condition = file.examine(std::numeric_limits<std::int64_t>::max());
        if (std::find(conditions.begin(), conditions.end(), condition) != conditions.end())
            paths.push_back(path);
    }
    return paths;
}

/// Opens the files anew; those that cannot be opened are detached.
void LogFiles::reopen(std::vector<std::wstring> const& paths) {
    for (std::wstring const& path : paths)
        if (auto const found = m_files.find(path); found != m_files.end() && !found->second.reopen())
            m_files.erase(found);
}

} // namespace orvane_com::zun::logger
