#include <zun/text/ALocalizedString.h>

AResourceFile* ALocalizedString::DefaultResourceFile = nullptr;

ALocalizedString::ALocalizedString(wchar_t const* text) : AString(text) {}

ALocalizedString::ALocalizedString(int id) : ALocalizedString(id, DefaultResourceFile) {}

ALocalizedString::ALocalizedString(int id, AResourceFile* file) {
    if (file)
        open(id, *file);
    else
        AString::operator=(L"Error:  Uninitialized resource file.");
}

void ALocalizedString::open(int id, AResourceFile const& file) {
    file.getString(id, this);
    m_nextArgument = 1;
}

ALocalizedString& ALocalizedString::fill(AString const& argument) {
    if (m_nextArgument <= 9)
        findAndReplace(AString(L"%") << m_nextArgument, argument);
    ++m_nextArgument;
    return *this;
}

void ALocalizedString::setDefaultResourceFile(AResourceFile* file) {
    DefaultResourceFile = file;
}
