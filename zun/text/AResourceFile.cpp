#include <zun/linux/CallTrace.h>
#include <zun/linux/log.h>
#include <zun/structured/AnXml.h> // converts texts, and logs what it cannot convert
#include <zun/text/AResourceFile.h>

#include <cerrno>
#include <cstring>

AResourceFile::~AResourceFile() {
    close();
}

bool AResourceFile::openExisting(wchar_t const* path, unsigned short) {
    close();
    AString const name(path);
    AnObjectBuffer<unsigned char> utf8;
    bool const converted = AnXml::convertUnicodeToUtf8(name, utf8);
    CallTrace const trace(L"RcFile", L"catopen", name);

    if (converted)
        m_catalog = catopen(reinterpret_cast<char const*>(utf8.getBytes()), NL_CAT_LOCALE);
    else
        errno = EILSEQ;
    if (logErrnoIf(L"RcFile", m_catalog == closed))
        return false;
    logResult(L"RcFile", AString(static_cast<void*>(m_catalog)));
    return true;
}

wchar_t const* AResourceFile::getString(int id, AString* out) const {
    CallTrace const trace(L"RcFile", L"catgets", static_cast<void*>(m_catalog), id);

    static constexpr char missing[] = "~`~`~`~`~`";
    char const* const message = catgets(m_catalog, 1, id, missing);
    bool found = std::strcmp(message, missing) != 0;
    if (found && !AnXml::convertUtf8ToUnicode(message, *out)) {
        errno = EILSEQ;
        found = false;
    }
    if (logErrnoIf(L"RcFile", !found)) {
        *out = L"<";
        *out << id << L">";
    }
    return *out;
}

void AResourceFile::close() {
    if (m_catalog == closed)
        return;
    catclose(m_catalog);
    m_catalog = closed;
}
