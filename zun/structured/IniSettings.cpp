#include <zun/structured/IniSettings.h>

#include <algorithm>
#include <functional>
#include <limits>
#include <stdexcept>

namespace {

constexpr std::size_t smallestTable = 16;

std::size_t hashOf(std::wstring_view text) {
    return std::hash<std::wstring_view>()(text);
}

std::size_t combine(std::size_t sectionHash, std::size_t keyHash) {
    constexpr std::size_t oddFactor = 31;
    return sectionHash * oddFactor + keyHash;
}

/// So much of a hash as a slot keeps.
std::uint32_t shortened(std::size_t hash) {
    return static_cast<std::uint32_t>(hash);
}

} // namespace

IniSettings::IniSettings(std::wstring text) : m_text(std::move(text)) {}

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

std::size_t IniSettings::findSlot(std::size_t hash, std::wstring_view section, std::wstring_view key) const {
    std::size_t const mask = m_slots.size() - 1;
    std::size_t at = hash & mask;
    for (; m_slots[at].entry != 0; at = (at + 1) & mask) {
        if (m_slots[at].hash != shortened(hash))
            continue;
        Entry const& entry = m_entries[m_slots[at].entry - 1];
        if (entry.key == key && m_sections[entry.section].name == section)
            break;
    }
    return at;
}

void IniSettings::grow() {
    if (m_entries.size() == std::numeric_limits<std::uint32_t>::max())
        throw std::length_error("too many settings");
    if (m_slots.size() >= (m_entries.size() + 1) * 2)
        return;
    std::vector<Slot> slots(std::max(smallestTable, m_slots.size() * 2));
    std::size_t const mask = slots.size() - 1;
    for (Slot const& slot : m_slots) {
        if (slot.entry == 0)
            continue;
        std::size_t at = slot.hash & mask;
        while (slots[at].entry != 0)
            at = (at + 1) & mask;
        slots[at] = slot;
    }
    m_slots.swap(slots);
}

bool IniSettings::insert(std::wstring_view section, std::wstring_view key, std::wstring_view value) {
    grow();
    std::uint32_t const sectionIndex = sectionOf(section);
    std::size_t const hash = combine(m_sections[sectionIndex].hash, hashOf(key));
    Slot& slot = m_slots[findSlot(hash, section, key)];
    if (slot.entry != 0) {
        Entry& entry = m_entries[slot.entry - 1];
        if (entry.value == value)
            return false;
        setValue(entry, value);
        return true;
    }
    Entry entry{key, {}, sectionIndex, nullptr};
    if (!liesInText(key))
        entry.key = m_ownKeys.emplace_back(key);
    setValue(entry, value);
    m_entries.push_back(std::move(entry));
    slot = {shortened(hash), static_cast<std::uint32_t>(m_entries.size())};
    return true;
}

std::optional<std::wstring_view> IniSettings::find(std::wstring_view section, std::wstring_view key) const {
    if (m_slots.empty())
        return std::nullopt;
    Slot const slot = m_slots[findSlot(combine(hashOf(section), hashOf(key)), section, key)];
    return slot.entry != 0 ? std::optional(m_entries[slot.entry - 1].value) : std::nullopt;
}

std::vector<IniSettings::Setting> IniSettings::inOrder() const {
    std::vector<Setting> settings;
    settings.reserve(m_entries.size());
    for (Entry const& entry : m_entries)
        settings.push_back({m_sections[entry.section].name, entry.key, entry.value});
    std::sort(settings.begin(), settings.end(), [](Setting const& left, Setting const& right) {
        int const order = left.section.compare(right.section);
        return order != 0 ? order < 0 : left.key < right.key;
    });
    return settings;
}
