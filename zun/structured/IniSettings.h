#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The settings of an INI file: values by section and key. A hash table over names that lie one after the
/// other in one text: reading tens of thousands of settings takes a few allocations, and a look-up touches
/// few lines of memory.
class IniSettings {
public:
    /// Makes room for settings of so many characters together.
    void reserve(std::size_t characters) { m_text.reserve(characters); }

    /// Adds the setting or replaces its value; false when it had that value.
    bool insert(std::wstring_view section, std::wstring_view key, std::wstring_view value);

    /// Valid until the settings change.
    std::optional<std::wstring_view> find(std::wstring_view section, std::wstring_view key) const;

    struct Setting {
        std::wstring_view section;
        std::wstring_view key;
        std::wstring_view value;
    };
    /// All settings, ascending by section, then key; valid until the settings change.
    std::vector<Setting> inOrder() const;

private:
    struct Section {
        std::wstring name;
        std::size_t hash;
    };
    struct Entry {
        std::uint32_t section;
        /// In m_text, where the value follows the key.
        std::size_t begin;
        std::size_t keySize;
        std::size_t valueSize;
        /// Once the value was replaced.
        std::unique_ptr<std::wstring> replacement;
    };
    /// Part of the hash, and an entry's index plus 1; 0 where there is none.
    struct Slot {
        std::uint32_t hash = 0;
        std::uint32_t entry = 0;
    };

    std::wstring_view keyOf(Entry const& entry) const;
    std::wstring_view valueOf(Entry const& entry) const;
    std::uint32_t sectionOf(std::wstring_view name);
    /// The setting's slot, or the free one that it would get.
    std::size_t findSlot(std::size_t hash, std::wstring_view section, std::wstring_view key) const;
    void grow();

    std::wstring m_text;
    std::vector<Section> m_sections;
    std::map<std::wstring, std::uint32_t, std::less<>> m_sectionByName;
    std::uint32_t m_lastSection = 0;
    std::vector<Entry> m_entries;
    /// A power of two of them, at least twice the entries.
    std::vector<Slot> m_slots;
};
