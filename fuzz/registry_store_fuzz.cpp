#include <fuzz/ScratchFile.h>
#include <zun/platform/registry/Registry.h>

#include <cstdlib>
#include <optional>

namespace {

std::optional<std::string> get(HKEY key, std::string const& name) {
    std::string bytes(65536, '#');
    unsigned long size = bytes.size();
    if (RegQueryValueEx(key, name.c_str(), nullptr, nullptr, reinterpret_cast<unsigned char*>(bytes.data()),
                        &size) != ERROR_SUCCESS)
        return std::nullopt;
    return bytes.substr(0, size);
}

void require(bool condition) {
    if (!condition)
        std::abort();
}

} // namespace

/// The input is the name of a value, its type and bytes, and the store's text, a line each but for the last.
/// A value reads back as it was set, another one stays, and deleting a new value leaves the text as it was.
extern "C" int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    static ScratchFile const file("registry_store_fuzz");
    std::string input(reinterpret_cast<char const*>(data), size);
    std::string const name = takeLine(input).c_str();
    std::string const typed = takeLine(input);
    unsigned long const type = typed.empty() ? REG_SZ : static_cast<unsigned char>(typed[0]);
    file.write(input);
    static bool const isOpen = InitializeRegistry(file.widePath());
    require(isOpen);

    HKEY key = nullptr;
    bool const isThere = RegOpenKey(HKEY_LOCAL_MACHINE, "A\\B", &key) == ERROR_SUCCESS;
    require(isThere || RegCreateKey(HKEY_LOCAL_MACHINE, "A\\B", &key) == ERROR_SUCCESS);
    std::string const start = file.read();
    auto const before = get(key, name);
    auto const other = get(key, "other");
    long const result = RegSetValueEx(key, name.c_str(), 0, type,
                                      reinterpret_cast<unsigned char const*>(typed.data()), typed.size());
    if (result != ERROR_SUCCESS) {
        require(result == ERROR_INVALID_PARAMETER && file.read() == start);
    } else {
        require(get(key, name) == typed);
        auto const otherNow = get(key, "other");
        require(otherNow == other || otherNow == typed);
        require(RegDeleteValue(key, name.c_str()) == ERROR_SUCCESS && !get(key, name));
        // At most a line end and the key's header stay, at the end.
        require(before || file.read().starts_with(start));
    }
    RegCloseKey(key);
    return 0;
}
