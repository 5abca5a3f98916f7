// Random work on a stored scene beside a model of what the file and the scene must hold.

#include "support/storageFixture.h"

#include <memory>
#include <set>

using namespace test;
using Store = CEntityArray_SaveLoad_SqliteDB;

namespace
{
class StoredWorld
{
public:
    explicit StoredWorld(unsigned seed) : m_random(seed) { Reopen(); }

    void Step()
    {
        CEntityArray& array = m_scene->GetArray();
        CEntity* entity = array.GetCount() > 0 ? array.Get(m_random.Below(array.GetCount())) : nullptr;
        const int action = m_random.Below(100);
        if (action < 25 || !entity)
            m_scene->Add(Label(m_nextId++, "/new"), GetRandomPosition());
        else if (action < 45)
            Move(entity, GetRandomPosition());
        else if (action < 60)
            Rename(entity, Label(GetId(entity), '/', m_random.Below(1000)));
        else if (action < 76)
            TakeOut(entity, action);
        else if (action < 82)
            Save();
        else if (action < 84)
            FailToSave();
        else if (action < 95)
            LoadRegion();
        else if (action < 98)
            ClearCache();
        else
            Reopen();
    }

    void Check()
    {
        Content expected;
        for (const auto& [id, stored] : m_file)
            expected.insert(stored);
        ASSERT_EQ(LoadContent(m_path), expected);
        ASSERT_EQ(static_cast<std::size_t>(m_store->GetEntityCount()), m_known.size());
        for (int i = 0; i < m_store->GetEntityCount(); ++i)
            ASSERT_GE(m_store->FindRow(m_store->Get(i)), 0);
        ASSERT_TRUE(m_scene->GetArray().Validate());
    }

private:
    static int GetId(const CEntity* entity) { return std::stoi(GetName(entity)); }

    CVector3 GetRandomPosition()
    {
        const auto number = [this] { return static_cast<float>(m_random.Below(21)); };
        return {number(), number(), number()};
    }

    // Deletes the entity from the file too, or makes the store forget it, or leaves it known to the store.
    void TakeOut(CEntity* entity, int action)
    {
        const bool isKnown = m_known.contains(GetId(entity));
        if (action < 75)
            m_known.erase(GetId(entity));
        if (action < 69)
            m_store->DeleteEntity(entity);
        else if (action < 75)
            m_store->RemoveEntity(entity);
        if (action < 69 && isKnown)
            m_deleted.insert(GetId(entity));
        m_scene->GetArray().Remove(entity);
    }

    void Save()
    {
        ASSERT_TRUE(m_store->Save());
        for (const int id : std::exchange(m_deleted, {}))
            m_file.erase(id);
        for (const auto& stored : m_scene->GetContent())
        {
            const int id = std::stoi(stored.first);
            m_known.insert(id);
            m_file.erase(id);
            m_file.emplace(id, stored);
        }
    }

    void FailToSave()
    {
        sqlite::database other;
        ASSERT_TRUE(other.open(m_path) && other.execute("BEGIN EXCLUSIVE"));
        const ExpectLog expected{"locked"};
        ASSERT_FALSE(m_store->Save());
    }

    void LoadRegion()
    {
        const CVector3 a = GetRandomPosition();
        const CVector3 b = a + CVector3(8.0F, 8.0F, 8.0F);
        const float min[] = {a.x, a.y, a.z};
        const float max[] = {b.x, b.y, b.z};
        Content expected = m_scene->GetContent();
        for (const auto& [id, stored] : m_file)
        {
            const CVector3 p = stored.second;
            if (p.x >= a.x && p.y >= a.y && p.z >= a.z && p.x <= b.x && p.y <= b.y && p.z <= b.z &&
                !m_deleted.contains(id) && m_known.insert(id).second)
                expected.insert(stored);
        }
        std::vector<std::int64_t> rows;
        ASSERT_TRUE(m_random.OneIn(2) ? m_store->Load(min, max) : m_store->CollectRows(min, max, rows));
        for (const std::int64_t row : rows)
            ASSERT_TRUE(m_store->LoadRow(row));
        ASSERT_EQ(m_scene->GetContent(), expected);
    }

    void ClearCache()
    {
        m_scene->GetArray().Clear();
        m_store->ClearCache();
        m_known.clear();
    }

    void Reopen()
    {
        m_store.reset();
        m_scene = std::make_unique<StorageScene>();
        m_store = std::make_unique<Store>(m_path.c_str(), m_scene->GetInterfaces());
        m_store->GetDatabase().setBusyTimeout(0);
        m_known.clear();
        m_deleted.clear();
        Check();
    }

    Random m_random;
    TemporaryFolder m_folder;
    const std::string m_path = m_folder.Path("world.sdb");
    std::unique_ptr<StorageScene> m_scene;
    std::unique_ptr<Store> m_store;
    std::map<int, Content::value_type> m_file;
    std::set<int> m_known;   // ids of the entities that the store knows
    std::set<int> m_deleted; // ids whose rows go with the next save
    int m_nextId = 0;
};
} // namespace

TEST(StorageModel, RandomWorkAgreesWithTheModel)
{
    for (const unsigned seed : {1U, 2U, 3U})
    {
        StoredWorld world(seed);
        for (int step = 0; step < 800; ++step)
        {
            world.Step();
            if (step % 50 == 0)
                world.Check();
            ASSERT_FALSE(testing::Test::HasFailure()) << "seed " << seed << ", step " << step;
        }
    }
}
