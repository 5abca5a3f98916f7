#include "support/storageFixture.h"
#include "tamradeps/core/crc64.h"
#include "tamradeps/udb/udbGroup.h"

#include <cstring>
#include <filesystem>

using namespace test;
using Store = CEntityArray_SaveLoad_Serialized;

namespace
{
class StorageSerialized : public testing::Test
{
protected:
    StorageSerialized()
    {
        m_scene.Add("first", {1.0F, 2.0F, 3.0F});
        m_scene.Add("second", {4.0F, 5.0F, 6.0F});
    }

    // A scene that has one entity refuses the content with one line and keeps what it has.
    void ExpectRefused(const std::vector<std::byte>& content, const char* reason)
    {
        StorageScene scene;
        const CEntity* entity = scene.Add("own", {});
        Store store(m_path.c_str(), scene.GetInterfaces());
        const ExpectLog expected{reason};
        EXPECT_FALSE(store.LoadBytes(content, nullptr, nullptr));
        EXPECT_EQ(scene.GetArray().GetCount(), 1);
        EXPECT_EQ(scene.GetArray().Get(0), entity);
        EXPECT_EQ(store.GetEntityCount(), 0);
    }

    TemporaryFolder m_folder;
    const std::string m_path = m_folder.Path("world.mfs");
    StorageScene m_scene;
};

template <class Integer>
void Put(std::vector<std::byte>& content, std::size_t offset, Integer value)
{
    if (content.size() < offset + sizeof value)
        content.resize(offset + sizeof value);
    std::memcpy(&content[offset], &value, sizeof value);
}

void Sign(std::vector<std::byte>& content)
{
    Put(content, 16, HashCRC64Data(content.data() + 24, content.size() - 24));
}
} // namespace

TEST_F(StorageSerialized, RoundTripsKeepEveryByte)
{
    Store store(m_path.c_str(), m_scene.GetInterfaces());
    ASSERT_TRUE(store.Save());
    EXPECT_EQ(store.GetEntityCount(), 2);
    const std::vector<std::byte> first = ReadFile(m_path);
    ASSERT_TRUE(store.Save());
    EXPECT_EQ(ReadFile(m_path), first);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(first.data()), 8), "TAMRAMFS");

    // An equal scene elsewhere in memory. Loading turns components round, loading twice turns them back.
    StorageScene once;
    StorageScene twice;
    ASSERT_TRUE(CEntityArray_SaveLoad::Load(m_path.c_str(), once.GetInterfaces(), nullptr, nullptr));
    EXPECT_EQ(once.GetContent(), m_scene.GetContent());
    ASSERT_TRUE(CEntityArray_SaveLoad::Save(m_path.c_str(), once.GetInterfaces()));
    ASSERT_TRUE(CEntityArray_SaveLoad::Load(m_path.c_str(), twice.GetInterfaces(), nullptr, nullptr));
    for (const char* name : {"first", "second"})
    {
        UDBDatabase data;
        UDBGroup* group = data.AllocateGroup();
        once.Find(name)->SerializerSave(*group);
        group->ReverseEntries();
        std::vector<std::byte> reversed;
        ASSERT_TRUE(UDBReadWriteBinary(true).Write(*group, reversed));
        EXPECT_EQ(reversed, GetBytes(m_scene.Find(name)));
        EXPECT_EQ(GetBytes(twice.Find(name)), GetBytes(m_scene.Find(name)));
    }
    ASSERT_TRUE(CEntityArray_SaveLoad::Save(m_path.c_str(), twice.GetInterfaces()));
    EXPECT_EQ(ReadFile(m_path), first);

    ASSERT_TRUE(store.CreateEmpty());
    EXPECT_EQ(LoadContent(m_path), Content());
    EXPECT_EQ(ReadFile(m_path).size(), 24U);
}

TEST_F(StorageSerialized, DamagedContentIsRefusedAsAWhole)
{
    std::vector<std::byte> content;
    ASSERT_TRUE(Store(m_path.c_str(), m_scene.GetInterfaces()).SaveBytes(content));
    for (std::size_t size = 0; size < content.size(); ++size)
        ExpectRefused({content.begin(), content.begin() + static_cast<std::ptrdiff_t>(size)}, "world.mfs ");
    for (std::size_t bit = 0; bit < content.size() * 8; ++bit)
    {
        std::vector<std::byte> damaged = content;
        damaged[bit / 8] ^= std::byte{1} << (bit % 8);
        ExpectRefused(damaged, "world.mfs ");
    }
    std::vector<std::byte> longer = content;
    longer.push_back(std::byte{0});
    ExpectRefused(longer, "is damaged");

    // With a checksum that is right.
    Sign(longer);
    ExpectRefused(longer, "is damaged");
    for (const std::uint32_t count : {0U, 1U, 3U, 0x40000000U, 0xFFFFFFFFU})
    {
        std::vector<std::byte> forged = content;
        Put(forged, 12, count);
        ExpectRefused(forged, "is damaged");
    }
    for (const std::uint32_t length : {0U, 1U, 0x7FFFFFFFU, 0xFFFFFFFFU})
    {
        std::vector<std::byte> forged = content;
        Put(forged, 24, length);
        Sign(forged);
        ExpectRefused(forged, "is damaged");
    }
    std::vector<std::byte> lastIsBad = content;
    std::uint32_t firstLength = 0;
    std::memcpy(&firstLength, &content[24], sizeof firstLength);
    lastIsBad[24 + 4 + firstLength + 4] ^= std::byte{0xFF};
    Sign(lastIsBad);
    ExpectRefused(lastIsBad, "is damaged");
    std::vector<std::byte> newer = content;
    Put(newer, 8, std::uint32_t{2});
    ExpectRefused(newer, "has an unknown version");
}

TEST_F(StorageSerialized, FilesThatCannotBeReadOrWritten)
{
    {
        const ExpectLog expected{"world.mfs"};
        EXPECT_FALSE(CEntityArray_SaveLoad::Load(m_path.c_str(), m_scene.GetInterfaces(), nullptr, nullptr));
    }
    std::filesystem::create_directory(m_path);
    {
        const ExpectLog expected{"world.mfs", "world.mfs", "is no regular file"};
        EXPECT_FALSE(CEntityArray_SaveLoad::Load(m_path.c_str(), m_scene.GetInterfaces(), nullptr, nullptr));
        Store store(m_path.c_str(), m_scene.GetInterfaces());
        EXPECT_FALSE(store.Save());
        EXPECT_FALSE(store.CreateEmpty());
        EXPECT_EQ(store.GetEntityCount(), 0);
    }
    EXPECT_EQ(m_scene.GetArray().GetCount(), 2);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(m_folder.Path("")), {}), 1);
}

// Listeners of the array that turn to the loader, or undo its work, while it goes on.
TEST_F(StorageSerialized, ListenersMayChangeSceneAndLoader)
{
    ASSERT_TRUE(CEntityArray_SaveLoad::Save(m_path.c_str(), m_scene.GetInterfaces()));
    StorageScene scene;
    Store store(m_path.c_str(), scene.GetInterfaces());
    int added = 0;
    CEventSubscription listener(
        [&](const EventMessage& message)
        {
            if (message.id != CEntityArray::kEntityAdded || ++added > 6)
                return;
            if (added == 1)
            {
                EXPECT_TRUE(store.Load(nullptr, nullptr));
            }
            auto* entity = message.first.GetObjectPointer<CEntity>("CEntity");
            store.RemoveEntity(entity);
            store.ClearCache();
            scene.GetArray().Remove(entity);
        });
    listener.Subscribe(scene.GetArray().Events());
    EXPECT_TRUE(store.Load(nullptr, nullptr));
    EXPECT_EQ(added, 4);
    EXPECT_EQ(scene.GetArray().GetCount(), 0);
    EXPECT_EQ(store.GetEntityCount(), 0);
    EXPECT_EQ(store.Get(0), nullptr);
}
