#include <zun/files/AFileIndex.h>
#include <zun/files/APath.h>
#include <zun/linux/CallTrace.h>
#include <zun/platform/file/GlobErrors.h>
#include <zun/text/ACharString.h>

#include <cerrno>
#include <string>

namespace {

constexpr wchar_t const group[] = L"FileInx";

} // namespace

AFileIndex::AFileIndex(bool complainIfNone, wchar_t const* directory, wchar_t const* pattern) {
    open(complainIfNone, directory, pattern);
}

AFileIndex::~AFileIndex() {
    close();
}

bool AFileIndex::open(bool complainIfNone, wchar_t const* directory, wchar_t const* pattern) {
    close();
    AString patternPath;
    joinPath(&patternPath, directory, pattern);
    CallTrace const trace(group, L"glob", patternPath);
    int const result = glob(ACharString(patternPath), GLOB_MARK | GLOB_NOSORT,
                            orvane_com::zun::file::stopWithoutMemory, &m_matches);
    if (result == 0) {
        m_next = m_matches.gl_pathv;
        return true;
    }
    if (result == GLOB_NOMATCH && !complainIfNone) {
        close();
        return false;
    }
    if (result == GLOB_NOMATCH)
        errno = ENOENT;
    else if (result == GLOB_NOSPACE || result == GLOB_ABORTED)
        errno = ENOMEM;
    logErrno(group);
    close();
    return false;
}

bool AFileIndex::moveNext(AString* path, bool* isDirectory, AString* name, unsigned long* size) {
    if (!m_next || !*m_next)
        return false;
    AString match(*m_next);
    std::wstring& text = match.cpp_str();
    bool const marked = !text.empty() && text.back() == L'/';
    if (marked)
        text.pop_back();
    if (isDirectory)
        *isDirectory = marked;
    if (name)
        splitPath(match, nullptr, name);
    if (size)
        *size = 0;
    if (path)
        *path = std::move(match);
    ++m_next;
    return true;
}

void AFileIndex::close() {
    globfree(&m_matches);
    m_matches = {};
    m_next = nullptr;
}
