#pragma once

#include <zun/Api.h>

#include <string>
#include <vector>

/// A key of a registry store, with its values in the store's order and spelling.
struct RegistryListing {
    struct Value {
        std::string name;
        unsigned long type;
        std::string bytes;
    };

    /// From HKEY_LOCAL_MACHINE on.
    std::string path;
    std::vector<Value> values;
};

/// The keys of the store in a file that have headers or values of their own, as one reader sees them; the
/// process's store stays what it is. False, with errno set and `keys` as it was, when the file cannot be
/// read.
ZUN_API bool listRegistryStore(std::wstring const& path, std::vector<RegistryListing>& keys);
