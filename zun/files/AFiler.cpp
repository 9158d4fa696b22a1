#include <zun/configuration/IConfiguration.h> // which knows where the agent's data directories are
#include <zun/files/AFiler.h>
#include <zun/files/APath.h>
#include <zun/files/TreeRemoval.h>
#include <zun/files/logReason.h>
#include <zun/linux/CallTrace.h>
#include <zun/platform/file/Place.h>
#include <zun/platform/helper/CommonHelper.h>
#include <zun/text/ACharString.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <optional>
#include <random>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

using orvane_com::zun::configuration::IConfiguration;
namespace helper = orvane_com::zun::helper;
namespace file = orvane_com::zun::file;
using file::Place;

namespace {

constexpr wchar_t const group[] = L"Filer";
constexpr wchar_t const sizeGroup[] = L"filer";

bool isDirectory(char const* path) {
    struct stat status;
    return stat(path, &status) == 0 && S_ISDIR(status.st_mode);
}

/// What the environment says, null in a program that runs with more rights than its caller.
char const* temporaryDirectoryVariable() {
#ifdef __APPLE__
    return issetugid() ? nullptr : std::getenv("TMPDIR");
#else
    return secure_getenv("TMPDIR");
#endif
}

/// Empty when there is none.
std::string temporaryDirectory() {
    for (char const* const directory : {temporaryDirectoryVariable(), "/var/tmp/", P_tmpdir})
        if (directory && isDirectory(directory))
            return directory;
    return {};
}

std::string randomName(std::string name, int letters) {
    constexpr char alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789";
    std::random_device random;
    std::uniform_int_distribution<std::size_t> letter(0, sizeof alphabet - 2);
    for (; letters > 0; --letters)
        name += alphabet[letter(random)];
    return name;
}

/// Calls a function of the at family, which returns 0 on success, on what the path names itself. Whether it
/// succeeded; errno is set, and reasonFor it, when not.
template <typename Call>
bool at(AString const& path, Call call) {
    std::string name{ACharString(path)};
    while (name.size() > 1 && name.back() == '/')
        name.pop_back();
    std::optional<Place> const place = Place::find(name, Place::LastLink::kept);
    return place && call(place->directory(), place->name()) == 0;
}

} // namespace

wchar_t const* AFiler::getZunDataPath() {
    static AString path;
    if (path.size() == 0)
        path = IConfiguration::GetConfiguration()->GetFrameworkDataDirectory().c_str();
    return path;
}

wchar_t const* AFiler::getUpdaterDataPath() {
    static AString path;
    if (path.size() == 0)
        path = IConfiguration::GetConfiguration()->GetUpdaterDataDir().c_str();
    return path;
}

wchar_t const* AFiler::getAlternateDataPath() {
    static AString path;
    if (path.size() == 0)
        path = APath(getZunDataPath(), L"etc");
    return path;
}

bool AFiler::getTempFilePath(AString& out) {
    CallTrace const trace(group, L"tempnam");
    std::string directory = temporaryDirectory();
    if (directory.empty()) {
        errno = ENOENT;
        logErrno(group);
        return false;
    }
    while (directory.size() > 1 && directory.back() == '/')
        directory.pop_back();
    for (;;) {
        std::string const path = randomName(directory + "/qzr", 6);
        struct stat status;
        if (lstat(path.c_str(), &status) == 0)
            continue;
        if (logErrnoIf(group, errno != ENOENT))
            return false;
        out = path.c_str();
        return true;
    }
}

bool AFiler::deleteFile(AString const& path) {
    CallTrace const trace(group, L"unlink", path);
    bool const isGone =
        at(path, [](int directory, char const* name) { return unlinkat(directory, name, 0); }) ||
        errno == ENOENT;
    return !logReasonIf(group, !isGone);
}

bool AFiler::createDirectory(AString const& path) {
    CallTrace const trace(group, L"mkdir", path);
    bool const isThere =
        at(path, [](int directory, char const* name) { return mkdirat(directory, name, S_IRWXU); }) ||
        errno == EEXIST;
    return !logReasonIf(group, !isThere);
}

bool AFiler::copyFile(AString const& from, AString const& to) {
    CallTrace const trace(group, L"CopyFile", from, to);
    std::string const source{ACharString(from)};
    std::string const target{ACharString(to)};
    if (helper::copyFile(source, target, 0))
        return true;
    logDetail(group, helper::toWide(file::reasonFor(errno)).c_str());
    logError(group, L"Failed");
    return false;
}

bool AFiler::renameFile(AString const&, AString const&) {
    logInternalError(group, L"Test ");
    return false;
}

bool AFiler::deleteFolder(AString const& path) {
    return privateDeleteFolder(false, path);
}

bool AFiler::deleteEmptyFolder(AString const& path) {
    return privateDeleteFolder(true, path);
}

bool AFiler::deleteFolders(AString const& path) {
    constexpr std::size_t shortestPath = 4;
    return path.size() >= shortestPath && TreeRemoval(path).run();
}

bool AFiler::getFileAccessibility(AString const& path, AFileAccess access, bool& exists, bool& accessible) {
    int mode = 0;
    switch (access) {
    case accessRead:
        mode = R_OK;
        break;
    case accessWrite:
    case accessModify:
        mode = W_OK;
        break;
    case accessExecute:
        mode = X_OK;
        break;
    default:
        AString message(L"getFileAccessibility had unexpected access ");
        message << static_cast<int>(access);
        logInternalError(group, message);
        return false;
    }
    CallTrace const trace(group, L"access", path, mode);
    bool const granted = ::access(ACharString(path), mode) == 0;
    bool const missing = !granted && (errno == ENOENT || errno == ENOTDIR);
    bool const denied = !granted && (errno == EACCES || errno == EROFS);
    if (logErrnoIf(group, !granted && !missing && !denied))
        return false;
    exists = !missing;
    accessible = granted;
    return true;
}

bool AFiler::getFileAccessibility(AString const& path, AFileAccess access, bool& exists) {
    bool accessible = false;
    return getFileAccessibility(path, access, exists, accessible);
}

bool AFiler::getExistingFileSize(AString const& path, long& size) {
    return getFileSize(true, path, size);
}

bool AFiler::tryGetFileSize(AString const& path, long& size) {
    return getFileSize(false, path, size);
}

bool getFileSize(bool mustExist, AString const& path, long& size) {
    CallTrace const trace(sizeGroup, L"stat", path);
    struct stat status;
    if (stat(ACharString(path), &status) == 0) {
        size = static_cast<long>(status.st_size);
        return true;
    }
    if (mustExist || errno != ENOENT)
        logErrno(sizeGroup);
    return false;
}

bool privateDeleteFolder(bool emptyOnly, AString const& path) {
    CallTrace const trace(group, L"rmdir", path);
    bool const isGone =
        at(path, [](int directory, char const* name) { return unlinkat(directory, name, AT_REMOVEDIR); }) ||
        errno == ENOENT || errno == ENOTDIR || (errno == ENOTEMPTY && emptyOnly);
    return !logReasonIf(group, !isGone);
}
