#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

/// The settings of an INI file: values by section and key, in a hash table. Names and values in ASCII take a
/// byte a character, so that a look-up among tens of thousands of settings touches few lines of memory.
class IniSettings {
public:
    /// None yet; has room for those that `text` is likely to hold.
    explicit IniSettings(std::wstring_view text = {});
    IniSettings(IniSettings const&) = delete;
    IniSettings& operator=(IniSettings const&) = delete;

    /// Adds the setting or replaces its value; false when it had that value. Throws std::length_error beyond
    /// two thousand million characters.
    bool insert(std::wstring_view section, std::wstring_view key, std::wstring_view value);

    /// False, `value` unchanged, when there is no such setting.
    bool find(std::wstring_view section, std::wstring_view key, std::wstring& value) const;

    struct Setting {
        /// Valid until the settings change.
        std::wstring_view section;
        std::wstring key;
        std::wstring value;
    };
    /// All settings, ascending by section, then key.
    std::vector<Setting> inOrder() const;

private:
    /// A text in the pool.
    struct Piece {
        std::uint32_t at;
        std::uint32_t length : 31;
        std::uint32_t isAscii : 1;
    };
    class TextPool {
    public:
        Piece add(std::wstring_view text);
        bool isEqual(Piece piece, std::wstring_view text) const;
        void copy(Piece piece, std::wstring& text) const;

    private:
        std::string m_ascii;
        std::wstring m_others;
    };
    struct Section {
        std::wstring name;
        std::size_t hash;
    };
    struct Entry {
        static constexpr std::uint32_t none = 0xFFFFFFFF;
        bool isFree() const { return section == none; }

        /// Part of the hash of section and key.
        std::uint32_t hash = 0;
        std::uint32_t section = none;
        Piece key{};
        Piece value{};
        /// The value once it has been replaced: the pool gives no room back.
        std::unique_ptr<std::wstring> newValue;
    };

    std::uint32_t sectionOf(std::wstring_view name);
    /// Where the setting is in the table, or the free place that it would get.
    std::size_t findPlace(std::uint32_t hash, std::wstring_view section, std::wstring_view key) const;
    void copyValue(Entry const& entry, std::wstring& value) const;
    void grow();

    TextPool m_texts;
    std::vector<Section> m_sections;
    std::map<std::wstring, std::uint32_t, std::less<>> m_sectionByName;
    std::uint32_t m_lastSection = 0;
    std::size_t m_count = 0;
    /// A power of two of them, at least a quarter free.
    std::vector<Entry> m_table;
};
