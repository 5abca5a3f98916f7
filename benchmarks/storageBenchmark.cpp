// Saving and loading scenes, beside SQLite doing the same rows and blobs by hand.

#include "benchmarks/benchmarkSupport.h"
#include "gameengine/engine/componentEditorData.h"
#include "gameengine/engine/componentTransformDirect.h"
#include "gameengine/engine/entityArraySaveLoadSqliteDB.h"
#include "gameengine/engine/entityComponentTypeDatabase.h"
#include "gameengine/engine/scene.h"

#include <cstdio>
#include <filesystem>
#include <memory>
#include <string>

#include <sqlite3.h>

namespace
{
constexpr std::size_t kEntities = 90000; // below the array repositories' 100000
constexpr std::size_t kRows = 1000000;   // of the world that is loaded in part
constexpr float kWorldSize = 10000.0F;   // a tenth of it on each side is one percent
constexpr const char* kInsert = "INSERT INTO entities VALUES (NULL, 1, ?, ?, ?, ?)";
constexpr const char* kUpdate = "UPDATE entities SET pos_x=?, pos_y=?, pos_z=?, componentData=? WHERE id=:id";
constexpr const char* kSelect = "SELECT id, componentData FROM entities WHERE pos_x >= ? AND pos_y >= ? AND pos_z >= ? "
                                "AND pos_x <= ? AND pos_y <= ? AND pos_z <= ?";

std::string GetPath(const char* name)
{
    return (std::filesystem::temp_directory_path() / ("tamra-benchmark-" + std::string(name) + ".sdb")).string();
}

struct TemporaryFile
{
    explicit TemporaryFile(const char* name) : path(GetPath(name)) { std::filesystem::remove(path); }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() { std::filesystem::remove(path); }
    std::string path;
};

RefPtr<CEntity> MakeEntity(CInterfaceCollection* interfaces, std::size_t i, bench::Random& random)
{
    RefPtr<CEntity> entity(new CEntity(interfaces));
    entity->LockComponentList();
    auto* transform = static_cast<ComponentTransformDirect*>(ComponentTransformDirect::CreateComponent(entity.Get()));
    auto* name = static_cast<ComponentEditorData*>(ComponentEditorData::CreateComponent(entity.Get()));
    entity->UnlockComponentList();
    CMatrix matrix;
    matrix.RotateEuler(0, 0, random.Unit());
    matrix.Scale3(10 * random.Unit(), 10 * random.Unit(), 30 * random.Unit());
    matrix.SetTranslation({kWorldSize * random.Unit(), kWorldSize * random.Unit(), 15 * random.Unit()});
    transform->SetTransform(matrix);
    name->SetData(("building " + std::to_string(i)).c_str());
    return entity;
}

void FillScene(CScene& scene)
{
    RegisterBuiltInComponents();
    bench::Random random(1);
    for (std::size_t i = 0; i < bench::Count(kEntities); ++i)
        scene.GetArray().Add(MakeEntity(scene.GetInterfaces(), i, random).Get());
}

// A raw connection with the same settings as the engine's.
class RawDatabase
{
public:
    explicit RawDatabase(const std::string& path)
    {
        {
            CScene scene;
            CEntityArray_SaveLoad_SqliteDB store(path.c_str(), scene.GetInterfaces());
            if (!std::filesystem::exists(path) || !store.GetDatabase().tableExists("entities"))
                store.CreateEmpty();
        }
        Check(sqlite3_open(path.c_str(), &m_connection));
        Execute("PRAGMA cache_size=-65536; PRAGMA temp_store=MEMORY; PRAGMA synchronous=EXTRA");
    }
    RawDatabase(const RawDatabase&) = delete;
    RawDatabase& operator=(const RawDatabase&) = delete;
    ~RawDatabase()
    {
        for (sqlite3_stmt* statement : m_statements)
            sqlite3_finalize(statement);
        sqlite3_close(m_connection);
    }

    void Execute(const char* sql) { Check(sqlite3_exec(m_connection, sql, nullptr, nullptr, nullptr)); }
    sqlite3_stmt* Prepare(const char* sql)
    {
        sqlite3_stmt* statement = nullptr;
        Check(sqlite3_prepare_v3(m_connection, sql, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr));
        m_statements.push_back(statement);
        return statement;
    }
    static void Check(int result)
    {
        if (result != SQLITE_OK)
            std::abort();
    }

private:
    sqlite3* m_connection = nullptr;
    std::vector<sqlite3_stmt*> m_statements;
};

struct Row
{
    double position[3];
    std::vector<std::byte> blob;
};

void WriteRow(sqlite3_stmt* statement, const Row& row, std::int64_t id)
{
    for (int axis = 0; axis < 3; ++axis)
        sqlite3_bind_double(statement, 1 + axis, row.position[axis]);
    sqlite3_bind_blob(statement, 4, row.blob.data(), static_cast<int>(row.blob.size()), SQLITE_STATIC);
    if (id != 0)
        sqlite3_bind_int64(statement, 5, id);
    if (sqlite3_step(statement) != SQLITE_DONE)
        std::abort();
    sqlite3_reset(statement);
}

std::vector<Row> ReadRows(const std::string& path)
{
    RawDatabase raw(path);
    sqlite3_stmt* select = raw.Prepare("SELECT pos_x, pos_y, pos_z, componentData FROM entities ORDER BY id");
    std::vector<Row> rows;
    while (sqlite3_step(select) == SQLITE_ROW)
    {
        Row row;
        for (int axis = 0; axis < 3; ++axis)
            row.position[axis] = sqlite3_column_double(select, axis);
        const auto* bytes = static_cast<const std::byte*>(sqlite3_column_blob(select, 3));
        row.blob.assign(bytes, bytes + sqlite3_column_bytes(select, 3));
        rows.push_back(std::move(row));
    }
    return rows;
}

// The rows that the engine writes for the benchmark scene.
const std::vector<Row>& GetSceneRows()
{
    static const std::vector<Row> rows = []
    {
        const TemporaryFile file("rows");
        {
            CScene scene;
            FillScene(scene);
            CEntityArray_SaveLoad_SqliteDB(file.path.c_str(), scene.GetInterfaces()).Save();
        }
        return ReadRows(file.path);
    }();
    return rows;
}

std::uint64_t HashRows(const std::vector<Row>& rows)
{
    std::uint64_t hash = 0;
    for (const Row& row : rows)
        hash += HashCRC64Data(row.blob.data(), row.blob.size());
    return hash;
}

// ---- A new scene

void RawInsert(benchmark::State& state)
{
    const std::vector<Row>& rows = GetSceneRows();
    for (auto _ : state)
    {
        state.PauseTiming();
        const TemporaryFile file("insert");
        RawDatabase raw(file.path);
        sqlite3_stmt* insert = raw.Prepare(kInsert);
        state.ResumeTiming();
        raw.Execute("BEGIN IMMEDIATE");
        for (const Row& row : rows)
            WriteRow(insert, row, 0);
        raw.Execute("COMMIT");
    }
    bench::Report(state, rows.size(), HashRows(rows));
}
BENCHMARK(RawInsert)->Unit(benchmark::kMillisecond)->UseRealTime();

void SaveNew(benchmark::State& state)
{
    CScene scene;
    FillScene(scene);
    const TemporaryFile file("save");
    for (auto _ : state)
    {
        state.PauseTiming();
        auto store = std::make_unique<CEntityArray_SaveLoad_SqliteDB>(file.path.c_str(), scene.GetInterfaces());
        store->CreateEmpty();
        state.ResumeTiming();
        store->Save();
        state.PauseTiming();
        store.reset();
        state.ResumeTiming();
    }
    bench::Report(state, bench::Count(kEntities), HashRows(ReadRows(file.path)));
}
BENCHMARK(SaveNew)->Unit(benchmark::kMillisecond)->UseRealTime();

// ---- A scene of which nothing or one entity in a hundred changed

void SaveUnchanged(benchmark::State& state)
{
    CScene scene;
    FillScene(scene);
    const TemporaryFile file("unchanged");
    CEntityArray_SaveLoad_SqliteDB store(file.path.c_str(), scene.GetInterfaces());
    store.Save();
    for (auto _ : state)
        store.Save();
    bench::Report(state, bench::Count(kEntities), store.GetCounters().updated);
}
BENCHMARK(SaveUnchanged)->Unit(benchmark::kMillisecond)->UseRealTime();

void RawUpdateOfOnePercent(benchmark::State& state)
{
    std::vector<Row> rows = GetSceneRows();
    const TemporaryFile file("update");
    RawDatabase raw(file.path);
    sqlite3_stmt* insert = raw.Prepare(kInsert);
    raw.Execute("BEGIN IMMEDIATE");
    for (const Row& row : rows)
        WriteRow(insert, row, 0);
    raw.Execute("COMMIT");
    sqlite3_stmt* update = raw.Prepare(kUpdate);
    for (auto _ : state)
    {
        raw.Execute("BEGIN IMMEDIATE");
        for (std::size_t i = 0; i < rows.size(); i += 100)
        {
            rows[i].position[2] += 1.0;
            WriteRow(update, rows[i], static_cast<std::int64_t>(i + 1));
        }
        raw.Execute("COMMIT");
    }
    bench::Report(state, rows.size(), HashRows(rows));
}
BENCHMARK(RawUpdateOfOnePercent)->Unit(benchmark::kMillisecond)->UseRealTime();

void SaveOnePercentChanged(benchmark::State& state)
{
    CScene scene;
    FillScene(scene);
    const TemporaryFile file("changed");
    CEntityArray_SaveLoad_SqliteDB store(file.path.c_str(), scene.GetInterfaces());
    store.Save();
    for (auto _ : state)
    {
        state.PauseTiming();
        for (int i = 0; i < scene.GetArray().GetCount(); i += 100)
        {
            auto* transform = scene.GetArray().Get(i)->Find<ComponentTransform>();
            CMatrix matrix = transform->GetTransform();
            matrix.SetTranslation(matrix.Translation() + CVector3(0, 0, 1));
            transform->SetTransform(matrix);
        }
        state.ResumeTiming();
        store.Save();
    }
    bench::Report(state, bench::Count(kEntities), store.GetCounters().updated / state.iterations());
}
BENCHMARK(SaveOnePercentChanged)->Unit(benchmark::kMillisecond)->UseRealTime();

// ---- One percent of a large world

const std::string& GetWorldPath()
{
    static const TemporaryFile file("world");
    static const bool made = []
    {
        RegisterBuiltInComponents();
        bench::Random random(2);
        CScene scene;
        CEntityArray_SaveLoad_SqliteDB store(file.path.c_str(), scene.GetInterfaces());
        store.CreateEmpty();
        const std::size_t rows = bench::Count(kRows);
        const std::size_t batch = bench::Count(kEntities);
        for (std::size_t i = 0; i < rows; ++i)
        {
            scene.GetArray().Add(MakeEntity(scene.GetInterfaces(), i, random).Get());
            if ((i + 1) % batch != 0 && i + 1 != rows)
                continue;
            store.Save();
            store.ClearCache();
            scene.GetArray().Clear();
        }
        return true;
    }();
    benchmark::DoNotOptimize(made);
    return file.path;
}

constexpr float kMin[] = {4500, 4500, -1000};
constexpr float kMax[] = {5500, 5500, 1000};

void RawSelectOfOnePercent(benchmark::State& state)
{
    RawDatabase raw(GetWorldPath());
    sqlite3_stmt* select = raw.Prepare(kSelect);
    std::size_t rows = 0;
    std::uint64_t hash = 0;
    std::vector<std::byte> copy;
    for (auto _ : state)
    {
        rows = 0;
        hash = 0;
        for (int axis = 0; axis < 3; ++axis)
        {
            sqlite3_bind_double(select, 1 + axis, static_cast<double>(kMin[axis]));
            sqlite3_bind_double(select, 4 + axis, static_cast<double>(kMax[axis]));
        }
        while (sqlite3_step(select) == SQLITE_ROW)
        {
            hash += static_cast<std::uint64_t>(sqlite3_column_int64(select, 0));
            const auto* bytes = static_cast<const std::byte*>(sqlite3_column_blob(select, 1));
            copy.assign(bytes, bytes + sqlite3_column_bytes(select, 1));
            benchmark::DoNotOptimize(copy.data());
            ++rows;
        }
        sqlite3_reset(select);
    }
    bench::Report(state, rows, hash);
}
BENCHMARK(RawSelectOfOnePercent)->Unit(benchmark::kMillisecond)->UseRealTime();

void LoadOnePercent(benchmark::State& state)
{
    CScene scene;
    CEntityArray_SaveLoad_SqliteDB store(GetWorldPath().c_str(), scene.GetInterfaces());
    std::size_t rows = 0;
    std::uint64_t hash = 0;
    for (auto _ : state)
    {
        store.Load(kMin, kMax);
        state.PauseTiming();
        rows = static_cast<std::size_t>(store.GetEntityCount());
        hash = 0;
        for (int i = 0; i < store.GetEntityCount(); ++i)
            hash += static_cast<std::uint64_t>(store.FindRow(store.Get(i)));
        store.ClearCache();
        scene.GetArray().Clear();
        state.ResumeTiming();
    }
    bench::Report(state, rows, hash);
}
BENCHMARK(LoadOnePercent)->Unit(benchmark::kMillisecond)->UseRealTime();
} // namespace
