#include <zun/platform/registry/CaseFolding.h>
#include <zun/platform/registry/SectionedText.h>

#include <algorithm>

namespace orvane_com::zun::registry {

namespace {

constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";

bool isBlankLine(std::string_view line) {
    return trimBlanks(line).empty();
}

std::string_view lineEndOf(std::string_view text) {
    std::size_t const end = text.find_first_of("\r\n");
    if (end == std::string_view::npos)
        return "\n";
    return text.substr(end, text.substr(end).starts_with("\r\n") ? 2 : 1);
}

bool endsInsideLine(std::string_view text) {
    return !text.empty() && text != byteOrderMark && text.back() != '\n' && text.back() != '\r';
}

/// Removes every line for which `isRemoved` holds; false when there is none.
template <typename IsRemoved>
bool removeLines(SectionFormat const& format, std::string& text, IsRemoved isRemoved) {
    SectionReader reader(format, text);
    std::string kept;
    std::size_t begin = 0;
    while (reader.next()) {
        if (!isRemoved(reader))
            continue;
        kept.append(text, begin, reader.begin() - begin);
        begin = reader.nextBegin();
    }
    if (begin == 0)
        return false;
    text = kept.append(text, begin);
    return true;
}

} // namespace

std::string_view trimBlanks(std::string_view text) {
    std::size_t const first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(" \t") + 1 - first);
}

SectionReader::SectionReader(SectionFormat const& format, std::string_view text)
    : m_format(format), m_text(text), m_next(text.starts_with(byteOrderMark) ? byteOrderMark.size() : 0) {}

bool SectionReader::next() {
    if (m_next == m_text.size())
        return false;
    m_begin = m_next;
    m_end = std::min(m_text.find_first_of("\r\n", m_begin), m_text.size());
    m_next = std::min(m_end + (m_text.substr(m_end).starts_with("\r\n") ? 2 : 1), m_text.size());
    m_kind = Line::other;
    if (std::optional<std::string> header = m_format.readHeader(line())) {
        m_kind = Line::header;
        m_section = std::move(header);
        m_foldedSection = foldCase(*m_section);
    } else if (std::optional<SectionFormat::Entry> entry = m_format.readEntry(line())) {
        m_kind = Line::entry;
        m_name = std::move(entry->name);
        m_value = m_begin + entry->value;
    }
    return true;
}

void addSection(SectionFormat const& format, std::string& text, std::string_view section) {
    std::string const foldedSection = foldCase(section);
    SectionReader reader(format, text);
    while (reader.next())
        if (reader.isIn(foldedSection))
            return;
    std::string const lineEnd(lineEndOf(text));
    if (endsInsideLine(text))
        text += lineEnd;
    if (!text.empty() && text != byteOrderMark)
        text += lineEnd;
    text += format.makeHeader(section) + lineEnd;
}

void setEntry(SectionFormat const& format, std::string& text, std::string_view section, std::string_view name,
              std::string_view value) {
    addSection(format, text, section);
    std::string const foldedSection = foldCase(section);
    std::string const foldedName = foldCase(name);
    int headersSeen = 0;
    std::size_t firstSectionEnd = 0;
    SectionReader reader(format, text);
    while (reader.next()) {
        if (!reader.isIn(foldedSection))
            continue;
        if (reader.kind() == SectionReader::Line::entry && foldCase(reader.name()) == foldedName) {
            text.replace(reader.valueBegin(), reader.end() - reader.valueBegin(), value);
            return;
        }
        if (reader.kind() == SectionReader::Line::header)
            ++headersSeen;
        if (headersSeen == 1 && !isBlankLine(reader.line()))
            firstSectionEnd = reader.nextBegin();
    }
    std::string const lineEnd(lineEndOf(text));
    std::string line = format.makeEntryStart(name).append(value).append(lineEnd);
    if (firstSectionEnd == text.size() && endsInsideLine(text))
        line = lineEnd + line;
    text.insert(firstSectionEnd, line);
}

bool removeEntry(SectionFormat const& format, std::string& text, std::string_view section,
                 std::string_view name) {
    return removeLines(
        format, text,
        [foldedSection = foldCase(section), foldedName = foldCase(name)](SectionReader const& reader) {
            return reader.kind() == SectionReader::Line::entry && reader.isIn(foldedSection) &&
                   foldCase(reader.name()) == foldedName;
        });
}

bool removeSection(SectionFormat const& format, std::string& text, std::string_view section) {
    return removeLines(format, text, [foldedSection = foldCase(section)](SectionReader const& reader) {
        return reader.isIn(foldedSection);
    });
}

} // namespace orvane_com::zun::registry
