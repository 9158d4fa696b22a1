#include <zun/platform/helper/CommonHelper.h>
#include <zun/structured/AnIni2.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <glib.h>
#include <ini.h>
#include <random>
#include <string>
#include <unistd.h>
#include <vector>

// A file of 50,000 settings in random order, in 1, 500 or 10,000 sections: reading it as a whole, and looking
// up every setting, in random order too. INIH has no storage of its own and fills the map that AnIni2 holds.

namespace {

using orvane_com::zun::helper::toWide;

constexpr int settingCount = 50'000;

struct Setting {
    std::string section;
    std::string key;
};

class IniFile {
public:
    explicit IniFile(int sections) : m_path("/tmp/ini_bench." + std::to_string(getpid())) {
        std::mt19937 random(1);
        for (int number = 0; number < settingCount; ++number)
            m_settings.push_back(
                {"Section " + std::to_string(number % sections), "SettingNumber" + std::to_string(number)});
        std::shuffle(m_settings.begin(), m_settings.end(), random);
        std::stable_sort(m_settings.begin(), m_settings.end(), [](Setting const& left, Setting const& right) {
            return left.section < right.section;
        });
        std::ofstream stream(m_path);
        std::string const* section = nullptr;
        for (Setting const& setting : m_settings) {
            if (!section || *section != setting.section)
                stream << "\n[" << setting.section << "]\n";
            section = &setting.section;
            stream << setting.key << " = the value of " << setting.key << '\n';
        }
        std::shuffle(m_settings.begin(), m_settings.end(), random);
    }
    ~IniFile() { unlink(m_path.c_str()); }
    IniFile(IniFile const&) = delete;
    IniFile& operator=(IniFile const&) = delete;

    std::string const& path() const { return m_path; }
    std::vector<Setting> const& settings() const { return m_settings; }

private:
    std::string const m_path;
    std::vector<Setting> m_settings;
};

IniFile fileFor(benchmark::State const& state) {
    return IniFile(static_cast<int>(state.range(0)));
}

void loadZun(benchmark::State& state) {
    IniFile const file = fileFor(state);
    AString const name(toWide(file.path()));
    for (auto _ : state) {
        AnIni2 ini(name);
        if (!ini.parsed())
            std::abort();
    }
}

void loadGLib(benchmark::State& state) {
    IniFile const file = fileFor(state);
    for (auto _ : state) {
        GKeyFile* const ini = g_key_file_new();
        if (!g_key_file_load_from_file(ini, file.path().c_str(), G_KEY_FILE_NONE, nullptr))
            std::abort();
        g_key_file_free(ini);
    }
}

int insertInih(void* map, char const* section, char const* key, char const* value) {
    auto& sections = *static_cast<AnIni2::IniMap*>(map);
    std::wstring const name = toWide(section);
    auto settings = sections.find(name);
    if (settings == sections.end())
        settings = sections.emplace(name, AnIni2::Settings());
    settings->second.insert_or_assign(toWide(key), toWide(value));
    return 1;
}

void loadInih(benchmark::State& state) {
    IniFile const file = fileFor(state);
    for (auto _ : state) {
        AnIni2::IniMap sections;
        if (ini_parse(file.path().c_str(), insertInih, &sections) != 0)
            std::abort();
    }
}

void getZun(benchmark::State& state) {
    IniFile const file = fileFor(state);
    AnIni2 ini(toWide(file.path()));
    std::vector<std::pair<AString, AString>> settings;
    for (Setting const& setting : file.settings())
        settings.emplace_back(toWide(setting.section), toWide(setting.key));
    AString value;
    for (auto _ : state)
        for (auto const& [section, key] : settings)
            if (!ini.get(true, section, key, value))
                std::abort();
    state.SetItemsProcessed(state.iterations() * settingCount);
}

void getGLib(benchmark::State& state) {
    IniFile const file = fileFor(state);
    GKeyFile* const ini = g_key_file_new();
    g_key_file_load_from_file(ini, file.path().c_str(), G_KEY_FILE_NONE, nullptr);
    for (auto _ : state)
        for (Setting const& setting : file.settings()) {
            gchar* const value =
                g_key_file_get_value(ini, setting.section.c_str(), setting.key.c_str(), nullptr);
            if (!value)
                std::abort();
            g_free(value);
        }
    g_key_file_free(ini);
    state.SetItemsProcessed(state.iterations() * settingCount);
}

void sectionCounts(benchmark::internal::Benchmark* benchmark) {
    benchmark->ArgName("sections")->Arg(1)->Arg(500)->Arg(10'000)->Unit(benchmark::kMillisecond);
}

BENCHMARK(loadZun)->Name("ini_load/zun")->Apply(sectionCounts);
BENCHMARK(loadGLib)->Name("ini_load/gkeyfile")->Apply(sectionCounts);
BENCHMARK(loadInih)->Name("ini_load/inih")->Apply(sectionCounts);
BENCHMARK(getZun)->Name("ini_get/zun")->Apply(sectionCounts);
BENCHMARK(getGLib)->Name("ini_get/gkeyfile")->Apply(sectionCounts);

} // namespace
