#pragma once

#include <zun/Api.h>

/// What kind of machine this is.
class ZUN_API CEnclosureType {
public:
    /// Answers in `portable`: false where the system does not tell. Returns 0. Any thread may call it.
    static int iIsAPortableComputer(bool& portable);
};
