#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

/// The settings of an INI file: values by section and key, in a hash table. Its hash is keyed by chance, so
/// that nobody can choose names that collide. Names and values in ASCII take a byte a character, so that a
/// look-up among tens of thousands of settings touches few lines of memory.
class IniSettings {
public:
    /// None yet; has room for those that `text` is likely to hold.
    explicit IniSettings(std::wstring_view text = {});
    IniSettings(IniSettings const&) = delete;
    IniSettings& operator=(IniSettings const&) = delete;

    /// Settings are inserted in this section from now on, before the first call in the one without a name.
    void enterSection(std::wstring_view name);

    /// Adds the setting or replaces its value; false when it had that value. Throws std::length_error beyond
    /// two thousand million characters.
    bool insert(std::wstring_view key, std::wstring_view value);

    /// False, `value` unchanged, when there is no such setting.
    bool find(std::wstring_view section, std::wstring_view key, std::wstring& value) const;

    struct Setting {
        std::wstring key;
        std::wstring value;
    };
    struct SectionSettings {
        std::wstring name;
        std::vector<Setting> settings;
    };
    /// The sections that have settings, and the keys in each, in ascending order.
    std::vector<SectionSettings> inOrder() const;

    /// How many others the search for a setting passes at most.
    std::size_t longestSearch() const;

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
        Piece name;
        std::uint64_t hash;
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

    /// Where the setting is in the table, or the free place that it would get. `isIn` tells whether a
    /// section, by its number, is the setting's.
    template <typename IsIn>
    std::size_t findPlace(std::uint32_t hash, IsIn isIn, std::wstring_view key) const;
    void copyValue(Entry const& entry, std::wstring& value) const;
    void grow();

    TextPool m_texts;
    TextPool m_sectionNames;
    std::vector<Section> m_sections;
    std::unordered_multimap<std::uint64_t, std::uint32_t> m_sectionByHash;
    std::uint32_t m_entered = 0;
    std::size_t m_count = 0;
    /// A power of two of them, at least a quarter free.
    std::vector<Entry> m_table;
};
