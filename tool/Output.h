#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tool {

/// Standard output. What is written goes out when 64 KiB have come together, with flush, and at the end; a
/// reader that has gone ends the program quietly.
class Output {
public:
    static Output& standard();

    bool isTerminal() const { return m_isTerminal; }
    /// A terminal, unless the environment says NO_COLOR.
    bool hasColour() const { return m_hasColour; }

    void write(std::string_view bytes);
    void writeLine(std::string_view text);
    void flush();

private:
    Output();

    bool const m_isTerminal;
    bool const m_hasColour;
    std::string m_waiting;
};

/// For people: control characters, bytes that are no UTF-8 and what turns the direction of writing become
/// \xHH or \u{HHHH}, so that no text moves a terminal's cursor or hides another. TAB stays.
std::string forPeople(std::string_view text);
void appendForPeople(std::string& out, std::string_view text);

/// A JSON string with its quotes. Bytes that are no UTF-8 become U+FFFD.
void appendJsonText(std::string& out, std::string_view text);

/// One JSON object in one line, member by member.
class JsonObject {
public:
    JsonObject& text(std::string_view name, std::string_view value);
    JsonObject& number(std::string_view name, std::int64_t value);
    JsonObject& number(std::string_view name, std::uint64_t value);
    JsonObject& flag(std::string_view name, bool value);
    JsonObject& texts(std::string_view name, std::vector<std::string_view> const& values);
    /// `value` is JSON.
    JsonObject& raw(std::string_view name, std::string_view value);

    std::string finish() const { return m_members + "}"; }

private:
    void begin(std::string_view name);

    std::string m_members = "{";
};

/// Rows whose columns are aligned, all but the last one.
class Table {
public:
    void add(std::vector<std::string> row) { m_rows.push_back(std::move(row)); }
    void write(Output& output) const;

private:
    std::vector<std::vector<std::string>> m_rows;
};

} // namespace tool
