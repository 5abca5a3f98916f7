#include "tools/sceneTools/sceneCopy.h"

#include "gameengine/engine/entityArraySaveLoadSqliteDB.h"
#include "gameengine/engine/entityComponentTypeDatabase.h"
#include "gameengine/engine/scene.h"
#include "tamradeps/core/crc64.h"
#include "tamradeps/core/log.h"
#include "tamradeps/io/fileSystem.h"
#include "tamradeps/sqlite/query.h"
#include "tamradeps/sqlite/transaction.h"

#include <cstring>

namespace
{
void StoreLittleEndian(std::byte* to, std::uint64_t value, std::size_t size)
{
    for (std::size_t i = 0; i < size; ++i)
        to[i] = static_cast<std::byte>(value >> 8 * i & 0xFF);
}

bool CopyToSerialized(CSceneFile& from, const std::string& path)
{
    std::vector<std::byte> content(CSceneFile::kHeaderSize);
    std::uint64_t count = 0;
    const auto copy = [&](const CSceneFile::Entry& entry)
    {
        const std::size_t start = content.size();
        if (start + 4 + entry.blob.size() > CSceneFile::kMaxFileSize)
            return false;
        content.resize(start + 4);
        StoreLittleEndian(&content[start], entry.blob.size(), 4);
        content.insert(content.end(), entry.blob.begin(), entry.blob.end());
        ++count;
        return true;
    };
    if (!from.Visit(copy))
        return false;
    if (count != from.GetEntityCount())
    {
        tamra::log::Error(tamra::log::Quoted(from.GetPath()) + " is too large for a file of that format");
        return false;
    }
    std::memcpy(content.data(), CSceneFile::kMagic, sizeof(CSceneFile::kMagic));
    StoreLittleEndian(&content[8], CSceneFile::kVersion, 4);
    StoreLittleEndian(&content[12], count, 4);
    StoreLittleEndian(&content[16],
                      HashCRC64Data(content.data() + CSceneFile::kHeaderSize, content.size() - CSceneFile::kHeaderSize),
                      8);
    return GetFileSystem().FileReplace(path, content.data(), content.size());
}

// A transform of an unknown type may say it in its own way.
bool IsPlaceKnown(const UDBGroup& data)
{
    bool areAllKnown = true;
    for (const std::string& type : GetEntitySummary(data).components)
    {
        const bool isKnown = CEntityComponentTypeDatabase::Instance().FindByName(type.c_str()) >= 0;
        if (isKnown && type.starts_with("ComponentTransform"))
            return true;
        areAllKnown = areAllKnown && isKnown;
    }
    return areAllKnown;
}

bool CopyToDatabase(CSceneFile& from, const std::string& path)
{
    CScene scene;
    if (!CEntityArray_SaveLoad_SqliteDB(path.c_str(), scene.GetInterfaces()).CreateEmpty())
        return false;
    sqlite::database database;
    sqlite::query insert;
    if (!database.open(path, sqlite::OpenMode::ReadWrite))
        return false;
    sqlite::transaction transaction(database);
    if (!transaction.isActive() || !insert.prepare(database, "INSERT INTO entities VALUES (NULL, 1, ?, ?, ?, ?)"))
        return false;
    bool isGood = true;
    const auto copy = [&](const CSceneFile::Entry& entry)
    {
        // A row says the place by itself.
        isGood = from.GetFormat() == CSceneFile::Format::Database || (entry.data && IsPlaceKnown(*entry.data));
        if (!isGood)
        {
            tamra::log::Error("entity " + std::to_string(entry.id) + " of " + tamra::log::Quoted(from.GetPath()) +
                              " has no transform of a known type, but components of unknown ones: its place is not "
                              "known, which a database must have");
            return false;
        }
        isGood = insert.bind(1, entry.position[0]) && insert.bind(2, entry.position[1]) &&
                 insert.bind(3, entry.position[2]) && insert.bind(4, entry.blob.data(), entry.blob.size()) &&
                 insert.step() == sqlite::query::Step::Done;
        return isGood;
    };
    return from.Visit(copy) && isGood && transaction.commit();
}
} // namespace

bool CopyEntities(CSceneFile& from, const std::string& path)
{
    return CSceneFile::GetFormat(path) == CSceneFile::Format::Serialized ? CopyToSerialized(from, path)
                                                                         : CopyToDatabase(from, path);
}
