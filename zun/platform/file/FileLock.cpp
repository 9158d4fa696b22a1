#include <zun/platform/file/ErrnoKeeper.h>
#include <zun/platform/file/FileLock.h>
#include <zun/platform/file/Permissions.h>
#include <zun/platform/file/Refusal.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <sys/file.h>
#include <thread>
#include <unistd.h>

namespace orvane_com::zun::file {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds longestWait(10);
constexpr char keptLock[] = "its lock was held elsewhere for 10 s";
constexpr char foreignLock[] = "the name of its lock is taken by something of another user";

/// Pauses between attempts, at first so short that a hold which is about to end costs next to nothing.
class Patience {
public:
    /// False when there is none left.
    bool pause() {
        constexpr std::chrono::microseconds longestPause(1000);
        if (Clock::now() - m_start >= longestWait)
            return false;
        std::this_thread::sleep_for(m_pause);
        m_pause = std::min(m_pause * 2, longestPause);
        return true;
    }

private:
    Clock::time_point const m_start = Clock::now();
    std::chrono::microseconds m_pause{20};
};

bool isLockedAtOnce(FileDescriptor const& file) {
    int result;
    do
        result = flock(file.get(), LOCK_EX | LOCK_NB);
    while (result != 0 && errno == EINTR);
    return result == 0;
}

/// Those who may write the shared file may open its lock.
mode_t lockModeFor(struct stat const& shared) {
    unsigned const writers = static_cast<unsigned>(shared.st_mode) & (S_IWUSR | S_IWGRP | S_IWOTH);
    return static_cast<mode_t>(ownerOnly | writers | writers << 1); // who may write may read
}

/// Whatever the umask took away. What the group cannot be given stays the owner's.
void openToWriters(FileDescriptor const& lock, struct stat const& shared) {
    constexpr auto sameOwner = static_cast<uid_t>(-1);
    if (fchown(lock.get(), sameOwner, shared.st_gid) == 0)
        fchmod(lock.get(), lockModeFor(shared));
}

} // namespace

FileLock::FileLock(std::string const& path, Wait wait) {
    if (std::optional<Place> const shared = Place::find(path))
        take(*shared, wait);
}

FileLock::FileLock(Place const& shared, Wait wait) {
    take(shared, wait);
}

void FileLock::take(Place const& shared, Wait wait) {
    Patience patience;
    for (;;) {
        Attempt const result = attempt(shared);
        if (result == Attempt::succeeded || result == Attempt::failed)
            return;
        if (wait == Wait::none || !patience.pause()) {
            m_isHeldElsewhere = result == Attempt::isHeldElsewhere;
            refuse(m_isHeldElsewhere ? ETIMEDOUT : EACCES, m_isHeldElsewhere ? keptLock : foreignLock);
            return;
        }
    }
}

FileLock::Attempt FileLock::attempt(Place const& shared) {
    Place place = shared.sibling(".lock");
    std::optional<struct stat> const existing = shared.status();
    bool const isSharedByGroup = existing && existing->st_gid == getegid() && !place.isAmongStrangers();
    FileDescriptor file = place.open(Place::Kind::secret, O_RDWR | O_CREAT,
                                     isSharedByGroup ? lockModeFor(*existing) : ownerOnly);
    if (!file.isOpen()) {
        int const error = errno;
        if (place.status())
            return Attempt::isOccupied;
        if (existing && !shared.mayAddNames())
            return attemptOn(shared, FileDescriptor(shared.open(Place::Kind::data, O_WRONLY)));
        errno = error;
        return Attempt::failed;
    }
    Attempt const result = attemptOn(place, std::move(file));
    if (result != Attempt::succeeded)
        return result;
    m_lock = std::move(place);
    std::optional<struct stat> const made = m_file.status();
    if (existing && made && made->st_uid == geteuid() && !m_lock->isAmongStrangers() &&
        (made->st_gid != existing->st_gid || (made->st_mode & permissionBits) != lockModeFor(*existing)))
        openToWriters(m_file, *existing);
    return result;
}

FileLock::Attempt FileLock::attemptOn(Place const& place, FileDescriptor file) {
    if (!file.isOpen())
        return Attempt::failed;
    if (!isLockedAtOnce(file))
        return errno == EWOULDBLOCK ? Attempt::isHeldElsewhere : Attempt::failed;
    // The name may have gone to another file since this one was opened.
    std::optional<struct stat> const named = place.status();
    std::optional<struct stat> const opened = file.status();
    if (!named || !opened || !isSameFile(*named, *opened)) {
        unlockFile(file);
        return Attempt::isHeldElsewhere;
    }
    m_file = std::move(file);
    return Attempt::succeeded;
}

FileLock::~FileLock() {
    if (!isHeld())
        return;
    ErrnoKeeper const errnoKeeper;
    if (m_lock)
        unlinkat(m_lock->directory(), m_lock->name(), 0);
    unlockFile(m_file);
}

bool lockFile(FileDescriptor const& file) {
    Patience patience;
    while (!isLockedAtOnce(file)) {
        if (errno != EWOULDBLOCK)
            return false;
        if (!patience.pause()) {
            refuse(ETIMEDOUT, keptLock);
            return false;
        }
    }
    return true;
}

void unlockFile(FileDescriptor const& file) {
    ErrnoKeeper const errnoKeeper;
    flock(file.get(), LOCK_UN);
}

} // namespace orvane_com::zun::file
