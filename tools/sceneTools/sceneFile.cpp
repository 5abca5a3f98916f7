#include "tools/sceneTools/sceneFile.h"

#include "tamradeps/core/crc64.h"
#include "tamradeps/core/log.h"
#include "tamradeps/core/tools.h"
#include "tamradeps/io/fileSystem.h"
#include "tamradeps/io/utf8Path.h"
#include "tamradeps/sqlite/query.h"
#include "tamradeps/udb/udbGroup.h"
#include "tamradeps/udb/udbReadWriteBinary.h"

#include <cmath>
#include <cstring>

namespace
{
constexpr const char* kColumns = "SELECT count(*) FROM pragma_table_info('entities') WHERE name IN "
                                 "('id', 'sceneID', 'pos_x', 'pos_y', 'pos_z', 'componentData')";
constexpr int kColumnCount = 6;
constexpr const char* kSelectBox = "SELECT id, pos_x, pos_y, pos_z, componentData FROM entities WHERE pos_x >= ? AND "
                                   "pos_y >= ? AND pos_z >= ? AND pos_x <= ? AND pos_y <= ? AND pos_z <= ? ORDER BY id";
constexpr const char* kSelectAll = "SELECT id, pos_x, pos_y, pos_z, componentData FROM entities ORDER BY id";

std::uint64_t LoadLittleEndian(std::span<const std::byte> bytes)
{
    std::uint64_t value = 0;
    for (std::size_t i = bytes.size(); i-- > 0;)
        value = value << 8 | std::to_integer<std::uint64_t>(bytes[i]);
    return value;
}

bool IsComponent(const UDBEntry& entry)
{
    return entry.GetKind() == UDBEntry::Kind::Group && entry.GetKey() == "component";
}
} // namespace

bool CSceneFile::Box::Holds(const std::array<double, 3>& position) const noexcept
{
    for (std::size_t axis = 0; axis < 3; ++axis)
    {
        if (!(position[axis] >= min[axis] && position[axis] <= max[axis]))
            return false;
    }
    return true;
}

CSceneFile::Format CSceneFile::GetFormat(const std::string& path)
{
    const std::string extension = Tools_FileExtension3(path);
    if (extension == "SDB")
        return Format::Database;
    return extension == "MFS" ? Format::Serialized : Format::None;
}

bool CSceneFile::i_Fail(const char* reason) const
{
    tamra::log::Error(tamra::log::Quoted(m_path) + " " + reason);
    return false;
}

bool CSceneFile::Open(const std::string& path)
{
    m_path = path;
    m_format = GetFormat(path);
    m_count = 0;
    m_blobs.clear();
    m_content.clear();
    m_database.close();
    if (m_format == Format::None)
        return i_Fail("is no scene: its name ends neither in .sdb nor in .mfs");

    std::error_code error;
    const auto systemPath = tamra::ToPath(path);
    const auto status = std::filesystem::status(systemPath, error);
    if (!std::filesystem::exists(status))
        return i_Fail("does not exist");
    if (!std::filesystem::is_regular_file(status))
        return i_Fail("is not a file");
    const auto size = std::filesystem::file_size(systemPath, error);
    m_fileSize = error ? 0 : size;
    return m_format == Format::Database ? i_OpenDatabase() : i_OpenSerialized();
}

bool CSceneFile::i_OpenDatabase()
{
    if (!m_database.open(m_path, sqlite::OpenMode::ReadOnly))
        return false;
    sqlite::query columns;
    if (!columns.prepare(m_database, kColumns))
        return false;
    const bool hasColumns = columns.step() == sqlite::query::Step::Row && columns.getInt(0) == kColumnCount;
    columns.finalize();
    if (!hasColumns || !m_database.tableExists("entities"))
        return i_Fail("is a database without a table of entities");
    sqlite::query count;
    if (!count.prepare(m_database, "SELECT count(*) FROM entities") || count.step() != sqlite::query::Step::Row)
        return false;
    m_count = static_cast<std::uint64_t>(count.getInt64(0));
    return true;
}

bool CSceneFile::i_OpenSerialized()
{
    std::error_code error;
    const std::string absolute = tamra::ToUtf8(std::filesystem::absolute(tamra::ToPath(m_path), error));
    if (!GetFileSystem().FileIn(absolute, m_content, kMaxFileSize))
        return false;
    if (const char* fault = i_SplitSerialized())
        return i_Fail(fault);
    m_count = m_blobs.size();
    return true;
}

const char* CSceneFile::i_SplitSerialized()
{
    const std::span<const std::byte> content = m_content;
    if (content.size() < kHeaderSize || std::memcmp(content.data(), kMagic, sizeof(kMagic)) != 0)
        return "is not a scene file";
    if (LoadLittleEndian(content.subspan(8, 4)) != kVersion)
        return "has an unknown version";
    const std::uint64_t count = LoadLittleEndian(content.subspan(12, 4));
    std::span<const std::byte> rest = content.subspan(kHeaderSize);
    if (LoadLittleEndian(content.subspan(16, 8)) != HashCRC64Data(rest.data(), rest.size()))
        return "is damaged: its checksum is wrong";
    for (std::uint64_t i = 0; i < count; ++i)
    {
        const std::uint64_t size = rest.size() < 4 ? 0 : LoadLittleEndian(rest.first(4));
        if (rest.size() < 4 || size > rest.size() - 4)
            return "is damaged: it has fewer entities than it says";
        m_blobs.push_back(rest.subspan(4, size));
        rest = rest.subspan(4 + size);
    }
    return rest.empty() ? nullptr : "is damaged: something follows the last entity";
}

const UDBGroup* CSceneFile::i_Read(std::span<const std::byte> blob)
{
    m_data.Clear();
    UDBGroup* group = m_data.AllocateGroup();
    return UDBReadWriteBinary().Read(blob.data(), blob.size(), *group) ? group : nullptr;
}

bool CSceneFile::i_VisitRows(const char* sql, std::span<const double> parameters, const Visitor& visitor, bool& found)
{
    sqlite::query rows;
    if (!rows.prepare(m_database, sql))
        return false;
    for (std::size_t i = 0; i < parameters.size(); ++i)
    {
        if (!rows.bind(static_cast<int>(i) + 1, parameters[i]))
            return false;
    }
    sqlite::query::Step step = rows.step();
    for (; step == sqlite::query::Step::Row; step = rows.step())
    {
        found = true;
        Entry entry{rows.getInt64(0), {rows.getDouble(1), rows.getDouble(2), rows.getDouble(3)}, rows.getBlob(4)};
        entry.data = i_Read(entry.blob);
        if (!visitor(entry))
            return true;
    }
    return step == sqlite::query::Step::Done;
}

bool CSceneFile::Visit(const Visitor& visitor, const Box& box)
{
    if (m_format == Format::Database)
    {
        bool found = false;
        const double bounds[] = {box.min[0], box.min[1], box.min[2], box.max[0], box.max[1], box.max[2]};
        const bool all = box.min == Box().min && box.max == Box().max;
        return i_VisitRows(all ? kSelectAll : kSelectBox, all ? std::span<const double>() : bounds, visitor, found);
    }
    std::int64_t id = 0;
    for (const auto& blob : m_blobs)
    {
        Entry entry{++id, {}, blob, i_Read(blob)};
        if (entry.data)
            entry.position = GetPosition(*entry.data);
        if (box.Holds(entry.position) && !visitor(entry))
            return true;
    }
    return true;
}

bool CSceneFile::VisitOne(std::int64_t id, const Visitor& visitor)
{
    bool found = false;
    if (m_format == Format::Database)
    {
        const std::string sql =
            "SELECT id, pos_x, pos_y, pos_z, componentData FROM entities WHERE id = " + std::to_string(id);
        return i_VisitRows(sql.c_str(), {}, visitor, found) && found;
    }
    if (id < 1 || static_cast<std::uint64_t>(id) > m_count)
        return false;
    const auto& blob = m_blobs[static_cast<std::size_t>(id) - 1];
    Entry entry{id, {}, blob, i_Read(blob)};
    if (entry.data)
        entry.position = GetPosition(*entry.data);
    visitor(entry);
    return true;
}

std::array<double, 3> CSceneFile::GetPosition(const UDBGroup& data)
{
    std::array<double, 3> position = {};
    for (const UDBEntry& entry : data)
    {
        if (!IsComponent(entry) ||
            !std::string_view(entry.GetGroup()->GetString("type", "")).starts_with("ComponentTransform"))
            continue;
        constexpr const char* kKeys[] = {"m41", "m42", "m43"};
        for (std::size_t axis = 0; axis < 3; ++axis)
        {
            const auto value = static_cast<float>(entry.GetGroup()->GetNumber(kKeys[axis]));
            position[axis] = std::isnan(value) ? 0.0 : static_cast<double>(value);
        }
        // As when loading, the last one counts.
    }
    return position;
}

EntitySummary GetEntitySummary(const UDBGroup& data)
{
    EntitySummary summary;
    for (const UDBEntry& entry : data)
    {
        if (!IsComponent(entry))
            continue;
        const char* type = entry.GetGroup()->GetString("type", "");
        summary.components.push_back(tamra::log::Quoted(type));
        if (std::strcmp(type, "ComponentEditorData") == 0)
            summary.name = tamra::log::Quoted(entry.GetGroup()->GetString("Editor Name", ""));
    }
    return summary;
}
