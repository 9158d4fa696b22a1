#include <zun/text/AFormat.h>

AFormat::AFormat(long number, wchar_t const* directives, int fieldWidth)
    : value(number), flags(directives), width(fieldWidth), precision(-1), isNumber(true) {}

AFormat::AFormat(wchar_t const* source, wchar_t const* directives, int fieldWidth, int cut)
    : text(source), flags(directives), width(fieldWidth), precision(cut), isNumber(false) {}
