#pragma once

#include <zun/Api.h>
#include <zun/text/AString.h>

// Paths as text; "/" is the only separator. The results may be the texts that the arguments point into.

/// Puts `base` and `name` into `out` with one "/" where they meet; of several that `name` begins with one is
/// dropped. A null or empty part is left out with its "/". Returns the text of `out`.
ZUN_API wchar_t const* joinPath(AString* out, wchar_t const* base, wchar_t const* name);

/// Cuts the path at its last "/", which belongs to neither part. Without one the whole path is the directory,
/// the name is empty, and the result is false. Both results may be null.
ZUN_API bool splitPath(wchar_t const* path, AString* directory, AString* name);

/// Two parts joined as joinPath does.
class ZUN_API APath : public AString {
public:
    APath(AString const& base, AString const& name);
};
