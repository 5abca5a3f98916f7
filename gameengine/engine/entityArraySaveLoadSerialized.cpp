#include "gameengine/engine/entityArraySaveLoadSerialized.h"

#include "gameengine/engine/entityStorageInternal.h"
#include "tamradeps/core/crc64.h"
#include "tamradeps/core/log.h"
#include "tamradeps/io/fileSystem.h"
#include "tamradeps/io/utf8Path.h"
#include "tamradeps/udb/udbGroup.h"
#include "tamradeps/udb/udbReadWriteBinary.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace
{
constexpr char kMagic[8] = {'T', 'A', 'M', 'R', 'A', 'M', 'F', 'S'};
constexpr std::uint32_t kVersion = 1;
constexpr std::size_t kHeaderSize = sizeof(kMagic) + 4 + 4 + 8;
constexpr std::size_t kLongestPath = 512;
constexpr std::size_t kMaxFileSize = std::size_t{1} << 32;

template <class Integer>
void StoreLittleEndian(std::byte* out, Integer value)
{
    for (std::size_t i = 0; i < sizeof(Integer); ++i)
        out[i] = static_cast<std::byte>(value >> (8 * i));
}

template <class Integer>
Integer LoadLittleEndian(const std::byte* in)
{
    Integer value = 0;
    for (std::size_t i = 0; i < sizeof(Integer); ++i)
        value |= static_cast<Integer>(std::to_integer<Integer>(in[i]) << (8 * i));
    return value;
}

// Splits a file into the data of its entities. Null when it is sound, else what is wrong with it.
const char* SplitFile(std::span<const std::byte> content, std::vector<std::span<const std::byte>>& blobs)
{
    if (content.size() < kHeaderSize || std::memcmp(content.data(), kMagic, sizeof(kMagic)) != 0)
        return "is not a scene file";
    if (LoadLittleEndian<std::uint32_t>(&content[8]) != kVersion)
        return "has an unknown version";
    const auto count = LoadLittleEndian<std::uint32_t>(&content[12]);
    std::span<const std::byte> rest = content.subspan(kHeaderSize);
    if (LoadLittleEndian<std::uint64_t>(&content[16]) != HashCRC64Data(rest.data(), rest.size()) ||
        count > rest.size() / 4)
        return "is damaged";
    blobs.reserve(count);
    for (std::uint32_t i = 0; i < count; ++i)
    {
        if (rest.size() < 4 || LoadLittleEndian<std::uint32_t>(rest.data()) > rest.size() - 4)
            return "is damaged";
        const std::size_t size = LoadLittleEndian<std::uint32_t>(rest.data());
        blobs.push_back(rest.subspan(4, size));
        rest = rest.subspan(4 + size);
    }
    return rest.empty() ? nullptr : "is damaged";
}
} // namespace

CEntityArray_SaveLoad_Serialized::CEntityArray_SaveLoad_Serialized(const char* file, CInterfaceCollection* scene)
    : m_scene(scene),
      m_manager(entityStorage::GetManager(scene))
{
    // Absolute, so that reading does not look for it in the asset folders first.
    std::error_code ignored;
    const auto path = tamra::ToPath(GetFileSystem().GetTemporaryFilePath(file ? file : ""));
    m_path = tamra::ToUtf8(std::filesystem::absolute(path, ignored));
}

CEntityArray_SaveLoad_Serialized::~CEntityArray_SaveLoad_Serialized()
{
    CEntityArray_SaveLoad_Serialized::ClearCache();
}

// In order of creation, so that equal scenes give equal files. Referenced: a component may take any of them out of the
// scene while it is saved.
std::vector<RefPtr<CEntity>> CEntityArray_SaveLoad_Serialized::i_GetEntities() const
{
    const CEntityArray& array = *m_manager->GetArray();
    std::vector<CEntity*> entities;
    entities.reserve(static_cast<std::size_t>(array.GetCount()));
    for (int i = 0; i < array.GetCount(); ++i)
        entities.push_back(array.Get(i));
    std::sort(entities.begin(), entities.end(),
              [](const CEntity* a, const CEntity* b) { return a->GetSerial() < b->GetSerial(); });
    return {entities.begin(), entities.end()};
}

bool CEntityArray_SaveLoad_Serialized::Save()
{
    if (!m_manager)
        return false;
    std::vector<RefPtr<CEntity>> entities = i_GetEntities();
    std::vector<std::byte> content;
    if (!i_Serialize(entities, content) || !GetFileSystem().FileReplace(m_path, content.data(), content.size()))
        return false;
    const auto releaseLast = std::exchange(m_entities, std::move(entities));
    return true;
}

bool CEntityArray_SaveLoad_Serialized::SaveBytes(std::vector<std::byte>& content) const
{
    return m_manager && i_Serialize(i_GetEntities(), content);
}

bool CEntityArray_SaveLoad_Serialized::CreateEmpty()
{
    std::vector<std::byte> content;
    if (!i_Serialize({}, content) || !GetFileSystem().FileReplace(m_path, content.data(), content.size()))
        return false;
    ClearCache();
    return true;
}

bool CEntityArray_SaveLoad_Serialized::i_Serialize(std::span<const RefPtr<CEntity>> entities,
                                                   std::vector<std::byte>& content) const
{
    const UDBReadWriteBinary writer(true);
    UDBDatabase data;
    std::vector<std::byte> blob;
    content.assign(kHeaderSize, std::byte{});
    for (const auto& entity : entities)
    {
        data.Clear();
        UDBGroup* group = data.AllocateGroup();
        entity->SerializerSave(*group);
        if (!writer.Write(*group, blob) || content.size() + blob.size() > kMaxFileSize)
        {
            tamra::log::Error(tamra::log::Quoted(m_path, kLongestPath) + ": the data of entity " +
                              std::to_string(entity->GetIndex()) + " cannot be written: it is too large or too deep");
            return false;
        }
        const std::size_t start = content.size();
        content.resize(start + 4);
        StoreLittleEndian(&content[start], static_cast<std::uint32_t>(blob.size()));
        content.insert(content.end(), blob.begin(), blob.end());
    }
    std::memcpy(content.data(), kMagic, sizeof(kMagic));
    StoreLittleEndian(&content[8], kVersion);
    StoreLittleEndian(&content[12], static_cast<std::uint32_t>(entities.size()));
    StoreLittleEndian(&content[16], HashCRC64Data(content.data() + kHeaderSize, content.size() - kHeaderSize));
    return true;
}

bool CEntityArray_SaveLoad_Serialized::Load(const float* min, const float* max)
{
    std::vector<std::byte> content;
    return m_manager && GetFileSystem().FileIn(m_path, content, kMaxFileSize) && LoadBytes(content, min, max);
}

bool CEntityArray_SaveLoad_Serialized::LoadBytes(std::span<const std::byte> content, const float* min, const float* max)
{
    if (!m_manager)
        return false;
    std::vector<std::span<const std::byte>> blobs;
    const char* fault = SplitFile(content, blobs);
    const UDBReadWriteBinary reader(true);
    UDBDatabase data;
    const auto read = [&](std::span<const std::byte> blob)
    {
        data.Clear();
        UDBGroup* group = data.AllocateGroup();
        return reader.Read(blob.data(), blob.size(), *group) ? group : nullptr;
    };
    // All of it is read before the scene sees any of it.
    if (!fault && !std::all_of(blobs.begin(), blobs.end(), read))
        fault = "is damaged";
    if (fault)
    {
        tamra::log::Error(tamra::log::Quoted(m_path, kLongestPath) + " " + fault);
        return false;
    }
    for (const auto& blob : blobs)
    {
        const RefPtr<CEntity> entity = entityStorage::CreateEntity(m_scene.Get(), *read(blob));
        if (!entityStorage::IsInside(entityStorage::GetPosition(*entity), min, max))
            continue;
        m_entities.push_back(entity);
        if (m_sceneAddition)
            m_manager->AddEntity(entity.Get());
    }
    return true;
}

void CEntityArray_SaveLoad_Serialized::ClearCache()
{
    // Emptied before the references go: the last one of an entity may call anything.
    const auto releaseLast = std::exchange(m_entities, {});
}

void CEntityArray_SaveLoad_Serialized::RemoveEntity(CEntity* entity)
{
    const auto found = std::find(m_entities.begin(), m_entities.end(), entity);
    if (found == m_entities.end())
        return;
    const RefPtr<CEntity> releaseLast = std::move(*found);
    m_entities.erase(found);
}

CEntity* CEntityArray_SaveLoad_Serialized::Get(int i)
{
    return static_cast<std::size_t>(i) < m_entities.size() ? m_entities[static_cast<std::size_t>(i)].Get() : nullptr;
}

void CEntityArray_SaveLoad_Serialized::IterateOverEntities(const std::function<void(CEntity*)>& visit)
{
    const auto entities = m_entities;
    for (const auto& entity : entities)
        visit(entity.Get());
}
