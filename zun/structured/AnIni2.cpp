#include <zun/binary/ABuffer.h>
#include <zun/linux/log.h>
#include <zun/platform/file/FileLock.h>
#include <zun/platform/file/Place.h>
#include <zun/platform/file/Refusal.h>
#include <zun/platform/file/WholeFile.h>
#include <zun/platform/helper/CommonHelper.h>
#include <zun/structured/AnIni2.h>
#include <zun/structured/AnXml.h>
#include <zun/structured/IniSettings.h>
#include <zun/text/ACharString.h>

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <cwctype>
#include <exception>
#include <fcntl.h>
#include <optional>

using namespace orvane_com::file::ini;
using namespace orvane_com::zun;

namespace {

constexpr wchar_t const* group = L"ini";
constexpr wchar_t const* notParsed = L"Ini file not parsed in AnIni2";

bool isWhiteSpace(wchar_t character) {
    constexpr wchar_t firstBeyondAscii = 0x80;
    if (character < firstBeyondAscii)
        return character == L' ' || (character >= L'\t' && character <= L'\r');
    return iswspace(static_cast<wint_t>(character)) != 0;
}

/// Where the first character stands that may end a name, a value or a comment.
wchar_t const* findRunEnd(wchar_t const* at, wchar_t const* end) {
    return std::find_if(at, end, [](wchar_t c) {
        // They are all among the first hundred characters, most letters are not.
        return c <= L']' && (c == L'\n' || c == L'\r' || c == L'=' || c == L'[' || c == L']');
    });
}

bool isOneLineOfUnicode(std::wstring_view text) {
    return std::none_of(text.begin(), text.end(), [](wchar_t c) {
        auto const character = static_cast<char32_t>(c);
        return c == L'\n' || c == L'\r' || c == L'\0' || character > 0x10FFFF ||
               (character >= 0xD800 && character <= 0xDFFF);
    });
}

void extend(std::wstring_view& part, wchar_t const* next, std::size_t count) {
    part = {part.empty() ? next : part.data(), part.size() + count};
}

/// Whether a file that could not be read was there to be opened, or the process itself is at its end.
bool isOtherThanTheFiles(int error) {
    return error == EISDIR || error == EIO || error == EMFILE || error == ENFILE || error == ENOMEM;
}

bool hasNoSpace(int error) {
    return error == ENOSPC || error == EDQUOT || error == EFBIG || error == EIO;
}

/// The beginning, the file's name and the reason.
void logFailure(wchar_t const* begin, AString const& fileName, int error) {
    AString message;
    message << begin << fileName << L"\": " << helper::toWide(file::reasonFor(error));
    logError(group, message);
}

/// False, with errno set and reasonFor it.
bool writeLocked(std::string const& path, std::string_view bytes) {
    // Held against the other writers of profile strings; it is had only where the file can be written.
    std::optional<file::Place> const place = file::Place::find(path);
    if (!place)
        return false;
    file::FileLock const lock(*place);
    if (!lock.isHeld())
        return false;
    if (file::replaceWholeFile(*place, bytes))
        return true;
    if (file::isRefusal(errno) || (errno != EACCES && errno != EPERM && errno != EROFS && errno != EBUSY))
        return false;
    // No file can be made beside it, or it is mounted by itself: it is written in place.
    return place->open(file::Place::Kind::data, O_WRONLY | O_TRUNC).write(bytes) == bytes.size();
}

} // namespace

AnIni2::AnIni2(AString const& fileName) : AnIni(fileName), m_settings(std::make_unique<IniSettings>()) {
    initialize();
}

AnIni2::~AnIni2() {
    try {
        write();
    } catch (std::exception const&) {
        logError(group, L"Not enough memory to write the changes");
    }
}

void AnIni2::initialize() {
    m_parsed = parse();
    // What was read is no change; nor must it become one if what follows fails.
    m_modified = false;
    if (!m_parsed) {
        logInternalError(group, notParsed);
        m_settings = std::make_unique<IniSettings>();
    }
}

void AnIni2::open(AString const& fileName) {
    close();
    AnIni::open(fileName);
    initialize();
}

void AnIni2::close() {
    auto none = std::make_unique<IniSettings>();
    write();
    m_settings = std::move(none);
    m_parsed = false;
    AnIni::close();
}

bool AnIni2::get(bool required, AString const& section, AString const& key, AString& value) {
    if (!m_parsed)
        return AnIni::get(required, section, key, value);
    if (m_settings->find(section.const_cpp_str(), key.const_cpp_str(), value.cpp_str()))
        return true;
    if (required) {
        AString message;
        message << L"Couldn't read required section \"" << section << L"\", setting \"" << key
                << L"\" from file \"" << fileName() << L"\"";
        logError(group, message);
    }
    value = L"";
    return false;
}

bool AnIni2::tryGet(AString const& section, AString const& key, AString& value) {
    return get(false, section, key, value);
}

bool AnIni2::getExisting(AString const& section, AString const& key, AString& value) {
    return get(true, section, key, value);
}

void AnIni2::set(AString const& section, AString const& key, AString const& value) {
    if (!m_parsed) {
        AnIni::set(section, key, value);
    } else if (!canBeReadBack(section.const_cpp_str(), key.const_cpp_str(), value.const_cpp_str())) {
        AString message;
        message << L"Unable to insert " << section << L", " << key << L", and " << value << L" into the map.";
        logInternalError(group, message);
    } else {
        m_settings->enterSection(section.const_cpp_str());
        insert(section.const_cpp_str(), key.const_cpp_str(), value.const_cpp_str());
    }
}

bool AnIni2::getIniMap(IniMap& out) {
    if (!m_parsed) {
        logInternalError(group, notParsed);
        m_settings = std::make_unique<IniSettings>();
        return false;
    }
    out.clear();
    for (auto const& [name, settings] : m_settings->inOrder()) {
        Settings& section = out.emplace_hint(out.end(), name, Settings())->second;
        for (auto const& [key, value] : settings)
            section.emplace_hint(section.end(), key, value);
    }
    return true;
}

void AnIni2::write() {
    if (!m_modified)
        return;
    std::wstring text;
    for (auto const& [name, settings] : m_settings->inOrder()) {
        text.append(L"[").append(name).append(L"]\n");
        for (auto const& [key, value] : settings)
            text.append(key).append(L"=").append(value).append(L"\n");
        text.append(L"\n");
    }
    // Converted, which traces, before the file's lock is held.
    std::string const path{ACharString(fileName())};
    std::setlocale(LC_ALL, "");
    AnObjectBuffer<unsigned char> bytes;
    if (AnXml::convertUnicodeToUtf8(text.c_str(), bytes) && !writeLocked(path, bytes.cpp_str().c_str()) &&
        (file::isRefusal(errno) || hasNoSpace(errno))) {
        logFailure(L"Couldn't write file \"", fileName(), errno);
        return;
    }
    m_modified = false;
}

/// False, logged, when the file was refused, could be opened but not be read, or is no UTF-8.
bool AnIni2::readText(AString& text) const {
    std::string bytes;
    if (!file::readWholeFile(static_cast<char const*>(ACharString(fileName())), bytes)) {
        if (!file::isRefusal(errno) && !isOtherThanTheFiles(errno))
            return true;
        logFailure(L"Couldn't read file \"", fileName(), errno);
        return false;
    }
    return bytes.empty() || AnXml::convertUtf8ToUnicode(bytes.c_str(), text);
}

bool AnIni2::parse() {
    try {
        AString text;
        if (!readText(text))
            return false;
        m_settings = std::make_unique<IniSettings>(text.const_cpp_str());
        std::setlocale(LC_ALL, "");

        State state = LineStart;
        std::wstring_view section;
        std::wstring_view key;
        std::wstring_view value;
        unsigned line = 1;
        wchar_t const* at = text;
        wchar_t const* const end = at + text.size();
        while (at != end && state != Failed) {
            wchar_t const& c = *at++;
            switch (c) {
            case L'\n':
            case L'\r':
                processEOL(state, section, key, value, static_cast<int>(line));
                ++line;
                break;
            case L'=':
                processEqualSign(state, key, value, c, static_cast<int>(line));
                break;
            case L'[':
                processLeftBracket(state, section, value, c, static_cast<int>(line));
                break;
            case L']':
                processRightBracket(state, section, value, c, static_cast<int>(line));
                break;
            case L';':
                if (state == LineStart)
                    state = InComment;
                [[fallthrough]];
            default:
                processDefault(state, section, key, value, c);
            }
            if (state == LineStart || state == Failed)
                continue;
            // The characters up to the next of the above are taken in one step.
            wchar_t const* const runEnd = findRunEnd(at, end);
            auto const count = static_cast<std::size_t>(runEnd - at);
            if (state == InSection)
                extend(section, at, count);
            else if (state == InKey)
                extend(key, at, count);
            else if (state == InValue)
                extend(value, at, count);
            at = runEnd;
        }
        processEOF(state, section, key, value);
        return state == LineStart;
    } catch (std::exception const& exception) {
        m_modified = false;
        AString message;
        message << L"Exception " << exception.what() << L" trying to parse " << fileName();
        logInternalError(group, message);
    }
    return false;
}

/// Whether the parser can read a setting of the name and value, from a file that was written with it. It
/// reads blanks at the ends, the empty key and the empty section as other ones, if at all.
bool AnIni2::canBeReadBack(std::wstring_view section, std::wstring_view key, std::wstring_view value) {
    constexpr std::wstring_view special = L"=[]";
    if (key.empty() && (section.empty() || !value.empty()))
        return false;
    if (section.find_first_of(special) != section.npos || key.find_first_of(special) != key.npos)
        return false;
    bool const isReadable =
        isOneLineOfUnicode(section) && isOneLineOfUnicode(key) && isOneLineOfUnicode(value);
    removeLeadingWhiteSpace(key);
    return isReadable && !key.starts_with(L';');
}

/// In the section that was entered. False, logged, when there is no memory for the setting.
bool AnIni2::insert(std::wstring_view section, std::wstring_view key, std::wstring_view value) {
    try {
        if (m_settings->insert(key, value))
            m_modified = true;
        return true;
    } catch (std::exception const& exception) {
        AString message;
        message << L"Exception " << exception.what() << L" trying to insert " << std::wstring(section)
                << L", " << std::wstring(key) << L", and " << std::wstring(value) << L" into the map";
        logInternalError(group, message);
        return false;
    }
}

void AnIni2::removeLeadingWhiteSpace(std::wstring_view& text) {
    while (!text.empty() && isWhiteSpace(text.front()))
        text.remove_prefix(1);
}

void AnIni2::removeTrailingWhiteSpace(std::wstring_view& text) {
    while (!text.empty() && isWhiteSpace(text.back()))
        text.remove_suffix(1);
}

void AnIni2::processLeftBracket(State& state, std::wstring_view& section, std::wstring_view& value,
                                wchar_t const& c, int line) const {
    if (state == LineStart) {
        section = {};
        state = InSection;
    } else if (state == InValue) {
        extend(value, &c, 1);
    } else {
        fail(state, L"Unexpected: '[' ", line);
    }
}

void AnIni2::processRightBracket(State& state, std::wstring_view& section, std::wstring_view& value,
                                 wchar_t const& c, int line) const {
    if (state == InSection && section.empty()) {
        fail(state, L"Unexpected: empty section ", line);
    } else if (state == InSection) {
        removeLeadingWhiteSpace(section);
        removeTrailingWhiteSpace(section);
        m_settings->enterSection(section);
        state = LineStart;
    } else if (state == InValue) {
        extend(value, &c, 1);
    } else {
        fail(state, L"Unexpected: ']' ", line);
    }
}

void AnIni2::processEqualSign(State& state, std::wstring_view& key, std::wstring_view& value,
                              wchar_t const& c, int line) const {
    if (state == InKey) {
        value = {};
        removeLeadingWhiteSpace(key);
        removeTrailingWhiteSpace(key);
        state = InValue;
    } else if (state == InValue) {
        extend(value, &c, 1);
    } else {
        fail(state, L"Unexpected: '=' ", line);
    }
}

void AnIni2::processEOL(State& state, std::wstring_view section, std::wstring_view key,
                        std::wstring_view& value, int line) {
    if (state == InValue)
        processEOF(state, section, key, value);
    else if (state == InComment)
        state = LineStart;
    else if (state != LineStart)
        fail(state, L"Unexpected: new line ", line);
}

void AnIni2::processDefault(State& state, std::wstring_view& section, std::wstring_view& key,
                            std::wstring_view& value, wchar_t const& c) {
    switch (state) {
    case LineStart:
        if (!isWhiteSpace(c)) {
            key = {&c, 1};
            state = InKey;
        }
        break;
    case InSection:
        extend(section, &c, 1);
        break;
    case InKey:
        extend(key, &c, 1);
        break;
    case InValue:
        extend(value, &c, 1);
        break;
    case InComment:
    case Failed:
        break;
    }
}

void AnIni2::processEOF(State& state, std::wstring_view section, std::wstring_view key,
                        std::wstring_view& value) {
    if (state != InValue)
        return;
    removeLeadingWhiteSpace(value);
    removeTrailingWhiteSpace(value);
    // Written back without it, the file would lose it too.
    state = insert(section, key, value) ? LineStart : Failed;
}

void AnIni2::fail(State& state, wchar_t const* reason, int line) const {
    state = Failed;
    AString message;
    message << reason << fileName() << L" line " << line;
    logInternalError(group, message);
}
