#include <zun/linux/log.h>
#include <zun/lock/UnixLock.h>
#include <zun/platform/helper/CommonHelper.h>
#include <zun/platform/file/FileLock.h>
#include <zun/platform/file/Permissions.h>
#include <zun/platform/file/Place.h>

#include <cerrno>
#include <cstddef>
#include <exception>
#include <fcntl.h>
#include <optional>
#include <sys/ipc.h>
#include <sys/sem.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace orvane_com::zun::lock {

namespace {

constexpr char lock_path[] = "/Library/Orvane/zun/scratch/";
constexpr char fallback_path[] = "/tmp/";
constexpr wchar_t group[] = L"IPLock";
constexpr int projectId = 3737;
constexpr int ownerMayReadAndWrite = S_IRUSR | S_IWUSR;
constexpr uid_t superUser = 0;

/// What each semaphore of a set counts.
enum Semaphore : unsigned short {
    writerFlag,     // 1 while a writer holds the lock
    holderCount,    // read holds, plus 1 for a write hold
    referenceCount, // objects on the set
    semaphoreCount
};

#ifdef __APPLE__
using SemctlArgument = ::semun;
#else
/// semctl(2) leaves the declaration to the caller.
union SemctlArgument {
    int val;
    semid_ds* buf;
    unsigned short* array;
};
#endif

/// The system takes every operation of a process back when the process ends.
constexpr int wait = SEM_UNDO;
constexpr int noWait = SEM_UNDO | IPC_NOWAIT;

constexpr sembuf add(Semaphore semaphore, int change, int flags) {
    sembuf operation{};
    operation.sem_num = semaphore;
    operation.sem_op = static_cast<short>(change);
    operation.sem_flg = static_cast<short>(flags);
    return operation;
}

constexpr sembuf untilZero(Semaphore semaphore, int flags) {
    return add(semaphore, 0, flags);
}

/// All operations as one. False, with errno set, on failure; a signal is none.
template <std::size_t count>
bool operate(int set, sembuf (&&operations)[count]) {
    int result;
    do
        result = semop(set, operations, count);
    while (result == -1 && errno == EINTR);
    return result != -1;
}

bool takeRead(int set, int flags) {
    return operate(set, {untilZero(writerFlag, flags), add(holderCount, +1, flags)});
}

bool takeWrite(int set, int flags) {
    return operate(set, {untilZero(writerFlag, flags), untilZero(holderCount, flags),
                         add(writerFlag, +1, flags), add(holderCount, +1, flags)});
}

bool logged(bool done, wchar_t const* success, void (*logFailure)(wchar_t const*, wchar_t const*),
            wchar_t const* failure) {
    if (done)
        logDetail(group, success);
    else
        logFailure(group, failure);
    return done;
}

void logNarrowError(std::string const& message) {
    logError(group, helper::toWide(message).c_str());
}

[[noreturn]] void failToConstruct(std::string const& message) {
    logNarrowError(message);
    throw std::exception();
}

std::string errorText(int error) {
    return std::generic_category().message(error);
}

file::FileDescriptor openLockFile(std::string const& path, int flags) {
    std::optional<file::Place> const place = file::Place::find(path);
    return place ? place->open(file::Place::Kind::secret, flags, file::ownerOnly) : file::FileDescriptor();
}

/// Held on the lock file that the path names once the lock is had.
class LockFileHold {
public:
    explicit LockFileHold(std::string const& path) {
        for (;;) {
            file::FileDescriptor opened = openLockFile(path, O_RDWR | O_CREAT);
            if (!opened.isOpen() || !file::lockFile(opened))
                return;
            std::optional<struct stat> const status = opened.status();
            struct stat named {};
            if (status && stat(path.c_str(), &named) == 0 && file::isSameFile(named, *status)) {
                m_file = std::move(opened);
                return;
            }
            file::unlockFile(opened);
        }
    }
    LockFileHold(LockFileHold const&) = delete;
    LockFileHold& operator=(LockFileHold const&) = delete;
    ~LockFileHold() {
        if (isHeld())
            file::unlockFile(m_file);
    }

    bool isHeld() const { return m_file.isOpen(); }

private:
    file::FileDescriptor m_file;
};

/// Whether the set is the super-user's own. A set that cannot be examined counts as such.
bool isTrusted(int set) {
    semid_ds status{};
    SemctlArgument argument{};
    argument.buf = &status;
    if (semctl(set, 0, IPC_STAT, argument) == -1)
        return true;
    return status.sem_perm.uid == superUser && status.sem_perm.cuid == superUser &&
           (status.sem_perm.mode & ownerMayReadAndWrite) != 0;
}

/// The key's set, existing or new. -1, with errno of the first attempt, on failure.
int obtainSet(key_t key) {
    auto const create = [key] {
        return semget(key, semaphoreCount, IPC_CREAT | IPC_EXCL | ownerMayReadAndWrite);
    };
    int set = create();
    if (set != -1 || errno != EEXIST)
        return set;
    logDetail(group, L"Semaphore already exist.");
    set = semget(key, semaphoreCount, IPC_CREAT | ownerMayReadAndWrite);
    if (set != -1 && !isTrusted(set)) {
        logError(group, L"A non-root instance of this semaphore encountered so deleting it");
        if (semctl(set, 0, IPC_RMID) != -1)
            set = create();
    }
    errno = EEXIST;
    return set;
}

/// -1 when there is none.
int findSet(std::string const& path) {
    key_t const key = ftok(path.c_str(), projectId);
    return key == -1 ? -1 : semget(key, semaphoreCount, ownerMayReadAndWrite);
}

/// Leaves a file that has been made anew for another set.
void removeFileWithoutSet(std::string const& path) {
    if (findSet(path) == -1)
        unlink(path.c_str());
}

/// In the reference count it says that the set is about to go: users of another name that shares the set do
/// not wait for this one's file.
constexpr int going = 1 << 14;

void removeIfUnused(int set, std::string const& path) {
    if (!operate(set, {untilZero(referenceCount, noWait), add(referenceCount, +going, noWait)}))
        return;
    if (semctl(set, 0, IPC_RMID) != -1) {
        removeFileWithoutSet(path);
        return;
    }
    logDetail(group, L"Failed to delete the semaphore on 0 refrence count");
    operate(set, {add(referenceCount, -going, noWait)});
}

/// What became of a reference that was asked for; `lost` when another name's last user removes the set.
enum class Reference { taken, lost, failed };

/// errno is set unless it is taken.
Reference takeReference(int set) {
    bool const added = operate(set, {add(referenceCount, +1, wait)});
    int const error = errno;
    int const references = semctl(set, referenceCount, GETVAL);
    bool const isGone = references == -1 && (errno == EIDRM || errno == EINVAL);
    if (added && !isGone && references < going)
        return Reference::taken;
    if (added && !isGone)
        operate(set, {add(referenceCount, -1, noWait)});
    errno = error;
    return added || isGone ? Reference::lost : Reference::failed;
}

} // namespace

// A lock on the lock file spans every look-up of a set up to the reference taken on it, and every dropping of
// a reference up to the removal of set and file. So nobody takes a set that is about to go, and nobody makes
// a second one: the file that a name stands for, and with it the key, changes only under that lock. A process
// that dies in between leaves a set without references, or a file without a set, which the next one takes
// over.

UnixLock::UnixLock(std::string const& name) {
    if (!createSemFile(name))
        failToConstruct("Failed to create the file  " + m_path);
    LockFileHold const fileLock(m_path);
    key_t const key = fileLock.isHeld() ? ftok(m_path.c_str(), projectId) : -1;
    if (key == -1)
        failToConstruct("Failed to get the semaphore id due to " + errorText(errno));
    Reference reference;
    do {
        m_id = obtainSet(key);
        if (m_id == -1)
            failToConstruct("Failed to create the semaphore due to " + errorText(errno) +
                            " first parameter is " + std::to_string(key));
        reference = takeReference(m_id);
    } while (reference == Reference::lost);
    if (reference == Reference::failed) {
        int const error = errno;
        removeIfUnused(m_id, m_path);
        failToConstruct("Failed to increase the refrence count due to " + errorText(error));
    }
}

UnixLock::~UnixLock() {
    LockFileHold const fileLock(m_path);
    bool const mayRemove = fileLock.isHeld() || errno == ENOENT; // no directory, so no new users
    if (operate(m_id, {add(referenceCount, -1, wait)})) {
        if (mayRemove)
            removeIfUnused(m_id, m_path);
    } else {
        try {
            logNarrowError("Failed to decrease the refrence count " + m_path);
        } catch (std::bad_alloc const&) { // a destructor lets nothing through
        }
        if (mayRemove)
            removeFileWithoutSet(m_path);
    }
}

bool UnixLock::tryReadLock() {
    return logged(takeRead(m_id, noWait), L"readLock - providing read lock", logError,
                  L"readLock - Timeout occured , failed to acquire the lock");
}

bool UnixLock::tryWriteLock() {
    return logged(takeWrite(m_id, noWait), L"writeLock - providing write lock", logError,
                  L"writeLock - Timeout occured , failed to acquire the lock");
}

bool UnixLock::readLock(unsigned int /*timeout*/) {
    return logged(takeRead(m_id, wait), L"readLock - providing read lock", logInfo,
                  L"readLock - Timeout occured , failed to acquire the lock");
}

bool UnixLock::writeLock(unsigned int /*timeout*/) {
    return logged(takeWrite(m_id, wait), L"writeLock - providing write lock", logError,
                  L"writeLock - Timeout occured , failed to acquire the lock");
}

bool UnixLock::readUnlock() {
    return logged(operate(m_id, {add(holderCount, -1, wait)}),
                  L"readUnLock - unlocking the read lock successful", logError,
                  L"writeUnLock - decreasing the semaphore value failed");
}

bool UnixLock::writeUnlock() {
    return logged(operate(m_id, {add(writerFlag, -1, wait), add(holderCount, -1, wait)}),
                  L"writeUnLock - unlocking the write lock successful", logError,
                  L"writeUnLock - decreasing the semaphore value failed");
}

bool UnixLock::createSemFile(std::string const& name) {
    m_path = lock_path + name;
    struct stat status {};
    return stat(m_path.c_str(), &status) == 0 ||
           openLockFile(m_path, O_RDWR | O_CREAT).isOpen();
}

void UnixLock::cleanSemaphore(std::string const& name) {
    struct stat status {};
    bool const isFallback = stat(lock_path, &status) != 0;
    std::string const path = (isFallback ? fallback_path : lock_path) + name;
    if (findSet(path) == -1)
        return;
    // No lock is made in the fallback directory, so none is waited for: its files are anybody's.
    std::optional<LockFileHold> fileLock;
    if (!isFallback && !fileLock.emplace(path).isHeld())
        return;
    int const set = findSet(path);
    if (set == -1 || semctl(set, 0, IPC_RMID) != -1)
        removeFileWithoutSet(path);
}

} // namespace orvane_com::zun::lock
