#include "gameengine/engine/entityComponentRepository.h"

#include "support/expectations.h"
#include "support/random.h"

#include <map>
#include <memory>
#include <vector>

#include <gtest/gtest.h>

namespace
{
constexpr std::int32_t kTypeId = 20100;

// Something to point at.
void* Value(unsigned i)
{
    static char values[64];
    return &values[i % sizeof(values)];
}

TEST(MapRepository, AgreesWithAnOrderedMap)
{
    // Keys that meet in the table's last places and wrap to its first ones, at every size, and the two extremes.
    std::vector<unsigned> keys{0, 0xFFFFFFFF, 0xFFFFFFDF, 0x80000000};
    for (unsigned size = 32; size <= 1024; size *= 2)
        for (unsigned k = 1; k < 24; ++k)
            keys.insert(keys.end(), {size * k - 1, size * k - 2, size * k, size + k});
    for (unsigned seed = 1; seed <= 20; ++seed)
    {
        test::Random random(seed);
        CEntityComponentRepository repository(kTypeId);
        std::map<unsigned, void*> model;
        for (unsigned step = 0; step < 400; ++step)
        {
            // 0, which has a place of its own, is sometimes the one that no longer fits.
            const bool isFull = model.size() * 4 == repository.GetCapacity() * 3;
            const std::size_t any = (seed % 2 + random.Below(seed * 25)) % keys.size();
            const unsigned key = isFull && !model.contains(0) ? 0 : keys[any];
            model[key] = random.OneIn(3) ? nullptr : Value(step);
            if (model[key])
                repository.Set(key, model[key]);
            else
                repository.Remove(key);
            ASSERT_TRUE(repository.Validate()) << "seed " << seed << " step " << step;
            ASSERT_EQ(repository.GetOccupiedCount(), model.size());
            // Doubles exactly for the index that no longer fits.
            ASSERT_TRUE(model.size() * 4 <= repository.GetCapacity() * 3);
            ASSERT_TRUE(repository.GetCapacity() == 32 || model.size() * 8 > repository.GetCapacity() * 3);
            const unsigned probe = keys[random.Below(keys.size())];
            ASSERT_EQ(repository.Find(probe), model.contains(probe) ? model[probe] : nullptr) << probe;
        }
        for (const auto& [key, value] : model)
            ASSERT_EQ(repository.Find(key), value) << key;
    }
}

TEST(FastRepository, ServesIndicesPastItsEndWithAReport)
{
    const auto repository = std::make_unique<CEntityComponentRepositoryFast>(kTypeId);
    repository->Set(99999, Value(1));
    repository->RemoveIf(99999, Value(2));
    EXPECT_EQ(repository->Find(99999), Value(1));
    repository->RemoveIf(99999, Value(1));
    EXPECT_EQ(repository->Find(99999), nullptr);

    const std::string found = "gameengine/engine/entityComponent 51";
    const std::string set = "gameengine/engine/entityComponent 52";
    const std::string removed = "gameengine/engine/entityComponent 53";
    const test::ExpectAssertions lines{set, found, found, removed, found, removed, found, set, removed, found};
    repository->Set(100000, Value(2));
    EXPECT_EQ(repository->Find(0xFFFFFFFF), nullptr);
    EXPECT_EQ(repository->Find(100000), Value(2));
    repository->RemoveIf(100000, Value(3));
    EXPECT_EQ(repository->Find(100000), Value(2));
    repository->RemoveIf(100000, Value(2));
    EXPECT_EQ(repository->Find(100000), nullptr);
    repository->Set(100000, Value(2));
    repository->Remove(100000);
    EXPECT_EQ(repository->Find(100000), nullptr);
}

TEST(RepositoryRegistry, NamesTheRepositoryCreatedLast)
{
    using Base = CEntityComponentRepositoryBase;
    const CEntityComponentRepository first(kTypeId);
    EXPECT_EQ(Base::GetRepository(kTypeId), &first);
    {
        const CEntityComponentRepository second(kTypeId);
        EXPECT_EQ(Base::GetRepository(kTypeId), &second);
    }
    EXPECT_EQ(Base::GetRepository(kTypeId), nullptr);
}
} // namespace
