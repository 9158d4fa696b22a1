#include <zun/platform/file/SharedFile.h>
#include <zun/platform/file/WholeFile.h>
#include <zun/platform/helper/CommonHelper.h>
#include <zun/platform/registry/CaseFolding.h>
#include <zun/platform/registry/ProfileString.h>
#include <zun/platform/registry/RefusedFile.h>
#include <zun/platform/registry/SectionedText.h>

#include <algorithm>
#include <cerrno>
#include <cwchar>
#include <functional>
#include <set>
#include <unistd.h>

using namespace orvane_com::zun;
using registry::SectionFormat;
using registry::SectionReader;
using registry::trimBlanks;

namespace {

constexpr wchar_t const* group = L"ini";

std::optional<std::string> readHeader(std::string_view line) {
    std::string_view const text = trimBlanks(line);
    if (!text.starts_with('['))
        return std::nullopt;
    std::size_t const end = text.find(']');
    if (end == std::string_view::npos)
        return std::nullopt;
    return std::string(trimBlanks(text.substr(1, end - 1)));
}

std::optional<SectionFormat::Entry> readEntry(std::string_view line) {
    std::size_t const equalSign = line.find('=');
    if (equalSign == std::string_view::npos)
        return std::nullopt;
    std::string_view const name = trimBlanks(line.substr(0, equalSign));
    if (name.empty() || name.starts_with(';'))
        return std::nullopt;
    return SectionFormat::Entry{std::string(name),
                                std::min(line.find_first_not_of(" \t", equalSign + 1), line.size())};
}

std::string makeHeader(std::string_view section) {
    return "[" + std::string(section) + "]";
}

std::string makeEntryStart(std::string_view name) {
    return std::string(name) + "=";
}

constexpr SectionFormat profileFormat{readHeader, readEntry, makeHeader, makeEntryStart};

std::string_view withoutQuotes(std::string_view value) {
    bool const quoted =
        value.size() >= 2 && (value.front() == '"' || value.front() == '\'') && value.front() == value.back();
    return quoted ? value.substr(1, value.size() - 2) : value;
}

std::optional<std::wstring> findValue(std::string_view text, std::string const& section,
                                      std::string const& key) {
    std::string const foldedSection = registry::foldCase(section);
    std::string const foldedKey = registry::foldCase(key);
    SectionReader reader(profileFormat, text);
    while (reader.next())
        if (reader.kind() == SectionReader::Line::entry && reader.isIn(foldedSection) &&
            registry::foldCase(reader.name()) == foldedKey)
            return helper::toWide(withoutQuotes(trimBlanks(reader.value())));
    return std::nullopt;
}

/// Names, each with a NUL behind it, in the order and spelling in which they first appear.
class NameList {
public:
    void add(std::string const& name) {
        if (m_known.insert(registry::foldCase(name)).second)
            m_list.append(helper::toWide(name)).push_back(L'\0');
    }
    std::wstring const& text() const { return m_list; }

private:
    std::set<std::string> m_known;
    std::wstring m_list;
};

std::wstring listSections(std::string_view text) {
    NameList names;
    SectionReader reader(profileFormat, text);
    while (reader.next())
        if (reader.kind() == SectionReader::Line::header)
            names.add(*reader.section());
    return names.text();
}

/// None when the section does not exist.
std::optional<std::wstring> listKeys(std::string_view text, std::string const& section) {
    std::string const foldedSection = registry::foldCase(section);
    bool exists = false;
    NameList names;
    SectionReader reader(profileFormat, text);
    while (reader.next()) {
        if (!reader.isIn(foldedSection))
            continue;
        exists = true;
        if (reader.kind() == SectionReader::Line::entry)
            names.add(reader.name());
    }
    return exists ? std::optional(names.text()) : std::nullopt;
}

/// Copies what fits before `terminators` NULs, and those; returns how many characters that were.
unsigned long copyText(std::wstring_view text, unsigned long terminators, wchar_t* buffer,
                       unsigned long size) {
    terminators = std::min(terminators, size);
    unsigned long const count = std::min<unsigned long>(text.size(), size - terminators);
    std::copy_n(text.data(), count, buffer);
    std::fill_n(buffer + count, terminators, L'\0');
    return count;
}

/// `list` ends with one of its two NULs, unless it is empty.
unsigned long copyList(std::wstring const& list, wchar_t* buffer, unsigned long size) {
    return list.size() < size ? copyText(list, list.empty() ? 2 : 1, buffer, size)
                              : copyText(list, 2, buffer, size);
}

std::string narrowName(wchar_t const* name) {
    return std::string(trimBlanks(helper::toNarrow(name)));
}

/// Whether the lines that the entry is written as are two lines, and give its names back.
bool canBeWritten(std::string const& section, std::string const& key, std::string const& value) {
    std::string const header = makeHeader(section);
    std::string const line = makeEntryStart(key) + value;
    auto const entry = readEntry(line);
    return (header + line).find_first_of("\r\n") == std::string::npos && readHeader(header) == section &&
           !readHeader(line) && entry && entry->name == key;
}

bool edit(std::string const& path, std::function<void(std::string&)> const& change) {
    if (file::editSharedFile(path, change))
        return true;
    registry::logRefusal(group, path);
    return false;
}

bool exists(std::string const& path) {
    return access(path.c_str(), F_OK) == 0 || errno != ENOENT;
}

} // namespace

unsigned long GetPrivateProfileString(wchar_t const* section, wchar_t const* key, wchar_t const* fallback,
                                      wchar_t* buffer, unsigned long size, wchar_t const* file) {
    if (!buffer || size == 0)
        return 0;
    std::string text;
    std::string const path = file ? helper::toNarrow(file) : std::string();
    if (file && !file::readWholeFile(path, text))
        registry::logRefusal(group, path);
    if (!section)
        return copyList(listSections(text), buffer, size);
    std::optional<std::wstring> found;
    if (!key) {
        found = listKeys(text, narrowName(section));
        if (found)
            return copyList(*found, buffer, size);
    } else {
        found = findValue(text, narrowName(section), narrowName(key));
    }
    return copyText(found ? *found : std::wstring_view(fallback ? fallback : L""), 1, buffer, size);
}

bool WritePrivateProfileString(wchar_t const* section, wchar_t const* key, wchar_t const* value,
                               wchar_t const* file) {
    if (!section || !file) {
        errno = EINVAL;
        return false;
    }
    std::string const path = helper::toNarrow(file);
    std::string const sectionName = narrowName(section);
    if (!key || !value) {
        if (!exists(path))
            return true;
        return edit(path, [&](std::string& text) {
            if (key)
                registry::removeEntry(profileFormat, text, sectionName, narrowName(key));
            else
                registry::removeSection(profileFormat, text, sectionName);
        });
    }
    std::string const keyName = narrowName(key);
    std::string const valueText = helper::toNarrow(value);
    if (!canBeWritten(sectionName, keyName, valueText)) {
        errno = EINVAL;
        return false;
    }
    return edit(path, [&](std::string& text) {
        registry::setEntry(profileFormat, text, sectionName, keyName, valueText);
    });
}
