#include <zun/text/AStringList.h>

AStringList::AStringList(wchar_t const* separator, bool terminate)
    : m_separator(separator), m_terminate(terminate), m_first(true) {}

void AStringList::clear() {
    cpp_str().clear();
    m_first = true;
}

AString AStringList::leading() const {
    return m_terminate || m_first ? AString() : m_separator;
}

AStringList& AStringList::add(AString&& entry) {
    if (m_terminate)
        entry << m_separator;
    AString::operator<<(entry);
    m_first = false;
    return *this;
}
