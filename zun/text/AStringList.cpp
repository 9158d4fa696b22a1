#include <zun/text/AStringList.h>

AStringList::AStringList(wchar_t const* separator, bool terminate)
    : m_separator(separator), m_terminate(terminate), m_first(true) {}

void AStringList::clear() {
    m_list = L"";
    m_first = true;
}

template <typename Item>
AStringList& AStringList::append(Item const& item) {
    AString entry;
    if (!m_terminate && !m_first)
        entry << m_separator;
    entry << item;
    if (m_terminate)
        entry << m_separator;
    m_list << entry;
    m_first = false;
    return *this;
}

AStringList& AStringList::operator<<(wchar_t const* item) {
    return append(item);
}

AStringList& AStringList::operator<<(char const* item) {
    return append(item);
}

AStringList& AStringList::operator<<(int item) {
    return append(item);
}

AStringList& AStringList::operator<<(void* item) {
    return append(item);
}

AStringList& AStringList::operator<<(AFormat const& item) {
    return append(item);
}
