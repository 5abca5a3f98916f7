#pragma once

#include "gameengine/engine/entityArraySaveLoadSqliteDB.h"
#include "gameengine/export.h"
#include "tamradeps/core/eventHandler.h"
#include "tamradeps/math/vector3.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <unordered_map>
#include <vector>

/// Keeps the part of a large world around a focus point loaded.
///
/// The world is divided into square columns, the cells. Each frame the streamer loads rows of cells that came within
/// `loadRadius`, nearest cell first, and lets entities of cells beyond `keepRadius` go, after saving what changed; the
/// distance between the two radii keeps a focus that moves to and fro from loading and unloading the same cells. A
/// frame handles at most `rowBudget` rows either way.
///
///     CEntityArray_SaveLoad_SqliteDB store("town.sdb", scene.GetInterfaces());
///     CSceneStreamer streamer(store, scene.GetArray(), {.cellSize = 100, .loadRadius = 300, .keepRadius = 400});
///     streamer.Finish(start);             // all of it, before the first frame
///     ...
///     streamer.Update(camera);            // every frame
///
/// Entities count for the cell of their current position, wherever they were loaded; the streamer looks after some of
/// them each frame, so that it notices a move some frames later. Only entities that have a row in the store are let go:
/// new ones stay until they were saved, those without a transform for ever. An entity that somebody else still
/// references leaves the scene all the same, and is loaded as another object later. When the store fails, in saving or
/// in reading, the streamer leaves everything as it is and tries again some hundred frames later.
///
/// A frame in which no cell comes within reach, nothing is loaded or let go, and no entity changes its cell, allocates
/// nothing.
class TAMRAGAMEENGINE_API CSceneStreamer
{
public:
    /// How far and how fast is loaded.
    struct Settings
    {
        float cellSize = 100.0F;   ///< Edge of a cell in world units, at least a 64th of `loadRadius`.
        float loadRadius = 300.0F; ///< Cells with a point this near to the focus are loaded.
        float keepRadius = 400.0F; ///< Cells farther than this are let go; at least `loadRadius`.
        int rowBudget = 200;       ///< Rows loaded, and entities let go, in one frame.
    };

    /// What one call of `Update` did, and what is loaded.
    struct Statistics
    {
        int loaded = 0;       ///< Entities loaded.
        int released = 0;     ///< Entities let go.
        int cells = 0;        ///< Cells loaded or being loaded.
        int pendingCells = 0; ///< Cells within reach that are not loaded yet.
    };

    /// Store and array must outlive the streamer; the array is that of the store's scene. Settings that make no sense
    /// (not positive, not finite) are replaced by the defaults, a `keepRadius` by `loadRadius`.
    CSceneStreamer(CEntityArray_SaveLoad_SqliteDB& store, CEntityArray& array, const Settings& settings);
    CSceneStreamer(const CSceneStreamer&) = delete;
    CSceneStreamer& operator=(const CSceneStreamer&) = delete;
    ~CSceneStreamer();

    /// One frame's work around the focus, of which x and y count. A focus that is not finite changes nothing, nor does
    /// a call by a listener of the array during another one.
    const Statistics& Update(CVector3 focus);

    /// Updates until everything within reach is loaded and everything beyond is gone. False when a row could not be
    /// read or a save failed, or for a focus that is not finite.
    bool Finish(CVector3 focus);

    /// Saves what changed and lets every stored entity go. False when saving failed; everything is then still loaded.
    bool ReleaseAll();

    const Settings& GetSettings() const noexcept { return m_settings; }

    /// Checks that every entity stands in one cell and its place there is known. For tests.
    bool Validate() const;

private:
    struct CellKey
    {
        std::int32_t x;
        std::int32_t y;
        friend bool operator==(CellKey, CellKey) noexcept = default;
    };
    struct CellKeyHash
    {
        std::size_t operator()(CellKey key) const noexcept;
    };
    struct Cell
    {
        enum class State : std::uint8_t
        {
            Idle,    // holds entities that came by themselves, or is on its way out
            Loading, // rows wait
            Loaded
        };

        CellKey key;
        State state = State::Idle;
        std::vector<std::int64_t> rows;
        std::size_t nextRow = 0;
        std::vector<CEntity*> entities;
    };
    struct Place
    {
        Cell* cell = nullptr;
        std::size_t position = 0;
    };

    CellKey i_GetKey(CVector3 position) const;
    double i_GetDistance(CellKey key, CVector3 focus) const;
    float i_GetLowestCoordinate(std::int32_t number) const;
    Cell& i_GetCell(CellKey key);
    void i_Track(CEntity* entity);
    void i_Untrack(CEntity* entity);
    void i_Follow(CEntity* entity);
    void i_FollowSome();
    void i_OnArrayChanged(const EventMessage& message);
    void i_StartCells(CVector3 focus);
    bool i_StartCell(Cell& cell);
    void i_LoadRows(CVector3 focus);
    void i_ReleaseCells(CVector3 focus);
    void i_GatherLeaving(Cell& cell, CVector3 focus);
    bool i_LetGo();
    void i_Forget(CellKey key);

    CEntityArray_SaveLoad_SqliteDB& m_store;
    CEntityArray& m_array;
    Settings m_settings;
    Statistics m_statistics;
    bool m_failed = false;
    bool m_updating = false;
    int m_started = 0; // cells started by the last update
    int m_nextFollowed = 0;
    std::uint64_t m_frame = 0;
    std::uint64_t m_loadFrame = 0;    // after a failure of the store, not before this update
    std::uint64_t m_releaseFrame = 0; // likewise
    std::unordered_map<CellKey, std::unique_ptr<Cell>, CellKeyHash> m_cells;
    std::vector<Place> m_places; // by entity index
    std::vector<Cell*> m_loading;
    std::vector<CellKey> m_wanted;
    std::vector<CellKey> m_distant;
    std::vector<CEntity*> m_leaving;
    CEventSubscription m_arrayChanged;
};
