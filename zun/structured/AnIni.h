#pragma once

#include <zun/Api.h>
#include <zun/text/AString.h>

/// Reads and writes single settings of an INI file, each call on the file itself, by the rules of
/// zun/platform/registry/ProfileString.h. Reports go to the log under "ini". An object is used by one thread
/// at a time; several objects, threads and processes may use one file.
class ZUN_API AnIni {
public:
    // NOLINTNEXTLINE(google-explicit-constructor): callers pass a file's name
    AnIni(AString const& fileName);
    AnIni(AnIni const&) = delete;
    AnIni& operator=(AnIni const&) = delete;

    /// The setting's value, up to 4094 characters of it. False, with an empty value, when the setting does
    /// not exist or is "`~`~", which is logged when it is `required`; false, logged, without a file name.
    virtual bool get(bool required, AString const& section, AString const& key, AString& value);
    virtual ~AnIni();

    /// Stores the file name alone; the file need not exist.
    virtual void open(AString const& fileName);

    /// Forgets the file name.
    virtual void close();

    /// get without and with `required`.
    virtual bool tryGet(AString const& section, AString const& key, AString& value);
    virtual bool getExisting(AString const& section, AString const& key, AString& value);

    /// Writes the setting at once; a failure goes unnoticed, but for a missing file name, which is logged.
    virtual void set(AString const& section, AString const& key, AString const& value);

protected:
    AString const& fileName() const { return m_fileName; }

private:
    AString m_fileName;
};
