#pragma once

#include <zun/Api.h>
#include <zun/structured/AnIni.h>

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>

namespace orvane_com::file::ini {

/// Where the parser stands.
enum State : std::int32_t {
    /// Between entries.
    LineStart = 0,
    /// After "[", in the section's name.
    InSection = 1,
    InKey = 2,
    /// After "=".
    InValue = 3,
    /// After a ";" that came first in its line, or first after a section's header.
    InComment = 4,
    /// A syntax error was logged.
    Failed = 5
};

} // namespace orvane_com::file::ini

class IniSettings;

/// An INI file read into memory as a whole: settings are looked up and changed there, and written back when
/// the object is closed or destroyed, if something changed. Names are case-sensitive.
///
/// The file is UTF-8. "[section]" heads "key=value" lines; blanks around names and values do not count. A
/// comment starts with ";", first in its line or right behind a header, ends with a line break, and must hold
/// none of "[", "]" and "=". Of a repeated key the last value counts; sections of one name are one. A file
/// that breaks these rules is logged and not parsed: every call then works on the file itself, as AnIni does.
/// A missing file parses as an empty one.
///
/// Reading and writing set the process's locale to the environment's; no other thread may use that locale at
/// the time, see setlocale(3). Reports go to the log under "ini". An object is used by one thread at a time.
class ZUN_API AnIni2 : public AnIni {
public:
    using Settings = std::map<std::wstring, std::wstring>;
    using IniMap = std::multimap<std::wstring, Settings>;

    // NOLINTNEXTLINE(google-explicit-constructor): callers pass a file's name
    AnIni2(AString const& fileName);

    /// False, with an empty value, when the setting does not exist, which is logged when it is `required`.
    bool get(bool required, AString const& section, AString const& key, AString& value) override;

    /// Closes; changes that there is no memory to write are lost, which is logged.
    ~AnIni2() override;

    /// Closes, then reads the file. After a std::bad_alloc nothing is open, or, when closing threw it, what
    /// was.
    void open(AString const& fileName) override;

    /// Writes the changes, then forgets settings and file name.
    void close() override;

    bool tryGet(AString const& section, AString const& key, AString& value) override;
    bool getExisting(AString const& section, AString const& key, AString& value) override;

    /// In memory. Refused, and logged, is what the parser would not read back: a line break, a NUL or what is
    /// no Unicode anywhere; a name with "=", "[" or "]"; a key that starts with ";" or is empty, unless the
    /// value is empty too and the section is not. (Blanks at the ends will not be read back, and an empty
    /// section or key fails the file.)
    void set(AString const& section, AString const& key, AString const& value) override;

    /// Reads the file again; changes that were not written are lost.
    void initialize();

    /// Whether the file was parsed.
    bool parsed() const { return m_parsed; }

    /// Copies all settings. False, logged and with `out` as it was, when the file was not parsed.
    bool getIniMap(IniMap& out);

    /// Writes the changes, if there are any: sections and keys in ascending order, no comments. A reader of
    /// the file sees it before the write or after it, unless the process may make no file beside it. Waits
    /// for other writers for up to 10 seconds. When the file cannot be opened, the changes are silently no
    /// longer taken for any. When it is refused, another writer does not end or the disk is full, which is
    /// logged, they are left for the next write, as after a std::bad_alloc.
    void write();

private:
    using State = orvane_com::file::ini::State;

    bool parse();
    bool readText(AString& text) const;
    static bool canBeReadBack(std::wstring_view section, std::wstring_view key, std::wstring_view value);
    bool insert(std::wstring_view section, std::wstring_view key, std::wstring_view value);

    static void removeLeadingWhiteSpace(std::wstring_view& text);
    static void removeTrailingWhiteSpace(std::wstring_view& text);

    // What the parser does with a character of the text, or at its end, in each state. Section, key and value
    // are parts of the text: a character that is added to one stands right behind it.
    void processLeftBracket(State& state, std::wstring_view& section, std::wstring_view& value,
                            wchar_t const& c, int line) const;
    void processRightBracket(State& state, std::wstring_view& section, std::wstring_view& value,
                             wchar_t const& c, int line) const;
    void processEqualSign(State& state, std::wstring_view& key, std::wstring_view& value, wchar_t const& c,
                          int line) const;
    void processEOL(State& state, std::wstring_view section, std::wstring_view key, std::wstring_view& value,
                    int line);
    static void processDefault(State& state, std::wstring_view& section, std::wstring_view& key,
                               std::wstring_view& value, wchar_t const& c);
    void processEOF(State& state, std::wstring_view section, std::wstring_view key, std::wstring_view& value);
    void fail(State& state, wchar_t const* reason, int line) const;

    std::unique_ptr<IniSettings> m_settings;
    bool m_modified = false;
    bool m_parsed = false;
};
