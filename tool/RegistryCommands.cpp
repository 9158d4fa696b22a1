#include "Output.h"
#include "Program.h"
#include <zun/platform/helper/CommonHelper.h>
#include <zun/platform/registry/Registry.h>
#include <zun/platform/registry/RegistryListing.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <memory>
#include <optional>
#include <unistd.h>

namespace tool {

namespace {

namespace helper = orvane_com::zun::helper;

constexpr std::string_view root = "HKEY_LOCAL_MACHINE";

/// Type 1 as text, all others in hexadecimal.
std::string valueText(unsigned long type, std::string const& bytes) {
    if (type == REG_SZ)
        return bytes.ends_with('\0') ? bytes.substr(0, bytes.size() - 1) : bytes;
    std::string text;
    for (char const character : bytes) {
        auto const byte = static_cast<unsigned char>(character);
        char digits[4];
        std::snprintf(digits, sizeof digits, "%02x", byte);
        text += digits;
    }
    return text;
}

std::string typeText(unsigned long type) {
    switch (type) {
    case REG_SZ:
        return "text";
    case REG_BINARY:
        return "binary";
    case REG_DWORD:
        return "number";
    default:
        return std::to_string(type);
    }
}

struct RegistryCommand {
    std::string store;
    std::string key;
    std::string name;
    std::string value;
    std::string type = "text";
    bool isJson = false;

    void list() const;
    void get() const;
    void set() const;
    void remove() const;

private:
    /// Below the root, which may be left out.
    std::string subKey() const {
        std::string const prefix = std::string(root) + "\\";
        return key == root ? "" : key.starts_with(prefix) ? key.substr(prefix.size()) : key;
    }
    void initialize() const {
        if (!InitializeRegistry(helper::toWide(store)))
            throw Failure::ofSystem(store, errno);
    }
    void check(long result) const {
        switch (result) {
        case ERROR_SUCCESS:
            return;
        case ERROR_FILE_NOT_FOUND:
            throw Failure(store + ": there is no " + key + (name.empty() ? "" : " \"" + name + "\""));
        case ERROR_INVALID_PARAMETER:
            throw Failure("\"" + key + "\", \"" + name + "\": no names of a key and a value", wrongUse);
        default:
            throw Failure::ofSystem(store, errno);
        }
    }
    std::string bytesToSet(unsigned long& number) const;
};

void RegistryCommand::list() const {
    requireReadable(store);
    std::vector<RegistryListing> keys;
    if (!listRegistryStore(helper::toWide(store), keys))
        throw Failure::ofSystem(store, errno);
    Output& output = Output::standard();
    std::string const whole = subKey().empty() ? std::string(root) : std::string(root) + "\\" + subKey();
    bool isFound = key.empty();
    for (RegistryListing const& listed : keys) {
        if (!key.empty() && listed.path != whole && !listed.path.starts_with(whole + "\\"))
            continue;
        isFound = true;
        if (!isJson)
            output.writeLine("[" + forPeople(listed.path) + "]");
        Table table;
        for (RegistryListing::Value const& listedValue : listed.values) {
            std::string const text = valueText(listedValue.type, listedValue.bytes);
            if (isJson)
                output.writeLine(JsonObject()
                                     .text("key", listed.path)
                                     .text("name", listedValue.name)
                                     .text("type", typeText(listedValue.type))
                                     .text("value", text)
                                     .finish());
            else
                table.add({"  " + forPeople(listedValue.name), typeText(listedValue.type), forPeople(text)});
        }
        table.write(output);
    }
    if (!isFound)
        check(ERROR_FILE_NOT_FOUND);
}

void RegistryCommand::get() const {
    requireReadable(store);
    initialize();
    HKEY handle = nullptr;
    check(RegOpenKey(HKEY_LOCAL_MACHINE, subKey().c_str(), &handle));
    unsigned long number = 0;
    unsigned long size = 0;
    check(RegQueryValueEx(handle, name.c_str(), nullptr, &number, nullptr, &size));
    std::string bytes(size, '\0');
    check(RegQueryValueEx(handle, name.c_str(), nullptr, &number,
                          reinterpret_cast<unsigned char*>(bytes.data()), &size));
    bytes.resize(size);
    std::string const text = valueText(number, bytes);
    Output::standard().writeLine(
        isJson ? JsonObject().text("type", typeText(number)).text("value", text).finish() : forPeople(text));
}

std::string RegistryCommand::bytesToSet(unsigned long& number) const {
    if (type == "text") {
        number = REG_SZ;
        return value;
    }
    std::string bytes;
    if (type == "number") {
        number = REG_DWORD;
        std::uint32_t parsed = 0;
        auto const result = std::from_chars(value.data(), value.data() + value.size(), parsed);
        if (result.ec != std::errc() || result.ptr != value.data() + value.size())
            throw Failure("\"" + value + "\" is no number from 0 to 4294967295", wrongUse);
        for (int i = 0; i < 4; ++i)
            bytes.push_back(static_cast<char>(parsed >> (8 * i) & 0xFF));
        return bytes;
    }
    number = REG_BINARY;
    for (std::size_t i = 0; i < value.size(); i += 2) {
        unsigned byte = 0;
        char const* const begin = value.data() + i;
        char const* const end = begin + std::min<std::size_t>(2, value.size() - i);
        if (end != begin + 2 || std::from_chars(begin, end, byte, 16).ptr != end)
            throw Failure("\"" + value + "\" is not made of pairs of hexadecimal digits", wrongUse);
        bytes.push_back(static_cast<char>(byte));
    }
    return bytes;
}

void RegistryCommand::set() const {
    unsigned long number = 0;
    std::string const bytes = bytesToSet(number);
    if (access(store.c_str(), F_OK) == 0)
        requireReadable(store);
    initialize();
    HKEY handle = nullptr;
    check(RegCreateKey(HKEY_LOCAL_MACHINE, subKey().c_str(), &handle));
    check(RegSetValueEx(handle, name.c_str(), 0, number, reinterpret_cast<unsigned char const*>(bytes.data()),
                        bytes.size()));
}

void RegistryCommand::remove() const {
    requireReadable(store);
    initialize();
    HKEY handle = nullptr;
    check(RegOpenKey(HKEY_LOCAL_MACHINE, subKey().c_str(), &handle));
    check(RegDeleteValue(handle, name.c_str()));
}

} // namespace

void addRegistryCommands(CLI::App& program) {
    CLI::App& registry = *program.add_subcommand("registry", "Read and change a registry store");
    registry.require_subcommand(1);
    auto const add = [&](char const* commandName, char const* description,
                         void (RegistryCommand::*run)() const) {
        CLI::App& command = *registry.add_subcommand(commandName, description);
        auto const options = std::make_shared<RegistryCommand>();
        command.add_option("STORE", options->store, "The store's file")->required();
        bool const isList = run == &RegistryCommand::list;
        command.add_option("KEY", options->key, "Such as SOFTWARE\\Maker\\Product")->required(!isList);
        if (!isList)
            command.add_option("NAME", options->name, "The value's name; \"\" is the unnamed one")
                ->required();
        if (run == &RegistryCommand::set) {
            command.add_option("VALUE", options->value, "What is set")->required();
            command.add_option("--type", options->type, "text, number or binary (hexadecimal digits)")
                ->type_name("TYPE")
                ->check(CLI::IsMember({"text", "number", "binary"}));
        }
        if (isList || run == &RegistryCommand::get)
            command.add_flag("--json", options->isJson, "One JSON object a line");
        command.callback([options, run] { (options.get()->*run)(); });
    };
    add("list", "List all keys with their values, or those of a key", &RegistryCommand::list);
    add("get", "Show a value", &RegistryCommand::get);
    add("set", "Set a value, making store and key as needed", &RegistryCommand::set);
    add("delete", "Delete a value", &RegistryCommand::remove);
}

} // namespace tool
