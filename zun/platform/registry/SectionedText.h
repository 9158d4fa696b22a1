#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

/// Text in sections: header lines, entries below them, and lines that are neither. Lines end with LF, CR LF
/// or CR; a byte-order mark before the first is skipped. Names ignore case (see CaseFolding.h), and sections
/// of one name are one section. All text is UTF-8; bytes that are not are left as they are.
namespace orvane_com::zun::registry {

std::string_view trimBlanks(std::string_view text);

/// What the lines of a kind of text look like. A line comes without its end.
struct SectionFormat {
    struct Entry {
        std::string name;
        /// Where in the line the value starts.
        std::size_t value;
    };

    /// The section's name; none when the line is no header.
    std::optional<std::string> (*readHeader)(std::string_view line);
    std::optional<Entry> (*readEntry)(std::string_view line);
    std::string (*makeHeader)(std::string_view section);
    /// All of an entry's line before its value.
    std::string (*makeEntryStart)(std::string_view name);
};

/// Goes through a text line by line. The text must outlive it and stay as it is.
class SectionReader {
public:
    enum class Line { header, entry, other };

    SectionReader(SectionFormat const& format, std::string_view text);

    /// Goes to the next line; false when there is none.
    bool next();

    Line kind() const { return m_kind; }
    std::string_view line() const { return m_text.substr(m_begin, m_end - m_begin); }
    /// The last header's name; none before the first header.
    std::optional<std::string> const& section() const { return m_section; }
    bool isIn(std::string_view foldedSection) const { return m_section && m_foldedSection == foldedSection; }
    /// The entry's name and value.
    std::string const& name() const { return m_name; }
    std::string_view value() const { return m_text.substr(m_value, m_end - m_value); }

    /// Offsets in the text: of the line, of the entry's value, of the line's end and of what follows that.
    std::size_t begin() const { return m_begin; }
    std::size_t valueBegin() const { return m_value; }
    std::size_t end() const { return m_end; }
    std::size_t nextBegin() const { return m_next; }

private:
    SectionFormat const& m_format;
    std::string_view m_text;
    std::size_t m_begin = 0;
    std::size_t m_value = 0;
    std::size_t m_end = 0;
    std::size_t m_next = 0;
    Line m_kind = Line::other;
    std::optional<std::string> m_section;
    std::string m_foldedSection;
    std::string m_name;
};

/// Adds the section's header at the end, after an empty line, unless the section is there. A new line ends as
/// the text's first one does.
void addSection(SectionFormat const& format, std::string& text, std::string_view section);

/// Gives the section's first entry of that name the value, or adds the entry behind the section's others and,
/// if need be, the section. Names that are there keep their spelling, all other lines their bytes.
void setEntry(SectionFormat const& format, std::string& text, std::string_view section, std::string_view name,
              std::string_view value);

/// Removes all entries of that name from the section. False when there is none.
bool removeEntry(SectionFormat const& format, std::string& text, std::string_view section,
                 std::string_view name);

/// Removes the section's headers and all lines below them. False when there is none.
bool removeSection(SectionFormat const& format, std::string& text, std::string_view section);

} // namespace orvane_com::zun::registry
