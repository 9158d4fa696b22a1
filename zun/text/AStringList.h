#pragma once

#include <zun/Api.h>
#include <zun/text/AString.h>

#include <utility>

/// A text that grows by items, joined with a separator as they are streamed in.
class ZUN_API AStringList : public AString {
public:
    /// With `terminate` the separator follows every item, otherwise it goes between items.
    AStringList(wchar_t const* separator, bool terminate);

    /// Back to no items.
    void clear();

    /// Each appends one item, formatted as AString does for the same type.
    template <AScalarSource Item>
    AStringList& operator<<(Item item) {
        return append(item);
    }
    template <AClassSource Item>
    AStringList& operator<<(Item const& item) {
        return append(item);
    }

    /// Items are streamed in.
    void operator+=(auto const& item) = delete;

private:
    template <typename Item>
    AStringList& append(Item const& item) {
        AString entry = leading();
        entry << item;
        return add(std::move(entry));
    }

    /// What stands before the next item.
    AString leading() const;
    AStringList& add(AString&& entry);

    AString m_separator;
    bool m_terminate;
    bool m_first;
};
