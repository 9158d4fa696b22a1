#include <zun/lock/LockStatus.h>
#include <zun/lock/SemaphoreSet.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <dirent.h>
#include <memory>

namespace orvane_com::zun::lock {

namespace {

struct DirectoryCloser {
    void operator()(DIR* directory) const { closedir(directory); }
};

} // namespace

bool listLocks(std::vector<LockStatus>& locks) {
    std::unique_ptr<DIR, DirectoryCloser> const directory(opendir(lock_path));
    if (!directory)
        return false;
    std::vector<LockStatus> all;
    errno = 0;
    while (dirent const* const entry = readdir(directory.get())) {
        std::string const name = entry->d_name;
        std::array<unsigned short, semaphoreCount> values{};
        SemctlArgument argument{};
        argument.array = values.data();
        key_t const key = name.starts_with('.') ? -1 : ftok((lock_path + name).c_str(), projectId);
        int const set = key != -1 ? semget(key, semaphoreCount, 0) : -1;
        if (set != -1 && semctl(set, 0, GETALL, argument) != -1) {
            bool const hasWriter = values[writerFlag] != 0;
            all.push_back(
                {name, hasWriter, values[holderCount] - unsigned{hasWriter}, values[referenceCount]});
        }
        errno = 0;
    }
    if (errno != 0)
        return false;
    std::sort(all.begin(), all.end(),
              [](LockStatus const& a, LockStatus const& b) { return a.name < b.name; });
    locks = std::move(all);
    return true;
}

} // namespace orvane_com::zun::lock
