#pragma once

#include <zun/platform/registry/SectionedText.h>

#include <optional>
#include <string>
#include <string_view>

/// The text of a registry store; the format is described in RegistryFormat.cpp.
namespace orvane_com::zun::registry {

/// The type of the values that are kept as quoted text.
inline constexpr unsigned long textType = 1;

struct RegistryValue {
    unsigned long type;
    std::string bytes;
};

/// Sections are keys, by their whole paths; entries are values, by their names.
extern SectionFormat const registryFormat;

/// Whether the format can hold the name of a key or a value.
bool isRegistryName(std::string_view name);

/// A value as an entry holds it; none when the text is no value.
std::optional<RegistryValue> parseRegistryValue(std::string_view text);
std::string formatRegistryValue(RegistryValue const& value);

/// The text of a new store: a comment that tells a person about the format.
extern std::string_view const emptyRegistryText;

} // namespace orvane_com::zun::registry
