#include "gameengine/engine/entityComponentDatabase.h"

#include "support/sceneFixture.h"

#include <algorithm>
#include <array>
#include <memory>

#include <gmock/gmock.h>

using testing::ElementsAre;

namespace
{
// A component of no entity.
class Plain : public CEntityComponent
{
public:
    Plain() : CEntityComponent(20200, nullptr) {}
    CEntityComponentProperty* GetProperty(int, CEntityComponentProperty*) override { return nullptr; }
    void SetProperty(int, CEntityComponentProperty*) override {}
};

std::vector<CEntityComponent*> GetAll(const CEntityComponentDatabase& database)
{
    std::vector<CEntityComponent*> all;
    for (unsigned i = 0; i < static_cast<unsigned>(database.GetCount()); ++i)
        all.push_back(database.Get(i));
    EXPECT_EQ(database.Get(static_cast<unsigned>(database.GetCount())), nullptr);
    return all;
}

// Removing moves the last one into the gap; an entry of several may be any of them.
bool RemoveFromModel(std::vector<CEntityComponent*>& model, const CEntityComponent* component)
{
    const auto found = std::find(model.begin(), model.end(), component);
    if (found == model.end())
        return false;
    *found = model.back();
    model.pop_back();
    return true;
}

// Random additions, removals, copies and deaths over three databases that list the same components, so that positions
// must be looked up rather than remembered.
void CompareWithModel(std::uint32_t seed, bool twice)
{
    test::Random random(seed);
    std::array<CEntityComponentDatabase, 3> databases;
    std::array<std::vector<CEntityComponent*>, 3> models;
    std::vector<std::unique_ptr<Plain>> components(seed * 20);
    for (auto& component : components)
        component = std::make_unique<Plain>();
    for (int step = 0; step < 600; ++step)
    {
        const std::size_t which = random.Below(3U);
        std::unique_ptr<Plain>& any = components[random.Below(components.size())];
        Plain* const component = any.get();
        std::vector<CEntityComponent*>& model = models[which];
        if (random.OneIn(40))
        {
            for (auto& each : models)
                while (RemoveFromModel(each, component))
                    twice = true; // whose entries leave in no particular order
            any.reset();          // while it is listed
            any = std::make_unique<Plain>();
        }
        else if (random.OneIn(40))
        {
            databases[which] = CEntityComponentDatabase(databases[(which + 1) % 3]);
            model = models[(which + 1) % 3];
        }
        else if ((step / 100) % 2 == 0 ? !random.OneIn(3) : random.OneIn(4))
        {
            if (!twice && std::find(model.begin(), model.end(), component) != model.end())
                continue;
            databases[which].Add(component);
            model.push_back(component);
        }
        else
        {
            databases[which].Remove(component);
            RemoveFromModel(model, component);
        }
        for (std::size_t i = 0; i < 3; ++i)
        {
            ASSERT_TRUE(databases[i].Validate()) << "seed " << seed << " step " << step;
            auto found = GetAll(databases[i]);
            auto expected = models[i];
            if (twice)
            {
                std::sort(found.begin(), found.end());
                std::sort(expected.begin(), expected.end());
            }
            ASSERT_EQ(found, expected) << "seed " << seed << " step " << step;
        }
    }
}

TEST(ComponentDatabase, AgreesWithAModel)
{
    for (std::uint32_t seed = 1; seed <= 6; ++seed)
    {
        CompareWithModel(seed, false);
        CompareWithModel(seed, true);
    }
}

TEST(ComponentDatabase, TellsItsOwnListeners)
{
    Plain component;
    CEntityComponentDatabase database;
    test::EventLog log;
    log.Listen(database.Events(), "database",
               [&](const EventMessage& message)
               {
                   EXPECT_EQ(message.first.GetObjectPointer<CEntityComponent>("CEntityComponent"), &component);
                   EXPECT_EQ(message.second.GetObjectPointer<void>("CEntityComponentDatabase"), &database);
               });
    database.Add(&component);
    CEntityComponentDatabase copy(database);
    copy.Remove(&component);
    EXPECT_THAT(log.Take(), ElementsAre("database 0"));
    database.Remove(&component);
    database.Remove(&component);
    EXPECT_THAT(log.Take(), ElementsAre("database 1"));
}

TEST(ComponentDatabase, ListenersMayDestroyDatabasesWhileAComponentDies)
{
    auto dying = std::make_unique<Plain>();
    std::array<std::unique_ptr<CEntityComponentDatabase>, 4> databases;
    test::EventLog log;
    for (auto& database : databases)
    {
        database = std::make_unique<CEntityComponentDatabase>();
        database->Add(dying.get());
        log.Listen(database->Events(), "database",
                   [&](const EventMessage&)
                   {
                       // The one that raises this, and a neighbour.
                       database.reset();
                       databases[1].reset();
                   });
    }
    dying.reset();
    EXPECT_FALSE(databases[3]);
}
} // namespace
