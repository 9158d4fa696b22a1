#include <zun/linux/CallTrace.h>
#include <zun/linux/log.h>
#include <zun/platform/registry/ProfileString.h>
#include <zun/structured/AnIni.h>
#include <zun/text/ACharString.h>

#include <array>

namespace {

constexpr wchar_t const* group = L"ini";
constexpr wchar_t const* absentValue = L"`~`~";

} // namespace

AnIni::AnIni(AString const& fileName) {
    AnIni::open(fileName);
}

AnIni::~AnIni() = default;

bool AnIni::get(bool required, AString const& section, AString const& key, AString& value) {
    if (m_fileName.size() == 0) {
        logInternalError(group, L"No file name in AnIni::tryGet");
        return false;
    }
    value = L"";
    CallTrace const trace(group, L"GetPrivateProfileString", section, key, m_fileName);

    // One character more than the service may use: the text always ends.
    std::array<wchar_t, 4096> buffer{};
    GetPrivateProfileString(section, key, absentValue, buffer.data(), buffer.size() - 1, m_fileName);
    if (wcsicmp(buffer.data(), absentValue) != 0) {
        value = buffer.data();
        return true;
    }
    if (required) {
        AString message;
        message << L"Couldn't read required section \"" << section << L"\", setting \"" << key
                << L"\" of file \"" << m_fileName << L"\"";
        logError(group, message);
    }
    return false;
}

void AnIni::open(AString const& fileName) {
    m_fileName = fileName;
}

void AnIni::close() {
    m_fileName = L"";
}

bool AnIni::tryGet(AString const& section, AString const& key, AString& value) {
    return get(false, section, key, value);
}

bool AnIni::getExisting(AString const& section, AString const& key, AString& value) {
    return get(true, section, key, value);
}

void AnIni::set(AString const& section, AString const& key, AString const& value) {
    if (m_fileName.size() == 0) {
        logInternalError(group, L"No file name in AnIni::set");
        return;
    }
    WritePrivateProfileString(section, key, value, m_fileName);
}
