#include <zun/structured/IniSettings.h>

#include <algorithm>
#include <bit>
#include <functional>

namespace {

std::size_t hashOf(std::wstring_view text) {
    return std::hash<std::wstring_view>()(text);
}

/// The part of both hashes that an entry keeps.
std::uint32_t combine(std::size_t sectionHash, std::size_t keyHash) {
    constexpr std::size_t oddFactor = 31;
    return static_cast<std::uint32_t>(sectionHash * oddFactor + keyHash);
}

std::size_t tableSizeFor(std::size_t settings) {
    constexpr std::size_t smallest = 16;
    return std::max(smallest, std::bit_ceil(settings / 3 * 4));
}

/// About how many there are: each has an equal sign, but a text of nothing else must not take a table that is
/// many times its size.
std::size_t likelySettingsIn(std::wstring const& text) {
    constexpr std::size_t shortLine = 16;
    auto const signs = static_cast<std::size_t>(std::count(text.begin(), text.end(), L'='));
    return std::min(signs, text.size() / shortLine);
}

} // namespace

IniSettings::IniSettings(std::wstring text)
    : m_text(std::move(text)), m_table(tableSizeFor(likelySettingsIn(m_text))) {}

bool IniSettings::liesInText(std::wstring_view part) const {
    std::less_equal<wchar_t const*> const isNotAfter;
    return isNotAfter(m_text.data(), part.data()) &&
           isNotAfter(part.data() + part.size(), m_text.data() + m_text.size());
}

void IniSettings::setValue(Entry& entry, std::wstring_view value) const {
    if (liesInText(value)) {
        entry.value = value;
        entry.ownValue.reset();
    } else {
        entry.ownValue = std::make_unique<std::wstring const>(value);
        entry.value = *entry.ownValue;
    }
}

std::uint32_t IniSettings::sectionOf(std::wstring_view name) {
    // Settings of one section mostly come one after the other.
    if (m_lastSection < m_sections.size() && m_sections[m_lastSection].name == name)
        return m_lastSection;
    auto found = m_sectionByName.find(name);
    if (found == m_sectionByName.end()) {
        m_sections.push_back({std::wstring(name), hashOf(name)});
        found = m_sectionByName.emplace(name, static_cast<std::uint32_t>(m_sections.size() - 1)).first;
    }
    return m_lastSection = found->second;
}

std::size_t IniSettings::findPlace(std::uint32_t hash, std::wstring_view section,
                                   std::wstring_view key) const {
    std::size_t const mask = m_table.size() - 1;
    std::size_t at = hash & mask;
    for (; !m_table[at].isFree(); at = (at + 1) & mask) {
        Entry const& entry = m_table[at];
        if (entry.hash == hash && entry.key == key && m_sections[entry.section].name == section)
            break;
    }
    return at;
}

void IniSettings::grow() {
    if (m_count < m_table.size() / 4 * 3)
        return;
    std::vector<Entry> table(m_table.size() * 2);
    std::size_t const mask = table.size() - 1;
    for (Entry& entry : m_table) {
        if (entry.isFree())
            continue;
        std::size_t at = entry.hash & mask;
        while (!table[at].isFree())
            at = (at + 1) & mask;
        table[at] = std::move(entry);
    }
    m_table.swap(table);
}

bool IniSettings::insert(std::wstring_view section, std::wstring_view key, std::wstring_view value) {
    grow();
    std::uint32_t const sectionIndex = sectionOf(section);
    std::uint32_t const hash = combine(m_sections[sectionIndex].hash, hashOf(key));
    Entry& entry = m_table[findPlace(hash, section, key)];
    if (!entry.isFree()) {
        if (entry.value == value)
            return false;
        setValue(entry, value);
        return true;
    }
    setValue(entry, value);
    entry.hash = hash;
    entry.section = sectionIndex;
    entry.key = liesInText(key) ? key : m_ownKeys.emplace_back(key);
    ++m_count;
    return true;
}

std::optional<std::wstring_view> IniSettings::find(std::wstring_view section, std::wstring_view key) const {
    Entry const& entry = m_table[findPlace(combine(hashOf(section), hashOf(key)), section, key)];
    return entry.isFree() ? std::nullopt : std::optional(entry.value);
}

std::vector<IniSettings::Setting> IniSettings::inOrder() const {
    std::vector<Setting> settings;
    settings.reserve(m_count);
    for (Entry const& entry : m_table)
        if (!entry.isFree())
            settings.push_back({m_sections[entry.section].name, entry.key, entry.value});
    std::sort(settings.begin(), settings.end(), [](Setting const& left, Setting const& right) {
        int const order = left.section.compare(right.section);
        return order != 0 ? order < 0 : left.key < right.key;
    });
    return settings;
}
