#include <zun/files/AFileIndex.h>
#include <zun/files/APath.h>
#include <zun/files/PlainText.h>
#include <zun/linux/CallTrace.h>
#include <zun/platform/file/GlobErrors.h>
#include <zun/platform/helper/CommonHelper.h>
#include <zun/text/ACharString.h>

#include <cerrno>
#include <cwchar>
#include <string>
#include <string_view>

namespace helper = orvane_com::zun::helper;

namespace {

constexpr wchar_t const group[] = L"FileInx";

/// As the locale has it. A name that the locale cannot express is reported and taken as UTF-8.
void widen(char const* path, std::wstring& text) {
    std::string_view const bytes(path);
    if (widenPlain(bytes, text))
        return;
    text.resize(bytes.size());
    std::mbstate_t state{};
    std::size_t const count = std::mbsrtowcs(text.data(), &path, text.size(), &state);
    if (count != static_cast<std::size_t>(-1)) {
        text.resize(count);
        return;
    }
    text = helper::toWide(bytes);
    logError(group, (L"The locale cannot express the file name " + text).c_str());
}

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
    AString match;
    std::wstring& text = (path ? *path : match).cpp_str();
    if (path || name)
        widen(*m_next, text);
    bool const marked = std::string_view(*m_next).ends_with('/');
    if (marked && !text.empty())
        text.pop_back();
    if (isDirectory)
        *isDirectory = marked;
    if (name) {
        std::size_t const slash = text.rfind(L'/');
        name->cpp_str().assign(text, slash == std::wstring::npos ? text.size() : slash + 1);
    }
    if (size)
        *size = 0;
    ++m_next;
    return true;
}

void AFileIndex::close() {
    globfree(&m_matches);
    m_matches = {};
    m_next = nullptr;
}
