#include <fuzz/LiteralIni.h>
#include <fuzz/ScratchFile.h>
#include <zun/structured/AnIni2.h>
#include <zun/structured/AnXml.h>

#include <cstdlib>

/// The input is an INI file. Verdict and settings are those of the grammar's single steps, and a file that
/// was written from them reads the same.
extern "C" int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    static ScratchFile const file("ini_text_fuzz");
    std::string const bytes(reinterpret_cast<char const*>(data), size);
    file.write(bytes);
    AnIni2 ini(file.widePath());
    AString text;
    bool const isText = bytes.empty() || AnXml::convertUtf8ToUnicode(bytes.c_str(), text);
    literal::Ini expected(text.const_cpp_str());
    AnIni2::IniMap settings;
    if (ini.getIniMap(settings) != (isText && expected.parsed()) || settings != expected.sections)
        std::abort();
    if (!ini.parsed() || settings.contains(L""))
        return 0;
    ini.set(L"s", L"k", L"v");
    ini.getIniMap(settings);
    ini.open(file.widePath());
    AnIni2::IniMap written;
    if (!ini.getIniMap(written) || written != settings)
        std::abort();
    return 0;
}
