// The checksum of scene files beside the library that computes it and a plain table loop. The label is the result.

#include "tamradeps/core/crc64.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <vector>

#include <benchmark/benchmark.h>
#include <lzma.h>

namespace
{
constexpr std::array<std::uint64_t, 256> MakeTable()
{
    std::array<std::uint64_t, 256> table{};
    for (std::uint64_t i = 0; i < table.size(); ++i)
    {
        std::uint64_t value = i;
        for (int bit = 0; bit < 8; ++bit)
            value = value >> 1 ^ (value & 1 ? 0xC96C5795D7870F42 : 0);
        table[i] = value;
    }
    return table;
}
constexpr std::array<std::uint64_t, 256> kTable = MakeTable();

std::uint64_t TableLoop(const std::uint8_t* data, std::size_t size)
{
    std::uint64_t value = ~std::uint64_t{0};
    for (std::size_t i = 0; i < size; ++i)
        value = value >> 8 ^ kTable[(value ^ data[i]) & 0xFF];
    return ~value;
}

std::uint64_t Lzma(const std::uint8_t* data, std::size_t size)
{
    return lzma_crc64(data, size, 0);
}

std::uint64_t Ours(const std::uint8_t* data, std::size_t size)
{
    return HashCRC64Data(data, size);
}

template <std::uint64_t (*kHash)(const std::uint8_t*, std::size_t)>
void Hash(benchmark::State& state)
{
    std::vector<std::uint8_t> bytes(static_cast<std::size_t>(state.range(0)));
    std::uint32_t value = 1;
    for (std::uint8_t& byte : bytes)
    {
        value = value * 1664525 + 1013904223;
        byte = static_cast<std::uint8_t>(value >> 24);
    }
    std::uint64_t hash = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(hash = kHash(bytes.data(), bytes.size()));
    char label[32];
    std::snprintf(label, sizeof label, "crc64 %016llx", static_cast<unsigned long long>(hash));
    state.SetLabel(label);
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

BENCHMARK(Hash<TableLoop>)->Name("TableLoop")->Arg(200)->Arg(1 << 20);
BENCHMARK(Hash<Lzma>)->Name("Lzma")->Arg(200)->Arg(1 << 20);
BENCHMARK(Hash<Ours>)->Name("HashCRC64Data")->Arg(200)->Arg(1 << 20);
} // namespace
