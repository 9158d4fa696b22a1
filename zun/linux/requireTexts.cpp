#include <zun/linux/requireTexts.h>

#undef NDEBUG
#include <cassert>

void assertTexts(wchar_t const* logGroup, wchar_t const* message) {
// The place that crash reports are grouped by.
#line 118 "../linux/log"
    assert(logGroup && message);
}
