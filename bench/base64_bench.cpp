#include <zun/binary/Base64.h>

#include <benchmark/benchmark.h>

#include <cstddef>
#include <glib.h>
#include <openssl/evp.h>
#include <random>
#include <vector>

// Whole texts of 1 KiB and 1 MiB, into room that is there already (GLib allocates its results itself).

namespace {

using Bytes = std::vector<unsigned char>;

Bytes randomBytes(std::size_t count) {
    Bytes bytes(count);
    std::mt19937 random(1);
    for (unsigned char& byte : bytes)
        byte = static_cast<unsigned char>(random());
    return bytes;
}

Bytes encoded(Bytes const& bytes) {
    Bytes text(bytes.size() / 3 * 4 + 5);
    text.resize(Base64Encode(bytes.data(), bytes.size(), reinterpret_cast<char*>(text.data()), text.size(),
                             nullptr, nullptr));
    return text;
}

void countBytes(benchmark::State& state) {
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

void encodeZun(benchmark::State& state) {
    Bytes const bytes = randomBytes(static_cast<std::size_t>(state.range(0)));
    std::vector<char> text(bytes.size() * 2);
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            Base64Encode(bytes.data(), bytes.size(), text.data(), text.size(), nullptr, nullptr));
        benchmark::ClobberMemory();
    }
    countBytes(state);
}

void encodeOpenSsl(benchmark::State& state) {
    Bytes const bytes = randomBytes(static_cast<std::size_t>(state.range(0)));
    Bytes text(bytes.size() * 2);
    for (auto _ : state) {
        EVP_EncodeBlock(text.data(), bytes.data(), static_cast<int>(bytes.size()));
        benchmark::ClobberMemory();
    }
    countBytes(state);
}

void encodeGlib(benchmark::State& state) {
    Bytes const bytes = randomBytes(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state)
        g_free(g_base64_encode(bytes.data(), bytes.size()));
    countBytes(state);
}

void decodeZun(benchmark::State& state) {
    Bytes bytes = randomBytes(static_cast<std::size_t>(state.range(0)));
    Bytes const text = encoded(bytes);
    for (auto _ : state) {
        benchmark::DoNotOptimize(Base64Decode(reinterpret_cast<char const*>(text.data()), text.size(),
                                              bytes.data(), bytes.size(), nullptr, nullptr));
        benchmark::ClobberMemory();
    }
    countBytes(state);
}

void decodeOpenSsl(benchmark::State& state) {
    Bytes bytes = randomBytes(static_cast<std::size_t>(state.range(0)));
    Bytes const text = encoded(bytes);
    bytes.resize(bytes.size() + 3);
    for (auto _ : state) {
        EVP_DecodeBlock(bytes.data(), text.data(), static_cast<int>(text.size()));
        benchmark::ClobberMemory();
    }
    countBytes(state);
}

void decodeGlib(benchmark::State& state) {
    Bytes text = encoded(randomBytes(static_cast<std::size_t>(state.range(0))));
    text.push_back(0);
    for (auto _ : state) {
        gsize length = 0;
        g_free(g_base64_decode(reinterpret_cast<char const*>(text.data()), &length));
    }
    countBytes(state);
}

void sizes(benchmark::internal::Benchmark* benchmark) {
    benchmark->ArgName("bytes")->Arg(1 << 10)->Arg(1 << 20);
}

BENCHMARK(encodeZun)->Name("base64_encode/zun")->Apply(sizes);
BENCHMARK(encodeOpenSsl)->Name("base64_encode/openssl")->Apply(sizes);
BENCHMARK(encodeGlib)->Name("base64_encode/glib")->Apply(sizes);
BENCHMARK(decodeZun)->Name("base64_decode/zun")->Apply(sizes);
BENCHMARK(decodeOpenSsl)->Name("base64_decode/openssl")->Apply(sizes);
BENCHMARK(decodeGlib)->Name("base64_decode/glib")->Apply(sizes);

} // namespace
