// Writing and reading the tree of one saved entity, beside copying the same bytes. The label is the CRC-64 of the
// bytes: a faster writer of other bytes would be seen.

#include "tamradeps/core/crc64.h"
#include "tamradeps/udb/udbGroup.h"
#include "tamradeps/udb/udbReadWriteAscii.h"
#include "tamradeps/udb/udbReadWriteBinary.h"

#include <array>
#include <cstdio>
#include <cstring>
#include <string>

#include <benchmark/benchmark.h>

namespace
{
// A house turned by 30 degrees: the matrix's floats, as scenes store them.
constexpr std::array<float, 16> kMatrix{0.8660254F, 0.5F, 0.0F, 0.0F, -0.5F,     0.8660254F, 0.0F,   0.0F,
                                        0.0F,       0.0F, 1.0F, 0.0F, 1523.625F, -871.3F,    12.75F, 1.0F};

void AddMatrix(UDBGroup& group)
{
    group.AddNumber("m11", kMatrix[0]);
    group.AddNumber("m12", kMatrix[1]);
    group.AddNumber("m13", kMatrix[2]);
    group.AddNumber("m14", kMatrix[3]);
    group.AddNumber("m21", kMatrix[4]);
    group.AddNumber("m22", kMatrix[5]);
    group.AddNumber("m23", kMatrix[6]);
    group.AddNumber("m24", kMatrix[7]);
    group.AddNumber("m31", kMatrix[8]);
    group.AddNumber("m32", kMatrix[9]);
    group.AddNumber("m33", kMatrix[10]);
    group.AddNumber("m34", kMatrix[11]);
    group.AddNumber("m41", kMatrix[12]);
    group.AddNumber("m42", kMatrix[13]);
    group.AddNumber("m43", kMatrix[14]);
    group.AddNumber("m44", kMatrix[15]);
}

double SumMatrix(const UDBGroup& group)
{
    return group.GetNumber("m11") + group.GetNumber("m12") + group.GetNumber("m13") + group.GetNumber("m14") +
           group.GetNumber("m21") + group.GetNumber("m22") + group.GetNumber("m23") + group.GetNumber("m24") +
           group.GetNumber("m31") + group.GetNumber("m32") + group.GetNumber("m33") + group.GetNumber("m34") +
           group.GetNumber("m41") + group.GetNumber("m42") + group.GetNumber("m43") + group.GetNumber("m44");
}

UDBGroup* BuildEntity(UDBDatabase& database)
{
    database.Clear();
    UDBGroup* root = database.AllocateGroup();
    UDBGroup* transform = root->AddNewGroup("component");
    transform->AddString("type", "transform");
    AddMatrix(*transform);
    UDBGroup* text = root->AddNewGroup("component");
    text->AddString("type", "text");
    text->AddString("text", "A house by the river");
    UDBGroup* box = root->AddNewGroup("component");
    box->AddString("type", "bounds");
    box->AddNumber("x", 8.5);
    box->AddNumber("y", 12.25);
    box->AddNumber("z", 6.0);
    box->AddNumber("radius", 15.3F);
    return root;
}

double LoadEntity(const UDBGroup& root)
{
    double sum = 0.0;
    for (const UDBEntry& entry : root)
    {
        const UDBGroup* component = entry.GetGroup();
        const std::string_view type = component->GetString("type", "");
        if (type == "transform")
            sum += SumMatrix(*component);
        else if (type == "text")
            sum += component->GetString("text", "")[0];
        else
            sum += component->GetNumber("x") + component->GetNumber("y") + component->GetNumber("z") +
                   component->GetNumber("radius");
    }
    return sum;
}

std::vector<std::byte> EntityBytes(bool compressed)
{
    UDBDatabase database;
    std::vector<std::byte> bytes;
    UDBReadWriteBinary(compressed).Write(*BuildEntity(database), bytes);
    return bytes;
}

void ReportBytes(benchmark::State& state, const void* bytes, std::size_t size)
{
    char label[64];
    std::snprintf(label, sizeof label, "%zu bytes, crc64 %016llx", size,
                  static_cast<unsigned long long>(HashCRC64Data(bytes, size)));
    state.SetLabel(label);
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * size));
}

void FloorMemcpy(benchmark::State& state)
{
    const std::vector<std::byte> bytes = EntityBytes(state.range(0) != 0);
    std::vector<std::byte> copy(bytes.size());
    for (auto _ : state)
    {
        benchmark::DoNotOptimize(std::memcpy(copy.data(), bytes.data(), bytes.size()));
        benchmark::ClobberMemory();
    }
    ReportBytes(state, copy.data(), copy.size());
}

void Build(benchmark::State& state)
{
    UDBDatabase database;
    for (auto _ : state)
        benchmark::DoNotOptimize(BuildEntity(database));
}

void Write(benchmark::State& state)
{
    UDBDatabase database;
    const UDBGroup* root = BuildEntity(database);
    const UDBReadWriteBinary writer(state.range(0) != 0);
    std::vector<std::byte> bytes;
    for (auto _ : state)
        benchmark::DoNotOptimize(writer.Write(*root, bytes));
    ReportBytes(state, bytes.data(), bytes.size());
}

void BuildAndWrite(benchmark::State& state)
{
    UDBDatabase database;
    const UDBReadWriteBinary writer(state.range(0) != 0);
    std::vector<std::byte> bytes;
    for (auto _ : state)
        benchmark::DoNotOptimize(writer.Write(*BuildEntity(database), bytes));
    ReportBytes(state, bytes.data(), bytes.size());
}

void Read(benchmark::State& state)
{
    const std::vector<std::byte> bytes = EntityBytes(state.range(0) != 0);
    UDBDatabase database;
    for (auto _ : state)
    {
        database.Clear();
        benchmark::DoNotOptimize(UDBReadWriteBinary().Read(bytes.data(), bytes.size(), *database.AllocateGroup()));
    }
    ReportBytes(state, bytes.data(), bytes.size());
}

void ReadAndLookUp(benchmark::State& state)
{
    const std::vector<std::byte> bytes = EntityBytes(state.range(0) != 0);
    UDBDatabase database;
    for (auto _ : state)
    {
        database.Clear();
        UDBGroup* root = database.AllocateGroup();
        UDBReadWriteBinary().Read(bytes.data(), bytes.size(), *root);
        benchmark::DoNotOptimize(LoadEntity(*root));
    }
    ReportBytes(state, bytes.data(), bytes.size());
}

void AsciiWrite(benchmark::State& state)
{
    UDBDatabase database;
    const UDBGroup* root = BuildEntity(database);
    std::string text;
    for (auto _ : state)
        benchmark::DoNotOptimize(UDBReadWriteAscii().Write(*root, text));
    ReportBytes(state, text.data(), text.size());
}

void AsciiRead(benchmark::State& state)
{
    UDBDatabase database;
    std::string text;
    UDBReadWriteAscii().Write(*BuildEntity(database), text);
    for (auto _ : state)
    {
        database.Clear();
        benchmark::DoNotOptimize(UDBReadWriteAscii().Read(text, *database.AllocateGroup()));
    }
    ReportBytes(state, text.data(), text.size());
}

BENCHMARK(FloorMemcpy)->ArgName("compressed")->Arg(1)->Arg(0);
BENCHMARK(Build);
BENCHMARK(Write)->ArgName("compressed")->Arg(1)->Arg(0);
BENCHMARK(BuildAndWrite)->ArgName("compressed")->Arg(1)->Arg(0);
BENCHMARK(Read)->ArgName("compressed")->Arg(1)->Arg(0);
BENCHMARK(ReadAndLookUp)->ArgName("compressed")->Arg(1)->Arg(0);
BENCHMARK(AsciiWrite);
BENCHMARK(AsciiRead);
} // namespace
