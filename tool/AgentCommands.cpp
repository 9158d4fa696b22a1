#include "Output.h"
#include "Program.h"
#include <zun/configuration/IConfiguration.h>
#include <zun/logger/MessageResource.h>
#include <zun/platform/helper/CommonHelper.h>

#include <CLI/CLI.hpp>
#include <charconv>
#include <cstdio>
#include <fcntl.h>
#include <memory>
#include <optional>
#include <unistd.h>

namespace tool {

namespace {

namespace helper = orvane_com::zun::helper;
using orvane_com::zun::configuration::ConfigurationException;
using orvane_com::zun::configuration::IConfiguration;
using orvane_com::zun::logger::MessageResource;

/// While it lives, what the library says on standard output is not heard.
class Quiet {
public:
    Quiet() : m_output(fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3)) {
        int const nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
        dup2(nowhere, STDOUT_FILENO);
        close(nowhere);
    }
    ~Quiet() {
        dup2(m_output, STDOUT_FILENO);
        close(m_output);
    }
    Quiet(Quiet const&) = delete;
    Quiet& operator=(Quiet const&) = delete;

private:
    int const m_output;
};

struct MessageCommand {
    std::string id;
    std::vector<std::string> arguments;
    bool isJson = false;

    static std::optional<std::string> textOf(long number) {
        std::wstring text;
        if (!MessageResource(number).getRawMessage(text))
            return std::nullopt;
        return helper::toNarrow(text);
    }

    void write(long number, std::string const& text) const {
        char hexadecimal[24];
        std::snprintf(hexadecimal, sizeof hexadecimal, "0x%04lX", static_cast<unsigned long>(number));
        if (isJson)
            Output::standard().writeLine(
                JsonObject().number("id", std::int64_t{number}).text("text", text).finish());
        else
            Output::standard().writeLine((id.empty() ? hexadecimal + std::string("  ") : "") +
                                         forPeople(text));
    }

    void run() const {
        MessageResource::initialize();
        if (id.empty()) {
            // An id is an area, from 1 on, shifted by 14 bits, and a number.
            constexpr long begin = 1L << 14;
            constexpr long end = 64L << 14;
            for (long number = begin; number < end; ++number)
                if (std::optional<std::string> const text = textOf(number))
                    write(number, *text);
            return;
        }
        bool const isHexadecimal = id.starts_with("0x") || id.starts_with("0X");
        char const* const end = id.data() + id.size();
        long number = 0;
        auto const result =
            std::from_chars(id.data() + (isHexadecimal ? 2 : 0), end, number, isHexadecimal ? 16 : 10);
        if (result.ec != std::errc() || result.ptr != end)
            throw Failure("\"" + id + "\" is no message's id, such as 0x4003", wrongUse);
        std::optional<std::string> text = textOf(number);
        if (!text)
            throw Failure("there is no message " + id);
        constexpr std::string_view place = "%s";
        std::size_t position = 0;
        for (std::string const& argument : arguments) {
            position = text->find(place, position);
            if (position == std::string::npos)
                throw Failure("message " + id + " has fewer places than arguments", wrongUse);
            text->replace(position, place.size(), argument);
            position += argument.size();
        }
        write(number, *text);
    }
};

struct ConfigurationCommand {
    std::string directory;
    bool isJson = false;

    void run() const {
        IConfiguration& configuration = *IConfiguration::GetConfiguration();
        try {
            Quiet const quiet;
            configuration.SetConfigurationDirectory(helper::toWide(directory));
        } catch (ConfigurationException const&) {
            throw Failure(directory + ": holds no configuration of the agent that can be read");
        }
        std::wstring guid;
        std::wstring tenant;
        std::wstring hash;
        std::vector<std::wstring> products;
        configuration.GetAgentGUID(guid);
        configuration.GetAgentTenantId(tenant);
        configuration.GetServerKeyHash(hash);
        configuration.GetAvailableSoftwareIds(products);
        long version[4] = {};
        configuration.GetAgentVersion(version[0], version[1], version[2], version[3]);
        std::vector<std::pair<char const*, std::wstring>> const facts = {
            {"configuration", configuration.GetProductConfigurationBaseDirectory()},
            {"installed in", configuration.GetAgentInstallLocation()},
            {"data", configuration.GetAgentDataDirectory()},
            {"archive", configuration.GetAgentArchiveDirectory()},
            {"unpacked", configuration.GetAgentUnpackDirectory()},
            {"policies", configuration.GetPolicyBaseDirectory()},
            {"tasks", configuration.GetTaskBaseDirectory()},
            {"events", configuration.GetEventBaseDirectory()},
            {"programs", configuration.GetAgentBinDirectory()},
            {"libraries", configuration.GetAgentLibDirectory()},
            {"settings", configuration.GetAgentIniFullPath()},
            {"registry", configuration.GetRegistryIniFullPath()},
            {"updater's data", configuration.GetUpdaterDataDir()},
            {"software id", configuration.GetAgentSoftwareId()},
            {"version", std::to_wstring(version[0]) + L"." + std::to_wstring(version[1]) + L"." +
                            std::to_wstring(version[2]) + L"." + std::to_wstring(version[3])},
            {"hot-fixes", configuration.GetAgentHotFixVersion()},
            {"managed", configuration.IsManaged() ? L"yes" : L"no"},
            {"agent's GUID", guid},
            {"tenant", tenant},
            {"server's key hash", hash}};
        Table table;
        JsonObject json;
        for (auto const& [name, value] : facts) {
            std::string const text = helper::toNarrow(value);
            json.text(name, text);
            table.add({name, forPeople(text)});
        }
        std::vector<std::string> ids;
        for (std::wstring const& product : products) {
            ids.push_back(helper::toNarrow(product));
            table.add({"product", forPeople(ids.back())});
        }
        json.texts("products", {ids.begin(), ids.end()});
        if (isJson)
            Output::standard().writeLine(json.finish());
        else
            table.write(Output::standard());
    }
};

} // namespace

void addAgentCommands(CLI::App& program) {
    CLI::App& message = *program.add_subcommand("message", "Show the message table, or one message");
    auto const messageOptions = std::make_shared<MessageCommand>();
    message.add_option("ID", messageOptions->id, "Such as 0x4003 or 16387");
    message.add_option("ARGUMENT", messageOptions->arguments, "What its places are filled with, in order");
    message.add_flag("--json", messageOptions->isJson, "One JSON object a line");
    message.callback([messageOptions] { messageOptions->run(); });

    CLI::App& config =
        *program.add_subcommand("config", "Show directories, identity and products as the agent sees them");
    auto const configOptions = std::make_shared<ConfigurationCommand>();
    config.add_option("DIRECTORY", configOptions->directory, "The product configuration directory")
        ->required();
    config.add_flag("--json", configOptions->isJson, "One JSON object");
    config.callback([configOptions] { configOptions->run(); });

    CLI::App& version = *program.add_subcommand("version", "Show the version");
    auto const isJson = std::make_shared<bool>(false);
    version.add_flag("--json", *isJson, "One JSON object");
    version.callback([isJson] {
        Output::standard().writeLine(*isJson ? JsonObject().text("version", ZUN_VERSION).finish()
                                             : "zun " ZUN_VERSION);
    });
}

} // namespace tool
