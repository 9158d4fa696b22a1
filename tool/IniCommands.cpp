#include "Output.h"
#include "Program.h"
#include <zun/platform/helper/CommonHelper.h>
#include <zun/platform/registry/ProfileString.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <memory>
#include <unistd.h>

namespace tool {

namespace {

namespace helper = orvane_com::zun::helper;

struct IniCommand {
    std::string file;
    std::string section;
    std::string key;
    std::string value;
    bool isJson = false;

    std::wstring wide(std::string const& text) const { return helper::toWide(text); }

    /// A value, or with null names a list of names that a NUL ends each.
    std::wstring read(wchar_t const* sectionName, wchar_t const* keyName, wchar_t const* fallback) const {
        std::wstring const path = wide(file);
        for (std::wstring room(1024, L'\0');; room.resize(room.size() * 2)) {
            unsigned long const count = GetPrivateProfileString(sectionName, keyName, fallback, room.data(),
                                                                room.size(), path.c_str());
            if (count + 2 < room.size()) {
                room.resize(count);
                return room;
            }
        }
    }
    template <typename Use>
    void forEachName(std::wstring const& list, Use const& use) const {
        for (std::size_t begin = 0; begin < list.size(); begin = list.find(L'\0', begin) + 1)
            use(std::wstring(list.c_str() + begin));
    }
    bool has(std::wstring const& fallback) const {
        std::wstring const sectionName = wide(section);
        return read(sectionName.c_str(), wide(key).c_str(), fallback.c_str()) != fallback;
    }

    void list() const;
    void get() const;
    void write(std::wstring const* newValue) const;
    void set() const {
        std::wstring const newValue = wide(value);
        write(&newValue);
    }
    void unset() const {
        requireReadable(file);
        // Of two fallbacks a value that is not there gives back both.
        if (!has(L"a") && !has(L"b"))
            throw Failure(file + ": there is no [" + section + "] " + key);
        write(nullptr);
    }
};

void IniCommand::list() const {
    requireReadable(file);
    Output& output = Output::standard();
    forEachName(read(nullptr, nullptr, nullptr), [&](std::wstring const& sectionName) {
        if (!section.empty() && wide(section) != sectionName)
            return;
        if (!isJson)
            output.writeLine("[" + forPeople(helper::toNarrow(sectionName)) + "]");
        forEachName(read(sectionName.c_str(), nullptr, L""), [&](std::wstring const& keyName) {
            std::string const text = helper::toNarrow(read(sectionName.c_str(), keyName.c_str(), L""));
            if (isJson)
                output.writeLine(JsonObject()
                                     .text("section", helper::toNarrow(sectionName))
                                     .text("key", helper::toNarrow(keyName))
                                     .text("value", text)
                                     .finish());
            else
                output.writeLine(forPeople(helper::toNarrow(keyName)) + "=" + forPeople(text));
        });
    });
}

void IniCommand::get() const {
    requireReadable(file);
    if (!has(L"a") && !has(L"b"))
        throw Failure(file + ": there is no [" + section + "] " + key);
    std::string const text = helper::toNarrow(read(wide(section).c_str(), wide(key).c_str(), L""));
    Output::standard().writeLine(isJson ? JsonObject().text("value", text).finish() : forPeople(text));
}

void IniCommand::write(std::wstring const* newValue) const {
    if (access(file.c_str(), F_OK) == 0)
        requireReadable(file);
    if (WritePrivateProfileString(wide(section).c_str(), wide(key).c_str(),
                                  newValue ? newValue->c_str() : nullptr, wide(file).c_str()))
        return;
    if (errno == EINVAL)
        throw Failure(file + ": an INI file cannot hold these names and this value", wrongUse);
    throw Failure::ofSystem(file, errno);
}

} // namespace

void addIniCommands(CLI::App& program) {
    CLI::App& ini = *program.add_subcommand("ini", "Read and change settings of an INI file");
    ini.require_subcommand(1);
    auto const add = [&](char const* name, char const* description, void (IniCommand::*run)() const) {
        CLI::App& command = *ini.add_subcommand(name, description);
        auto const options = std::make_shared<IniCommand>();
        command.add_option("FILE", options->file, "The INI file")->required();
        bool const isList = run == &IniCommand::list;
        command.add_option("SECTION", options->section, "Its name ignores case")->required(!isList);
        if (!isList)
            command.add_option("KEY", options->key, "Its name ignores case")->required();
        if (run == &IniCommand::set)
            command.add_option("VALUE", options->value, "What is set")->required();
        if (isList || run == &IniCommand::get)
            command.add_flag("--json", options->isJson, "One JSON object a line");
        command.callback([options, run] { (options.get()->*run)(); });
    };
    add("list", "List all settings, or those of a section", &IniCommand::list);
    add("get", "Show a setting's value", &IniCommand::get);
    add("set", "Set a setting, making file and section as needed", &IniCommand::set);
    add("unset", "Remove a setting", &IniCommand::unset);
}

} // namespace tool
