#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// The settings of an INI file: values by section and key, in a hash table over the file's text. Reading tens
/// of thousands of settings takes a few allocations, and a look-up touches few lines of memory.
class IniSettings {
public:
    /// None yet; `text` is what they will be read from.
    explicit IniSettings(std::wstring text = {});
    IniSettings(IniSettings const&) = delete;
    IniSettings& operator=(IniSettings const&) = delete;

    std::wstring const& text() const { return m_text; }

    /// Adds the setting or replaces its value; false when it had that value. Names and values that lie in
    /// text() are not copied.
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
        bool isFree() const { return key.data() == nullptr; }

        /// Part of the hash of section and key.
        std::uint32_t hash = 0;
        std::uint32_t section = 0;
        std::wstring_view key;
        std::wstring_view value;
        /// Holds a value that does not lie in the text.
        std::unique_ptr<std::wstring const> ownValue;
    };

    bool liesInText(std::wstring_view part) const;
    void setValue(Entry& entry, std::wstring_view value) const;
    std::uint32_t sectionOf(std::wstring_view name);
    /// Where the setting is in the table, or the free place that it would get.
    std::size_t findPlace(std::uint32_t hash, std::wstring_view section, std::wstring_view key) const;
    void grow();

    std::wstring const m_text;
    /// The keys that do not lie in the text.
    std::deque<std::wstring> m_ownKeys;
    std::vector<Section> m_sections;
    std::map<std::wstring, std::uint32_t, std::less<>> m_sectionByName;
    std::uint32_t m_lastSection = 0;
    std::size_t m_count = 0;
    /// A power of two of them, at least a quarter free.
    std::vector<Entry> m_table;
};
