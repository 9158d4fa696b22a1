#include <fuzz/OperationReader.h>
#include <fuzz/ScratchFile.h>
#include <zun/platform/registry/Registry.h>

#include <cstdlib>
#include <map>
#include <optional>
#include <set>
#include <vector>

namespace {

/// Paths with the folded form that all which are the same key share; empty where there is no such path.
constexpr char const* paths[][2] = {
    {"A", "a"},           {"a", "a"},           {"A\\B", "a\\b"},           {"a\\b\\C", "a\\b\\c"},
    {"\u03A3", "\u03C3"}, {"\u03C2", "\u03C3"}, {"\u0130\\x", "\u0130\\x"}, {"a\\\\b", ""},
    {"\\", ""},           {"x\n", ""}};
constexpr char const* names[][2] = {
    {"", ""}, {"v", "v"}, {"V", "v"}, {"\u00C4 \"\\", "\u00E4 \"\\"}, {"\u00E4 \"\\", "\u00E4 \"\\"}};
constexpr char const* values[] = {"", "text", "a \"quotation\"\\", "\xFF\x01\r\n", "1"};
/// That somebody else adds; they mean nothing, or end the key that is written last.
constexpr char const* strangeLines[] = {"; comment", "\"v\" = broken", "[", "[elsewhere]",
                                        "[HKEY_LOCAL_MACHINE\\Z]"};

using Values = std::map<std::string, std::pair<unsigned long, std::string>>;

void require(bool condition) {
    if (!condition)
        std::abort();
}

void check(HKEY key, char const* name, Values const& expected, std::string const& folded) {
    std::string bytes(64, '#');
    unsigned long size = bytes.size();
    unsigned long type = 0;
    long const error =
        RegQueryValueEx(key, name, nullptr, &type, reinterpret_cast<unsigned char*>(bytes.data()), &size);
    auto const found = expected.find(folded);
    require(error == (found == expected.end() ? ERROR_FILE_NOT_FOUND : ERROR_SUCCESS));
    if (found != expected.end())
        require(type == found->second.first && bytes.substr(0, size) == found->second.second);
}

} // namespace

/// The input is a program that creates keys and sets and deletes their values, with lines that somebody else
/// adds in between. Keys and values are those of a simple model.
extern "C" int LLVMFuzzerTestOneInput(unsigned char const* data, std::size_t size) {
    static ScratchFile const file("registry_program_fuzz");
    file.write("; top\n");
    static bool const isOpen = InitializeRegistry(file.widePath());
    require(isOpen);
    OperationReader program(data, size);
    std::set<std::string> keys;
    std::map<std::string, Values> valuesOf;
    for (int steps = 0; !program.isAtEnd() && steps < 200; ++steps) {
        std::size_t const operation = program.take(6);
        auto const& [path, foldedPath] = program.pick(paths);
        auto const& [name, foldedName] = program.pick(names);
        std::string const folded = foldedPath;
        bool const creates = operation < 3;
        HKEY key = nullptr;
        long const error = creates ? RegCreateKey(HKEY_LOCAL_MACHINE, path, &key)
                                   : RegOpenKey(HKEY_LOCAL_MACHINE, path, &key);
        if (folded.empty()) {
            require(error == ERROR_INVALID_PARAMETER);
            continue;
        }
        for (std::size_t end = folded.find('\\'); creates; end = folded.find('\\', end + 1)) {
            keys.insert(folded.substr(0, end));
            if (end == std::string::npos)
                break;
        }
        require(error == (keys.contains(folded) ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND));
        if (error != ERROR_SUCCESS)
            continue;
        Values& settings = valuesOf[folded];
        if (operation < 4) {
            std::string const value = program.pick(values);
            unsigned long const type = program.take(3);
            require(RegSetValueEx(key, name, 0, type, reinterpret_cast<unsigned char const*>(value.data()),
                                  value.size()) == ERROR_SUCCESS);
            settings[foldedName] = {type, value};
        } else if (operation == 4) {
            bool const wasThere = settings.erase(foldedName) != 0;
            require(RegDeleteValue(key, name) == (wasThere ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND));
        } else {
            file.write(file.read() + program.pick(strangeLines) + "\n");
        }
        check(key, name, settings, foldedName);
        require(RegCloseKey(key) == ERROR_SUCCESS && RegCloseKey(key) == ERROR_INVALID_HANDLE);
        require(file.read().starts_with("; top\n"));
    }
    for (auto const& [path, folded] : paths) {
        HKEY key = nullptr;
        if (*folded == '\0' || RegOpenKey(HKEY_LOCAL_MACHINE, path, &key) != ERROR_SUCCESS)
            continue;
        for (auto const& [name, foldedName] : names)
            check(key, name, valuesOf[folded], foldedName);
        RegCloseKey(key);
    }
    return 0;
}
