#pragma once

#include "tamradeps/sqlite/database.h"
#include "tamradeps/udb/udbDatabase.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <span>
#include <string>
#include <vector>

class UDBGroup;

/// A saved scene of either format, read as it lies in the file: no entities are made, and components of unknown types
/// and unreadable data are there too.
///
///     CSceneFile file;
///     if (!file.Open("town.sdb"))
///         return false;                     // already logged
///     file.Visit([](const CSceneFile::Entry& entry) { Print(entry.id); return true; });
class CSceneFile
{
public:
    enum class Format
    {
        None,
        Database,  ///< ".sdb", see `CEntityArray_SaveLoad_SqliteDB`.
        Serialized ///< ".mfs", see `CEntityArray_SaveLoad_Serialized`.
    };

    /// How a serialized file begins.
    static constexpr char kMagic[8] = {'T', 'A', 'M', 'R', 'A', 'M', 'F', 'S'};
    static constexpr std::uint64_t kVersion = 1;
    static constexpr std::size_t kHeaderSize = 24;
    static constexpr std::uint64_t kMaxFileSize = std::uint64_t{1} << 32;

    struct Box
    {
        std::array<double, 3> min = {-kOpen, -kOpen, -kOpen};
        std::array<double, 3> max = {kOpen, kOpen, kOpen};

        static constexpr double kOpen = std::numeric_limits<double>::infinity();
        bool Holds(const std::array<double, 3>& position) const noexcept;
    };

    struct Entry
    {
        /// The row's id, or in a serialized file the number of the entity, from 1.
        std::int64_t id = 0;
        /// As the row says. Serialized files do not have it: there it is that of the data.
        std::array<double, 3> position = {};
        std::span<const std::byte> blob;
        /// The data of the blob, null when it cannot be read. Valid, as the blob, until the visitor returns.
        const UDBGroup* data = nullptr;
    };
    /// Answers false to stop.
    using Visitor = std::function<bool(const Entry&)>;

    /// By the last three letters of the name, in any case.
    static Format GetFormat(const std::string& path);

    /// Opens a file for reading. False, with one log line, when it is missing, has another extension, is no scene, or,
    /// if serialized, is damaged.
    bool Open(const std::string& path);

    const std::string& GetPath() const noexcept { return m_path; }
    Format GetFormat() const noexcept { return m_format; }
    std::uint64_t GetFileSize() const noexcept { return m_fileSize; }
    std::uint64_t GetEntityCount() const noexcept { return m_count; }

    /// Visits the entities with a position in the box, by id. False, with one log line, when reading failed.
    bool Visit(const Visitor& visitor, const Box& box);
    bool Visit(const Visitor& visitor) { return Visit(visitor, Box()); }
    /// Visits one entity. False, without a log line, when there is none of this id.
    bool VisitOne(std::int64_t id, const Visitor& visitor);

    /// Where the transform in an entity's data is, the origin without one. Coordinates that are no number count as 0.
    static std::array<double, 3> GetPosition(const UDBGroup& data);

private:
    bool i_Fail(const char* reason) const;
    bool i_OpenDatabase();
    bool i_OpenSerialized();
    const char* i_SplitSerialized();
    const UDBGroup* i_Read(std::span<const std::byte> blob);
    bool i_VisitRows(const char* sql, std::span<const double> parameters, const Visitor& visitor, bool& found);

    std::string m_path;
    Format m_format = Format::None;
    std::uint64_t m_fileSize = 0;
    std::uint64_t m_count = 0;
    sqlite::database m_database;
    std::vector<std::byte> m_content;
    std::vector<std::span<const std::byte>> m_blobs;
    UDBDatabase m_data;
};

/// What an entity's data says at a glance.
struct EntitySummary
{
    std::string name; ///< Of its `ComponentEditorData`, made fit for one line of a terminal.
    std::vector<std::string> components;
};
EntitySummary GetEntitySummary(const UDBGroup& data);
