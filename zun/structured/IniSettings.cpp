#include <zun/structured/IniSettings.h>

#include <sodium.h>

#include <algorithm>
#include <array>
#include <bit>
#include <stdexcept>

namespace {

constexpr std::uint32_t mostCharacters = 0x7FFFFFFF;

/// A byte a character; false when one is beyond ASCII.
bool narrowAscii(std::wstring_view text, char* bytes) {
    char32_t all = 0;
    for (std::size_t at = 0; at < text.size(); ++at) {
        all |= static_cast<char32_t>(text[at]);
        bytes[at] = static_cast<char>(text[at]);
    }
    return all < 0x80;
}

class KeyedHash {
public:
    KeyedHash() {
        if (sodium_init() < 0)
            throw std::runtime_error("no random numbers");
        crypto_shorthash_keygen(m_key.data());
    }

    std::uint64_t operator()(std::wstring_view text) const {
        std::array<char, 64> bytes;
        return text.size() <= bytes.size() && narrowAscii(text, bytes.data())
                   ? hash(bytes.data(), text.size())
                   : hash(text.data(), text.size() * sizeof(wchar_t));
    }

private:
    std::uint64_t hash(void const* bytes, std::size_t size) const {
        std::uint64_t result;
        static_assert(sizeof result == crypto_shorthash_BYTES);
        crypto_shorthash(reinterpret_cast<unsigned char*>(&result), static_cast<unsigned char const*>(bytes),
                         size, m_key.data());
        return result;
    }

    std::array<unsigned char, crypto_shorthash_KEYBYTES> m_key;
};

std::uint64_t hashOf(std::wstring_view text) {
    static KeyedHash const hash;
    return hash(text);
}

/// The part of both hashes that an entry keeps.
std::uint32_t combine(std::uint64_t sectionHash, std::uint64_t keyHash) {
    constexpr std::uint64_t oddFactor = 31;
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
    if (std::max(m_ascii.size(), m_others.size()) + text.size() > mostCharacters)
        throw std::length_error("too many settings");
    std::size_t at = m_ascii.size();
    m_ascii.resize(at + text.size());
    bool const isAscii = narrowAscii(text, m_ascii.data() + at);
    if (!isAscii) {
        m_ascii.resize(at);
        at = m_others.size();
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

IniSettings::IniSettings(std::wstring_view text) : m_table(tableSizeFor(likelySettingsIn(text))) {
    enterSection({});
}

void IniSettings::enterSection(std::wstring_view name) {
    if (m_entered < m_sections.size() && m_sectionNames.isEqual(m_sections[m_entered].name, name))
        return;
    std::uint64_t const hash = hashOf(name);
    auto const [first, last] = m_sectionByHash.equal_range(hash);
    auto found = std::find_if(first, last, [&](auto const& known) {
        return m_sectionNames.isEqual(m_sections[known.second].name, name);
    });
    if (found == last) {
        m_sections.push_back({m_sectionNames.add(name), hash});
        found = m_sectionByHash.emplace(hash, static_cast<std::uint32_t>(m_sections.size() - 1));
    }
    m_entered = found->second;
}

template <typename IsIn>
std::size_t IniSettings::findPlace(std::uint32_t hash, IsIn isIn, std::wstring_view key) const {
    std::size_t const mask = m_table.size() - 1;
    std::size_t at = hash & mask;
    for (; !m_table[at].isFree(); at = (at + 1) & mask) {
        Entry const& entry = m_table[at];
        if (entry.hash == hash && m_texts.isEqual(entry.key, key) && isIn(entry.section))
            break;
    }
    return at;
}

std::size_t IniSettings::longestSearch() const {
    std::size_t longest = 0;
    for (std::size_t at = 0; at < m_table.size(); ++at)
        if (!m_table[at].isFree())
            longest = std::max(longest, (at - m_table[at].hash) & (m_table.size() - 1));
    return longest;
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

bool IniSettings::insert(std::wstring_view key, std::wstring_view value) {
    grow();
    std::uint32_t const hash = combine(m_sections[m_entered].hash, hashOf(key));
    auto const isIn = [this](std::uint32_t section) { return section == m_entered; };
    Entry& entry = m_table[findPlace(hash, isIn, key)];
    if (entry.isFree()) {
        entry.key = m_texts.add(key);
        entry.value = m_texts.add(value);
        entry.hash = hash;
        entry.section = m_entered;
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
    auto const isIn = [&](std::uint32_t number) {
        return m_sectionNames.isEqual(m_sections[number].name, section);
    };
    Entry const& entry = m_table[findPlace(combine(hashOf(section), hashOf(key)), isIn, key)];
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

std::vector<IniSettings::SectionSettings> IniSettings::inOrder() const {
    std::vector<SectionSettings> sections(m_sections.size());
    for (std::size_t number = 0; number < sections.size(); ++number)
        m_sectionNames.copy(m_sections[number].name, sections[number].name);
    for (Entry const& entry : m_table) {
        if (entry.isFree())
            continue;
        Setting& setting = sections[entry.section].settings.emplace_back();
        m_texts.copy(entry.key, setting.key);
        copyValue(entry, setting.value);
    }
    for (SectionSettings& section : sections)
        std::sort(section.settings.begin(), section.settings.end(),
                  [](Setting const& left, Setting const& right) { return left.key < right.key; });
    std::erase_if(sections, [](SectionSettings const& section) { return section.settings.empty(); });
    std::sort(
        sections.begin(), sections.end(),
        [](SectionSettings const& left, SectionSettings const& right) { return left.name < right.name; });
    return sections;
}
