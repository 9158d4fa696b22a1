#pragma once

#include <zun/linux/log.h>
#include <zun/text/AStringList.h> // what is traced are calls of the rooms above, whose arguments are texts

/// A detail trace that names a call and its arguments, joined with ",".
class CallTrace : public ADetailTrace {
public:
    template <typename... Items>
    explicit CallTrace(wchar_t const* group, Items const&... items) : ADetailTrace(group, joined(items...)) {}

    /// Goes on to another call.
    template <typename... Items>
    void change(Items const&... items) {
        set(joined(items...), true);
    }

    template <typename... Items>
    static AStringList joined(Items const&... items) {
        AStringList list(L",", false);
        (list << ... << items);
        return list;
    }
};
