#include <zun/files/CEnclosureType.h>

#include <string>

#ifdef __APPLE__
#include <sys/sysctl.h>
#else
#include <zun/platform/file/WholeFile.h>

#include <algorithm>
#endif

namespace {

#ifdef __APPLE__

/// The system's name for the model; empty when it does not tell.
std::string modelName() {
    char model[256] = "";
    std::size_t size = sizeof model - 1;
    return sysctlbyname("hw.model", model, &size, nullptr, 0) == 0 ? model : "";
}

bool hasPortableChassis() {
    return false; // the model name tells
}

#else

std::string firstLine(char const* path) {
    std::string text;
    orvane_com::zun::file::readWholeFile(path, text);
    return text.substr(0, text.find('\n'));
}

std::string modelName() {
    return firstLine("/sys/class/dmi/id/product_name");
}

bool hasPortableChassis() {
    // SMBIOS 3.7, table 17: portable, laptop, notebook, sub-notebook, tablet, convertible, detachable.
    constexpr char const* portableTypes[] = {"8", "9", "10", "14", "30", "31", "32"};
    std::string const type = firstLine("/sys/class/dmi/id/chassis_type");
    return std::find(std::begin(portableTypes), std::end(portableTypes), type) != std::end(portableTypes);
}

#endif

char lower(char c) {
    return static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
}

} // namespace

int CEnclosureType::iIsAPortableComputer(bool& portable) {
    std::string model = modelName();
    for (char& c : model)
        c = lower(c);
    portable = model.find("book") != std::string::npos || hasPortableChassis();
    return 0;
}
