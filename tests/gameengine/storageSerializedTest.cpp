#include "support/storageFixture.h"
#include "tamradeps/core/crc64.h"

#include <cstring>
#include <filesystem>

using namespace test;
using Store = CEntityArray_SaveLoad_Serialized;

namespace
{
class StorageSerialized : public StorageTest<Store>
{
protected:
    StorageSerialized() : StorageTest("world.mfs")
    {
        m_world.Add("first", {1.0F, 2.0F, 3.0F});
        m_world.Add("second", {4.0F, 5.0F, 6.0F});
    }

    // A scene that has one entity refuses the content with one line and keeps what it has.
    void ExpectRefused(const std::vector<std::byte>& content, const char* reason = "is damaged")
    {
        if (!m_own)
            m_own = m_scene.Add("own", {});
        const ExpectLog expected{reason};
        EXPECT_FALSE(m_store.LoadBytes(content, nullptr, nullptr));
        EXPECT_EQ(m_scene.GetArray().GetCount(), 1);
        EXPECT_EQ(m_scene.GetArray().Get(0), m_own);
        EXPECT_EQ(m_store.GetEntityCount(), 0);
    }

    const CEntity* m_own = nullptr;
};

template <class Integer>
void Put(std::vector<std::byte>& content, std::size_t offset, Integer value)
{
    std::memcpy(&content.at(offset), &value, sizeof value);
}

std::vector<std::byte> Signed(std::vector<std::byte> content)
{
    Put(content, 16, HashCRC64Data(content.data() + 24, content.size() - 24));
    return content;
}
} // namespace

TEST_F(StorageSerialized, RoundTripsKeepEveryByte)
{
    SaveWorld();
    const std::string first = ReadFile(m_path);
    SaveWorld();
    EXPECT_EQ(ReadFile(m_path), first);

    // An equal scene elsewhere in memory. Loading turns components round, loading twice turns them back.
    ASSERT_TRUE(m_store.Load(nullptr, nullptr) && m_store.Save());
    EXPECT_EQ(m_scene.GetContent(), m_world.GetContent());
    EXPECT_NE(ReadFile(m_path), first);
    EXPECT_EQ(m_store.GetEntityCount(), 2);
    StorageScene twice;
    ASSERT_TRUE(CEntityArray_SaveLoad::Load(m_path.c_str(), twice.GetInterfaces(), nullptr, nullptr));
    ASSERT_TRUE(CEntityArray_SaveLoad::Save(m_path.c_str(), twice.GetInterfaces()));
    EXPECT_EQ(ReadFile(m_path), first);

    ASSERT_TRUE(m_store.CreateEmpty());
    EXPECT_EQ(LoadContent(m_path), Content());
    EXPECT_EQ(ReadFile(m_path).size(), 24U);
}

TEST_F(StorageSerialized, DamagedContentIsRefusedAsAWhole)
{
    std::vector<std::byte> content;
    ASSERT_TRUE(Store(m_path.c_str(), m_world.GetInterfaces()).SaveBytes(content));
    for (std::size_t size = 0; size < content.size(); ++size)
        ExpectRefused({content.begin(), content.begin() + static_cast<std::ptrdiff_t>(size)}, "world.mfs ");
    for (std::size_t bit = 0; bit < content.size() * 8; ++bit)
    {
        std::vector<std::byte> damaged = content;
        damaged[bit / 8] ^= std::byte{1} << (bit % 8);
        ExpectRefused(damaged, "world.mfs ");
    }
    std::vector<std::byte> forged = content;
    forged.push_back(std::byte{0});
    ExpectRefused(forged);

    // With a checksum that is right.
    ExpectRefused(Signed(forged));
    forged = content;
    for (const std::uint32_t count : {0U, 1U, 3U, 0x40000000U, 0xFFFFFFFFU})
    {
        Put(forged, 12, count);
        ExpectRefused(forged);
    }
    forged = content;
    for (const std::uint32_t length : {0U, 1U, 0x7FFFFFFFU, 0xFFFFFFFFU})
    {
        Put(forged, 24, length);
        ExpectRefused(Signed(forged));
    }
    forged = content; // the last entity is bad
    std::uint32_t firstLength = 0;
    std::memcpy(&firstLength, &content[24], sizeof firstLength);
    forged[24 + 4 + firstLength + 4] ^= std::byte{0xFF};
    ExpectRefused(Signed(forged));
    Put(content, 8, std::uint32_t{2});
    ExpectRefused(content, "has an unknown version");
}

TEST_F(StorageSerialized, FilesThatCannotBeReadOrWritten)
{
    m_scene.Add("own", {});
    const ExpectLog expected{"world.mfs", "world.mfs", "world.mfs", "is no regular file"};
    EXPECT_FALSE(m_store.Load(nullptr, nullptr));
    std::filesystem::create_directory(m_path);
    EXPECT_FALSE(m_store.Load(nullptr, nullptr));
    EXPECT_FALSE(m_store.Save());
    EXPECT_FALSE(m_store.CreateEmpty());
    EXPECT_EQ(m_store.GetEntityCount(), 0);
    EXPECT_EQ(m_scene.GetArray().GetCount(), 1);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(m_folder.Path("")), {}), 1);
}

// Listeners of the array that turn to the loader, or undo its work, while it goes on.
TEST_F(StorageSerialized, ListenersMayChangeSceneAndLoader)
{
    SaveWorld();
    int added = 0;
    CEventSubscription listener(
        [&](const EventMessage& message)
        {
            if (message.id != CEntityArray::kEntityAdded || ++added > 6)
                return;
            EXPECT_TRUE(added != 1 || m_store.Load(nullptr, nullptr));
            m_store.RemoveEntity(GetEntity(message));
            m_store.ClearCache();
            m_scene.GetArray().Remove(GetEntity(message));
        });
    listener.Subscribe(m_scene.GetArray().Events());
    EXPECT_TRUE(m_store.Load(nullptr, nullptr));
    EXPECT_EQ(added, 4);
    EXPECT_EQ(m_scene.GetArray().GetCount(), 0);
    EXPECT_EQ(m_store.GetEntityCount(), 0);
    EXPECT_EQ(m_store.Get(0), nullptr);
}
