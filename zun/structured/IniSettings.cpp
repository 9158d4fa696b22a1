#include <zun/structured/IniSettings.h>

#include <algorithm>
#include <bit>
#include <functional>
#include <stdexcept>

namespace {

constexpr std::uint32_t mostCharacters = 0x7FFFFFFF;

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
std::size_t likelySettingsIn(std::wstring_view text) {
    constexpr std::size_t shortLine = 16;
    auto const signs = static_cast<std::size_t>(std::count(text.begin(), text.end(), L'='));
    return std::min(signs, text.size() / shortLine);
}

} // namespace

IniSettings::Piece IniSettings::TextPool::add(std::wstring_view text) {
    bool const isAscii =
        std::all_of(text.begin(), text.end(), [](wchar_t c) { return static_cast<char32_t>(c) < 0x80; });
    std::size_t const at = isAscii ? m_ascii.size() : m_others.size();
    if (at + text.size() > mostCharacters)
        throw std::length_error("too many settings");
    if (isAscii) {
        m_ascii.resize(at + text.size());
        std::transform(text.begin(), text.end(), m_ascii.begin() + static_cast<std::ptrdiff_t>(at),
                       [](wchar_t c) { return static_cast<char>(c); });
    } else {
        m_others.append(text);
    }
    return {static_cast<std::uint32_t>(at), static_cast<std::uint32_t>(text.size()) & mostCharacters,
            isAscii};
}

bool IniSettings::TextPool::isEqual(Piece piece, std::wstring_view text) const {
    if (!piece.isAscii)
        return std::wstring_view(m_others).substr(piece.at, piece.length) == text;
    return piece.length == text.size() && std::equal(text.begin(), text.end(), m_ascii.data() + piece.at,
                                                     [](wchar_t c, char ascii) { return c == ascii; });
}

void IniSettings::TextPool::copy(Piece piece, std::wstring& text) const {
    if (!piece.isAscii) {
        text.assign(m_others, piece.at, piece.length);
        return;
    }
    text.resize(piece.length);
    std::copy_n(m_ascii.data() + piece.at, piece.length, text.data());
}

IniSettings::IniSettings(std::wstring_view text) : m_table(tableSizeFor(likelySettingsIn(text))) {}

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
        if (entry.hash == hash && m_texts.isEqual(entry.key, key) &&
            m_sections[entry.section].name == section)
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
    if (entry.isFree()) {
        entry.key = m_texts.add(key);
        entry.value = m_texts.add(value);
        entry.hash = hash;
        entry.section = sectionIndex;
        ++m_count;
        return true;
    }
    if (entry.newValue ? *entry.newValue == value : m_texts.isEqual(entry.value, value))
        return false;
    if (entry.newValue)
        entry.newValue->assign(value);
    else
        entry.newValue = std::make_unique<std::wstring>(value);
    return true;
}

bool IniSettings::find(std::wstring_view section, std::wstring_view key, std::wstring& value) const {
    Entry const& entry = m_table[findPlace(combine(hashOf(section), hashOf(key)), section, key)];
    if (entry.isFree())
        return false;
    copyValue(entry, value);
    return true;
}

void IniSettings::copyValue(Entry const& entry, std::wstring& value) const {
    if (entry.newValue)
        value = *entry.newValue;
    else
        m_texts.copy(entry.value, value);
}

std::vector<IniSettings::Setting> IniSettings::inOrder() const {
    std::vector<Setting> settings;
    settings.reserve(m_count);
    for (Entry const& entry : m_table) {
        if (entry.isFree())
            continue;
        Setting& setting = settings.emplace_back();
        setting.section = m_sections[entry.section].name;
        m_texts.copy(entry.key, setting.key);
        copyValue(entry, setting.value);
    }
    std::sort(settings.begin(), settings.end(), [](Setting const& left, Setting const& right) {
        int const order = left.section.compare(right.section);
        return order != 0 ? order < 0 : left.key < right.key;
    });
    return settings;
}
