#pragma once

#include <zun/platform/registry/Registry.h>

#include <string>

/// The result of setting a value to these bytes.
inline long setValue(HKEY key, char const* name, std::string const& bytes, unsigned long type = REG_SZ) {
    return RegSetValueEx(key, name, 0, type, reinterpret_cast<unsigned char const*>(bytes.data()),
                         bytes.size());
}

/// The value's bytes, or "error N".
inline std::string getValue(HKEY key, char const* name, unsigned long* type = nullptr) {
    std::string bytes(100'000, '#');
    unsigned long size = bytes.size();
    long const error =
        RegQueryValueEx(key, name, nullptr, type, reinterpret_cast<unsigned char*>(bytes.data()), &size);
    return error == ERROR_SUCCESS ? bytes.substr(0, size) : "error " + std::to_string(error);
}
