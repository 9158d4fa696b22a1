#include <zun/files/ALibrary.h>
#include <zun/files/APath.h>
#include <zun/linux/CallTrace.h>
#include <zun/platform/helper/CommonHelper.h>
#include <zun/text/ACharString.h>

#include <cstring>
#include <string>

namespace helper = orvane_com::zun::helper;

namespace {

constexpr wchar_t const group[] = L"Library";

/// The same on every system, so that names in configurations are.
AString decorated(wchar_t const* name) {
    AString directory;
    AString bareName;
    bool const hasDirectory = splitPath(name, &directory, &bareName);
    AString fileName(L"lib");
    fileName << (hasDirectory ? bareName : directory) << L".dylib";
    return hasDirectory ? APath(directory, fileName) : fileName;
}

} // namespace

ALibrary::~ALibrary() {
    close();
}

bool ALibrary::open(bool, wchar_t const* name, bool decorate, bool keepLoaded) {
    close();
    m_keepLoaded = keepLoaded;
    AString const path = decorate ? decorated(name) : AString(name);
    CallTrace const trace(group, L"portable LoadLibrary", path);
    std::string error;
    m_handle = helper::loadLibrary(std::string(ACharString(path)), error);
    if (!m_handle) {
        logError(group, AString(error.c_str()));
        return false;
    }
    logResult(group, AString(m_handle));
    return true;
}

bool ALibrary::get(bool logIfMissing, char const* symbol, void* out) {
    CallTrace const trace(group, L"portable GetProcAddress", m_handle, symbol);
    std::string error = "no library is open";
    void* const address = m_handle ? helper::getSymbol(m_handle, symbol, error) : nullptr;
    std::memcpy(out, &address, sizeof address);
    if (!address && logIfMissing)
        logError(group, AString(error.c_str()));
    return address != nullptr;
}

void ALibrary::close() {
    if (m_handle && !m_keepLoaded)
        helper::freeLibrary(m_handle);
    m_handle = nullptr;
}
