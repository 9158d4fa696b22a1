#pragma once

#include <zun/Api.h>
#include <zun/text/AString.h>

/// Items joined with a separator as they are streamed in. The inherited text stays empty: the joined text is
/// what the list converts to.
class ZUN_API AStringList : public AString {
public:
    /// With `terminate` the separator follows every item, otherwise it goes between items.
    AStringList(wchar_t const* separator, bool terminate);

    /// Back to no items.
    void clear();

    /// Each appends one item, formatted as AString does for the same type.
    AStringList& operator<<(wchar_t const* item);
    AStringList& operator<<(char const* item);
    AStringList& operator<<(int item);
    AStringList& operator<<(void* item);
    AStringList& operator<<(AFormat const& item);

    /// The joined text; valid until the list changes.
    operator wchar_t const*() const { return m_list; }

private:
    template <typename Item>
    AStringList& append(Item const& item);

    AString m_list;
    AString m_separator;
    bool m_terminate;
    bool m_first;
};
