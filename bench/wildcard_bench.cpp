#include <zun/structured/MatchWildcard.h>

#include <benchmark/benchmark.h>

#include <clocale>
#include <fnmatch.h>
#include <iterator>
#include <string>
#include <utility>

// File names as a scan of directories meets them; fnmatch in the "C" locale, where it is fastest.

namespace {

std::pair<std::string, std::string> const names[] = {
    {"*.txt", "Notes of the last meeting.TXT"},
    {"*.txt", "/Library/Application Support/Agent/data/inventory.plist"},
    {"com.example.*.plist", "com.example.agent.scheduler.plist"},
    {"*cache*", "/Users/someone/Library/Caches/com.example.browser/Cache.db"},
    {"*/logs/*.log.*", "/var/log/agent/logs/agent-2024-01-01.log.3"},
    {"install.log", "install.log"},
    {"readme*", "CHANGELOG.md"},
};

template <typename Match>
void matchAll(benchmark::State& state, Match match) {
    for (auto _ : state)
        for (auto const& [pattern, text] : names)
            benchmark::DoNotOptimize(match(pattern, text));
    state.SetItemsProcessed(state.iterations() * std::ssize(names));
}

void matchZun(benchmark::State& state) {
    matchAll(state, [](auto const& pattern, auto const& text) { return MatchWildcard(pattern, text); });
}

void matchFnmatch(benchmark::State& state) {
    matchAll(state, [](auto const& pattern, auto const& text) {
        return fnmatch(pattern.c_str(), text.c_str(), FNM_CASEFOLD) == 0;
    });
}

void manyStarsZun(benchmark::State& state) {
    std::string pattern;
    for (int star = 0; star < 20; ++star)
        pattern += "*a";
    pattern += "b";
    std::string const text(5000, 'a');
    for (auto _ : state)
        benchmark::DoNotOptimize(MatchWildcard(pattern, text));
}

BENCHMARK(matchZun)->Name("wildcard_match/zun");
BENCHMARK(matchFnmatch)->Name("wildcard_match/fnmatch");
BENCHMARK(manyStarsZun)->Name("wildcard_many_stars/zun");

} // namespace
