#include <zun/linux/log.h>
#include <zun/lock/LockFile.h>
#include <zun/lock/SemaphoreSet.h>
#include <zun/lock/UnixLock.h>
#include <zun/platform/file/Permissions.h>
#include <zun/platform/file/Place.h>
#include <zun/platform/file/Refusal.h>
#include <zun/platform/helper/CommonHelper.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <exception>
#include <fcntl.h>
#include <new>
#include <optional>
#include <sys/stat.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace orvane_com::zun::lock {

namespace {

constexpr char fallbackPath[] = "/tmp/";
constexpr wchar_t group[] = L"IPLock";
constexpr uid_t superUser = 0;
constexpr std::chrono::seconds longestWait(10);

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

/// What is to be said once the lock file was given back: nobody else waits for it while a line is written.
/// Declared before the LockFile, since its end writes the lines.
class LaterLog {
public:
    using Log = void (*)(wchar_t const* group, wchar_t const* message);

    LaterLog() = default;
    LaterLog(LaterLog const&) = delete;
    LaterLog& operator=(LaterLog const&) = delete;
    ~LaterLog() {
        for (auto const& [log, text] : m_lines)
            log(group, text.c_str());
    }

    /// Once each, however often it is added.
    void add(Log log, std::string const& message) {
        std::pair line(log, helper::toWide(message));
        if (std::find(m_lines.begin(), m_lines.end(), line) == m_lines.end())
            m_lines.push_back(std::move(line));
    }

    [[noreturn]] void fail(std::string const& message) {
        add(logError, message);
        throw std::exception();
    }

private:
    std::vector<std::pair<Log, std::wstring>> m_lines;
};

std::string errorText(int error) {
    return std::generic_category().message(error);
}

/// Whether the set is the super-user's own. A set that cannot be examined counts as such.
bool isTrusted(int set) {
    semid_ds status{};
    SemctlArgument argument{};
    argument.buf = &status;
    if (semctl(set, 0, IPC_STAT, argument) == -1)
        return true;
    return status.sem_perm.uid == superUser && status.sem_perm.cuid == superUser &&
           (status.sem_perm.mode & file::ownerOnly) != 0;
}

/// The key's set, existing or new. -1, with errno of the attempt to make it, on failure.
int obtainSet(key_t key, LaterLog& later) {
    constexpr int attempts = 100; // at being faster than who makes them
    int set = -1;
    for (int attempt = 0; attempt < attempts; ++attempt) {
        set = semget(key, semaphoreCount, IPC_CREAT | IPC_EXCL | file::ownerOnly);
        if (set != -1 || errno != EEXIST)
            return set;
        later.add(logDetail, "Semaphore already exist.");
        set = semget(key, semaphoreCount, IPC_CREAT | file::ownerOnly);
        int const found = set == -1 && errno == EINVAL ? semget(key, 0, 0) : set; // it has fewer semaphores
        if (found == -1 || isTrusted(found))
            break;
        later.add(logError, "A non-root instance of this semaphore encountered so deleting it");
        if (semctl(found, 0, IPC_RMID) == -1)
            break;
    }
    errno = EEXIST;
    return set;
}

/// -1 when there is none.
int findSet(std::string const& path) {
    key_t const key = ftok(path.c_str(), projectId);
    return key == -1 ? -1 : semget(key, semaphoreCount, file::ownerOnly);
}

/// In the reference count it says that the set is about to go: users of another name that shares the set do
/// not wait for this one's file, and who has no descriptor left does not lock it.
constexpr int going = 1 << 14;

constexpr int mostReferences = 16000;

/// A file that leads to another set by now is left alone. Its name goes while it is locked or, where it could
/// not be locked, while the set is going: nobody starts with a name that is about to go.
void removeIfUnused(int set, std::string const& path, bool isLocked, LaterLog& later) {
    if (!operate(set, {untilZero(referenceCount, noWait), add(referenceCount, +going, noWait)}))
        return;
    bool const isOfSet = findSet(path) == set;
    if (isOfSet && !isLocked)
        unlink(path.c_str());
    if (semctl(set, 0, IPC_RMID) == -1) {
        operate(set, {add(referenceCount, -going, noWait)});
        later.add(logDetail, "Failed to delete the semaphore on 0 refrence count");
    } else if (isOfSet && isLocked) {
        unlink(path.c_str());
    }
}

/// What became of a reference that was asked for; `lost` when somebody is about to remove the set.
enum class Reference { taken, lost, failed };

/// errno is set unless it is taken.
Reference takeReference(int set) {
    bool const added = operate(set, {add(referenceCount, +1, wait)});
    int const error = added ? ERANGE : errno;
    int const references = semctl(set, referenceCount, GETVAL);
    bool const isGone = references == -1 && (errno == EIDRM || errno == EINVAL);
    if (added && !isGone && references <= mostReferences)
        return Reference::taken;
    if (added && !isGone)
        operate(set, {add(referenceCount, -1, noWait)});
    errno = error;
    return isGone || (added && references >= going) ? Reference::lost : Reference::failed;
}

/// A set on which a reference was taken. -1 when it, or its file, has just been removed.
int joinSet(LockFile& file, std::string const& path, LaterLog& later) {
    key_t const key = file.lock() ? ftok(path.c_str(), projectId) : -1;
    if (key == -1 && errno == ENOENT)
        return -1;
    if (key == -1)
        later.fail("Failed to get the semaphore id due to " + file::reasonFor(errno));
    int const set = obtainSet(key, later);
    if (set == -1)
        later.fail("Failed to create the semaphore due to " + errorText(errno) + " first parameter is " +
                   std::to_string(key));
    Reference const reference = takeReference(set);
    if (reference == Reference::taken && file.isNamed())
        return set;
    int const error = errno;
    if (reference == Reference::taken)
        operate(set, {add(referenceCount, -1, noWait)});
    if (reference != Reference::lost)
        removeIfUnused(set, path, true, later);
    if (reference == Reference::failed)
        later.fail("Failed to increase the refrence count due to " + errorText(error));
    return -1;
}

} // namespace

// A lock on the lock file spans every look-up of a set up to the reference taken on it, and every dropping of
// a reference up to the removal of set and file. So nobody takes a set that is about to go, and nobody makes
// a second one: the file that a name stands for, and with it the key, changes only under that lock. Who finds
// no descriptor for the lock when dropping the last reference removes the file while the set says that it is
// going, and who has just taken a reference looks whether his file is still there. A process that dies in
// between leaves a set without references, or a file without a set, which the next one takes over.

UnixLock::UnixLock(std::string const& name) : m_process(getpid()) {
    LaterLog later;
    auto const end = std::chrono::steady_clock::now() + longestWait;
    for (;; std::this_thread::sleep_for(std::chrono::milliseconds(1))) {
        LockFile file(lock_path + name); // before the file is made, which nothing may leave alone
        if (!createSemFile(name)) {
            if (errno != ENOENT) // which the next line says
                later.add(logError, m_path + ": " + file::reasonFor(errno));
            later.fail("Failed to create the file  " + m_path);
        }
        m_id = joinSet(file, m_path, later);
        if (m_id != -1)
            return;
        if (std::chrono::steady_clock::now() >= end)
            later.fail("Failed to increase the refrence count due to " + errorText(EBUSY));
    }
}

UnixLock::~UnixLock() {
    if (getpid() != m_process)
        return;
    LaterLog later;
    std::optional<LockFile> file;
    try {
        file.emplace(m_path).lock();
    } catch (std::bad_alloc const&) { // it does without
    }
    try {
        if (operate(m_id, {add(referenceCount, -1, wait)}))
            removeIfUnused(m_id, m_path, file && file->isHeld(), later);
        else
            later.add(logError, "Failed to decrease the refrence count " + m_path);
    } catch (std::bad_alloc const&) { // a destructor lets nothing through
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
    if (stat(m_path.c_str(), &status) == 0)
        return true;
    std::optional<file::Place> const place = file::Place::find(m_path);
    return place && place->open(file::Place::Kind::secret, O_RDWR | O_CREAT, file::ownerOnly).isOpen();
}

void UnixLock::cleanSemaphore(std::string const& name) {
    struct stat status {};
    std::string const path = (stat(lock_path, &status) == 0 ? lock_path : fallbackPath) + name;
    LockFile file(path);
    int const set = file.lock() ? findSet(path) : -1;
    if (set != -1 && semctl(set, 0, IPC_RMID) != -1)
        unlink(path.c_str());
}

} // namespace orvane_com::zun::lock
