#include <algorithm>
#include <array>
#include <memory>
#include <new>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#if defined(__linux__)
#include <sys/mman.h>
#endif

#include "gameengine/engine/entityComponentDatabase.h"
#include "support/sceneFixture.h"

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
void RemoveFromModel(std::vector<CEntityComponent*>& model, CEntityComponent* component)
{
    const auto found = std::find(model.begin(), model.end(), component);
    if (found == model.end())
        return;
    *found = model.back();
    model.pop_back();
}

// Random additions, removals and deaths over three databases that list the same components, so that positions must be
// looked up rather than remembered.
void CompareWithModel(std::uint32_t seed, bool twice)
{
    test::Random random(seed);
    std::array<CEntityComponentDatabase, 3> databases;
    std::array<std::vector<CEntityComponent*>, 3> models;
    std::vector<std::unique_ptr<Plain>> components(seed * 30);
    for (auto& component : components)
        component = std::make_unique<Plain>();
    for (int step = 0; step < 600; ++step)
    {
        const std::size_t which = random.Below(3U);
        auto& component = components[random.Below(static_cast<std::uint32_t>(components.size()))];
        const auto& model = models[which];
        const bool isListed = std::find(model.begin(), model.end(), component.get()) != model.end();
        if (random.OneIn(40))
        {
            for (auto& each : models)
            {
                while (std::find(each.begin(), each.end(), component.get()) != each.end())
                    RemoveFromModel(each, component.get());
            }
            component = std::make_unique<Plain>(); // the old one dies while it is listed
            twice = true;                          // whose entries leave in no particular order
        }
        else if ((step / 100) % 2 == 0 ? !random.OneIn(3) : random.OneIn(4))
        {
            if (isListed && !twice)
                continue;
            databases[which].Add(component.get());
            models[which].push_back(component.get());
        }
        else
        {
            databases[which].Remove(component.get());
            RemoveFromModel(models[which], component.get());
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

TEST(ComponentDatabase, TellsComponentsApartThatShareTheirHash)
{
#if defined(__linux__)
    constexpr std::size_t kDistance = std::size_t{1} << 32;
    constexpr std::size_t kPage = 4096;
    void* region = mmap(nullptr, kDistance + kPage, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (region == MAP_FAILED)
        GTEST_SKIP() << "no two addresses 4 GiB apart";
    auto* low = static_cast<std::byte*>(region);
    ASSERT_EQ(mprotect(low, kPage, PROT_READ | PROT_WRITE), 0);
    ASSERT_EQ(mprotect(low + kDistance, kPage, PROT_READ | PROT_WRITE), 0);
    auto* first = ::new (low) Plain;
    auto* second = ::new (low + kDistance) Plain;
    for (Plain* removed : {first, second})
    {
        CEntityComponentDatabase one;
        CEntityComponentDatabase other;
        for (CEntityComponentDatabase* database : {&one, &other})
        {
            database->Add(second);
            database->Add(first);
        }
        one.Remove(removed);
        EXPECT_THAT(GetAll(one), ElementsAre(removed == first ? second : first));
        one.Remove(removed);
        EXPECT_EQ(one.GetCount(), 1) << "the other one with this hash stays";
        EXPECT_TRUE(one.Validate());
        EXPECT_EQ(other.GetCount(), 2);
    }
    first->~Plain();
    second->~Plain();
    munmap(region, kDistance + kPage);
#else
    GTEST_SKIP() << "needs two addresses 4 GiB apart";
#endif
}

TEST(ComponentDatabase, CopiesListTheSameWithoutListeners)
{
    auto dying = std::make_unique<Plain>();
    Plain first;
    Plain last;
    CEntityComponentDatabase database;
    test::EventLog log;
    log.Listen(database.Events(), "database",
               [&](const EventMessage& message)
               {
                   EXPECT_NE(message.first.GetObjectPointer<CEntityComponent>("CEntityComponent"), nullptr);
                   EXPECT_EQ(message.second.GetObjectPointer<void>("CEntityComponentDatabase"), &database);
               });
    for (Plain* component : {&first, dying.get(), &last})
        database.Add(component);
    EXPECT_THAT(log.Take(), ElementsAre("database 0", "database 0", "database 0"));
    CEntityComponentDatabase copy(database);
    CEntityComponentDatabase assigned;
    assigned.Add(&last);
    assigned = database;
    EXPECT_THAT(GetAll(copy), ElementsAre(&first, dying.get(), &last));
    copy.Remove(&first);
    EXPECT_THAT(GetAll(copy), ElementsAre(&last, dying.get()));
    dying.reset();
    EXPECT_THAT(GetAll(copy), ElementsAre(&last));
    EXPECT_THAT(GetAll(assigned), ElementsAre(&first, &last));
    EXPECT_THAT(GetAll(database), ElementsAre(&first, &last));
    EXPECT_THAT(log.Take(), ElementsAre("database 1"));
    database.Remove(&first);
    database.Remove(&first);
    database.Remove(&last);
    EXPECT_EQ(database.GetCount(), 0);
    database.Add(&first);
    EXPECT_THAT(GetAll(database), ElementsAre(&first));
    for (const CEntityComponentDatabase* each : {&database, &copy, &assigned})
        EXPECT_TRUE(each->Validate());
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
