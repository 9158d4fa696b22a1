// AString's number formatting and AStringParser, beside what a program would otherwise use.

#include <zun/text/AString.h>
#include <zun/text/AStringParser.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <cwchar>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr long number = -1234567890;

void numberAString(benchmark::State& state) {
    for (auto _ : state) {
        long value = number;
        benchmark::DoNotOptimize(value);
        AString text(value);
        benchmark::DoNotOptimize(text);
    }
}
BENCHMARK(numberAString)->Name("text_from_number/zun");

void numberToWstring(benchmark::State& state) {
    for (auto _ : state) {
        long value = number;
        benchmark::DoNotOptimize(value);
        std::wstring text = std::to_wstring(value);
        benchmark::DoNotOptimize(text);
    }
}
BENCHMARK(numberToWstring)->Name("text_from_number/to_wstring");

void numberSwprintf(benchmark::State& state) {
    for (auto _ : state) {
        long value = number;
        benchmark::DoNotOptimize(value);
        wchar_t buffer[35];
        std::swprintf(buffer, std::size(buffer), L"%ld", value);
        std::wstring text(buffer);
        benchmark::DoNotOptimize(text);
    }
}
BENCHMARK(numberSwprintf)->Name("text_from_number/swprintf");

void paddedHexadecimalAFormat(benchmark::State& state) {
    for (auto _ : state) {
        long value = number;
        benchmark::DoNotOptimize(value);
        AString text(AFormat(value, L"0x", 12));
        benchmark::DoNotOptimize(text);
    }
}
BENCHMARK(paddedHexadecimalAFormat)->Name("text_padded_hexadecimal/zun");

void paddedHexadecimalSwprintf(benchmark::State& state) {
    for (auto _ : state) {
        long value = number;
        benchmark::DoNotOptimize(value);
        wchar_t buffer[35];
        std::swprintf(buffer, std::size(buffer), L"%012x", static_cast<unsigned>(value));
        std::wstring text(buffer);
        benchmark::DoNotOptimize(text);
    }
}
BENCHMARK(paddedHexadecimalSwprintf)->Name("text_padded_hexadecimal/swprintf");

constexpr wchar_t delimiters[] = L",;\n";

/// 1 MiB of fields of 0 to 15 characters.
std::wstring const& fields() {
    static std::wstring const text = [] {
        std::wstring result;
        unsigned random = 1;
        while (result.size() < (1u << 20) / sizeof(wchar_t)) {
            random = random * 1664525u + 1013904223u;
            result.append(random >> 28, static_cast<wchar_t>(L'a' + (random >> 20) % 26));
            result += delimiters[(random >> 8) % 3];
        }
        return result;
    }();
    return text;
}

void setBytes(benchmark::State& state) {
    state.SetBytesProcessed(state.iterations() *
                            static_cast<std::int64_t>(fields().size() * sizeof(wchar_t)));
}

/// Tokens stay in the parser's own copy of the text.
void tokensAStringParser(benchmark::State& state) {
    std::wstring const& text = fields();
    std::vector<wchar_t const*> tokens;
    for (auto _ : state) {
        tokens.clear();
        AStringParser parser(text.c_str(), delimiters);
        while (!parser.atEnd())
            tokens.push_back(parser.get(nullptr));
        benchmark::DoNotOptimize(tokens.data());
    }
    setBytes(state);
}
BENCHMARK(tokensAStringParser)->Name("text_tokens/zun");

/// The leanest loop: tokens refer to the text, nothing is copied.
void tokensFindFirstOf(benchmark::State& state) {
    std::wstring const& text = fields();
    std::vector<std::wstring_view> tokens;
    for (auto _ : state) {
        tokens.clear();
        for (std::size_t start = 0; start < text.size();) {
            std::size_t const end = std::min(text.find_first_of(delimiters, start), text.size());
            tokens.emplace_back(text.data() + start, end - start);
            start = end + 1;
        }
        benchmark::DoNotOptimize(tokens.data());
    }
    setBytes(state);
}
BENCHMARK(tokensFindFirstOf)->Name("text_tokens/find_first_of");

} // namespace
