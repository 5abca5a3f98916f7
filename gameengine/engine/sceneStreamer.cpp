#include "gameengine/engine/sceneStreamer.h"

#include "gameengine/engine/componentTransform.h"
#include "gameengine/engine/entityArray.h"
#include "gameengine/engine/entityStorageInternal.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace
{
constexpr std::uint64_t kRetryFrames = 300;
// Asking which rows a cell has walks an index: a few cells a frame keep the frame short.
constexpr std::size_t kCellsStartedPerFrame = 4;
constexpr int kFollowedPerFrame = 256;
// Far outside, cells merge rather than wrap around.
constexpr std::int32_t kOutermostCell = 1 << 30;
constexpr float kInfinity = std::numeric_limits<float>::infinity();

CSceneStreamer::Settings WithDefaults(CSceneStreamer::Settings settings)
{
    const CSceneStreamer::Settings defaults;
    const auto isUsable = [](float f) { return std::isfinite(f) && f > 0.0F; };
    if (!isUsable(settings.cellSize))
        settings.cellSize = defaults.cellSize;
    if (!isUsable(settings.loadRadius))
        settings.loadRadius = defaults.loadRadius;
    if (!isUsable(settings.keepRadius) || settings.keepRadius < settings.loadRadius)
        settings.keepRadius = settings.loadRadius;
    if (settings.rowBudget <= 0)
        settings.rowBudget = defaults.rowBudget;
    // Every frame looks at all cells within reach.
    settings.cellSize = std::max(settings.cellSize, settings.loadRadius / 64.0F);
    return settings;
}

std::int32_t ToCellNumber(double coordinate, double cellSize)
{
    constexpr double kOutermost = kOutermostCell;
    return static_cast<std::int32_t>(std::clamp(std::floor(coordinate / cellSize), -kOutermost, kOutermost));
}
} // namespace

std::size_t CSceneStreamer::CellKeyHash::operator()(CellKey key) const noexcept
{
    const std::uint64_t bits =
        std::uint64_t{static_cast<std::uint32_t>(key.x)} << 32 | static_cast<std::uint32_t>(key.y);
    return static_cast<std::size_t>((bits * 0x9E3779B97F4A7C15U) >> 20);
}

CSceneStreamer::CSceneStreamer(CEntityArray_SaveLoad_SqliteDB& store, CEntityArray& array, const Settings& settings)
    : m_store(store),
      m_array(array),
      m_settings(WithDefaults(settings)),
      m_arrayChanged([this](const EventMessage& message) { i_OnArrayChanged(message); })
{
    for (int i = 0; i < array.GetCount(); ++i)
        i_Track(array.Get(i));
    m_arrayChanged.Subscribe(array.Events());
}

CSceneStreamer::~CSceneStreamer() = default;

CSceneStreamer::CellKey CSceneStreamer::i_GetKey(CVector3 position) const
{
    const auto cellSize = static_cast<double>(m_settings.cellSize);
    return {ToCellNumber(static_cast<double>(position.x), cellSize),
            ToCellNumber(static_cast<double>(position.y), cellSize)};
}

// The first coordinate of a cell: what is asked of the store is, to the last bit, what `i_GetKey` counts for the cell.
float CSceneStreamer::i_GetLowestCoordinate(std::int32_t number) const
{
    if (number <= -kOutermostCell)
        return -kInfinity;
    const auto cellSize = static_cast<double>(m_settings.cellSize);
    const auto isBelow = [=](float f) { return ToCellNumber(static_cast<double>(f), cellSize) < number; };
    constexpr double kLargest = std::numeric_limits<float>::max();
    auto low = static_cast<float>(std::clamp(number * cellSize, -kLargest, kLargest));
    while (!isBelow(low))
        low = std::nextafter(low, -kInfinity);
    while (isBelow(low) && low < kInfinity)
        low = std::nextafter(low, kInfinity);
    return low;
}

double CSceneStreamer::i_GetDistance(CellKey key, CVector3 focus) const
{
    const auto cellSize = static_cast<double>(m_settings.cellSize);
    const auto outside = [cellSize](std::int32_t cell, float coordinate)
    {
        const auto c = static_cast<double>(coordinate);
        const double below = cell > -kOutermostCell ? cell * cellSize - c : 0.0;
        const double above = cell < kOutermostCell ? c - (cell + 1.0) * cellSize : 0.0;
        return std::max({below, above, 0.0});
    };
    return std::hypot(outside(key.x, focus.x), outside(key.y, focus.y));
}

CSceneStreamer::Cell& CSceneStreamer::i_GetCell(CellKey key)
{
    auto& cell = m_cells[key];
    if (!cell)
    {
        cell = std::make_unique<Cell>();
        cell->key = key;
    }
    return *cell;
}

// ---- Which entity stands in which cell

void CSceneStreamer::i_Track(CEntity* entity)
{
    i_Untrack(entity);
    if (!entity->Find<ComponentTransform>())
        return;
    const auto index = static_cast<std::size_t>(entity->GetIndex());
    if (index >= m_places.size())
        m_places.resize(std::max(index + 1, m_places.size() * 2));
    Cell& cell = i_GetCell(i_GetKey(entityStorage::GetPosition(*entity)));
    m_places[index] = {&cell, cell.entities.size()};
    cell.entities.push_back(entity);
}

void CSceneStreamer::i_Untrack(CEntity* entity)
{
    const auto index = static_cast<std::size_t>(entity->GetIndex());
    if (index >= m_places.size() || !m_places[index].cell)
        return;
    const Place place = std::exchange(m_places[index], {});
    CEntity* const moved = place.cell->entities.back();
    place.cell->entities.pop_back();
    if (moved != entity)
    {
        place.cell->entities[place.position] = moved;
        m_places[static_cast<std::size_t>(moved->GetIndex())].position = place.position;
    }
}

// Notices when an entity has wandered into another cell, or has got or lost its transform.
void CSceneStreamer::i_Follow(CEntity* entity)
{
    const auto index = static_cast<std::size_t>(entity->GetIndex());
    const Cell* cell = index < m_places.size() ? m_places[index].cell : nullptr;
    const bool hasPlace = entity->Find<ComponentTransform>();
    if (hasPlace != (cell != nullptr) || (cell && !(cell->key == i_GetKey(entityStorage::GetPosition(*entity)))))
        i_Track(entity);
}

void CSceneStreamer::i_FollowSome()
{
    for (int i = std::min(kFollowedPerFrame, m_array.GetCount()); i > 0; --i)
    {
        if (m_nextFollowed >= m_array.GetCount())
            m_nextFollowed = 0;
        i_Follow(m_array.Get(m_nextFollowed++));
    }
}

void CSceneStreamer::i_OnArrayChanged(const EventMessage& message)
{
    auto* entity = message.first.GetObjectPointer<CEntity>("CEntity");
    if (!entity)
        return;
    // An earlier listener may have taken it out already.
    if (message.id == CEntityArray::kEntityAdded && m_array.Contains(entity))
        i_Track(entity);
    else if (message.id == CEntityArray::kEntityRemoved)
        i_Untrack(entity);
}

// ---- A frame

const CSceneStreamer::Statistics& CSceneStreamer::Update(CVector3 focus)
{
    if (m_updating)
        return m_statistics;
    m_updating = true;
    m_statistics = {};
    m_started = 0;
    ++m_frame;
    if (std::isfinite(focus.x) && std::isfinite(focus.y))
    {
        i_FollowSome();
        i_ReleaseCells(focus);
        i_StartCells(focus);
        i_LoadRows(focus);
    }
    m_updating = false;
    m_statistics.pendingCells += static_cast<int>(m_loading.size());
    for (const auto& [key, cell] : m_cells)
        m_statistics.cells += cell->state != Cell::State::Idle ? 1 : 0;
    return m_statistics;
}

void CSceneStreamer::i_StartCells(CVector3 focus)
{
    const auto radius = static_cast<double>(m_settings.loadRadius);
    const auto cellSize = static_cast<double>(m_settings.cellSize);
    const auto x = static_cast<double>(focus.x);
    const auto y = static_cast<double>(focus.y);
    m_wanted.clear();
    for (std::int32_t cy = ToCellNumber(y - radius, cellSize); cy <= ToCellNumber(y + radius, cellSize); ++cy)
    {
        for (std::int32_t cx = ToCellNumber(x - radius, cellSize); cx <= ToCellNumber(x + radius, cellSize); ++cx)
        {
            const CellKey key{cx, cy};
            const auto found = m_cells.find(key);
            if ((found == m_cells.end() || found->second->state == Cell::State::Idle) &&
                i_GetDistance(key, focus) <= radius)
                m_wanted.push_back(key);
        }
    }
    const auto begun = m_frame < m_loadFrame ? 0 : std::min(m_wanted.size(), kCellsStartedPerFrame);
    std::partial_sort(m_wanted.begin(), m_wanted.begin() + static_cast<std::ptrdiff_t>(begun), m_wanted.end(),
                      [&](CellKey a, CellKey b) { return i_GetDistance(a, focus) < i_GetDistance(b, focus); });
    for (std::size_t i = 0; i < begun && i_StartCell(i_GetCell(m_wanted[i])); ++i)
        ++m_started;
    m_statistics.pendingCells += static_cast<int>(m_wanted.size()) - m_started;
}

bool CSceneStreamer::i_StartCell(Cell& cell)
{
    const auto highest = [this](std::int32_t number)
    { return number >= kOutermostCell ? kInfinity : std::nextafter(i_GetLowestCoordinate(number + 1), -kInfinity); };
    const float min[] = {i_GetLowestCoordinate(cell.key.x), i_GetLowestCoordinate(cell.key.y), -kInfinity};
    const float max[] = {highest(cell.key.x), highest(cell.key.y), kInfinity};
    cell.rows.clear();
    cell.nextRow = 0;
    if (!m_store.CollectRows(min, max, cell.rows))
    {
        cell.rows = {};
        m_loadFrame = m_frame + kRetryFrames;
        m_failed = true;
        return false;
    }
    cell.state = cell.rows.empty() ? Cell::State::Loaded : Cell::State::Loading;
    if (cell.state == Cell::State::Loading)
        m_loading.push_back(&cell);
    return true;
}

void CSceneStreamer::i_LoadRows(CVector3 focus)
{
    int budget = m_settings.rowBudget;
    while (budget > 0 && !m_loading.empty() && m_frame >= m_loadFrame)
    {
        const auto nearest = std::min_element(m_loading.begin(), m_loading.end(),
                                              [&](const Cell* a, const Cell* b)
                                              { return i_GetDistance(a->key, focus) < i_GetDistance(b->key, focus); });
        Cell& cell = **nearest;
        for (; budget > 0 && cell.nextRow < cell.rows.size(); ++cell.nextRow)
        {
            const std::int64_t row = cell.rows[cell.nextRow];
            if (m_store.FindEntity(row))
                continue;
            --budget;
            bool storeFailed = false;
            if (m_store.LoadRow(row, &storeFailed))
                ++m_statistics.loaded;
            else
                m_failed = true;
            if (storeFailed)
            {
                m_loadFrame = m_frame + kRetryFrames;
                return;
            }
        }
        if (cell.nextRow < cell.rows.size())
            return;
        cell.state = Cell::State::Loaded;
        cell.rows = {};
        *nearest = m_loading.back();
        m_loading.pop_back();
    }
}

void CSceneStreamer::i_ReleaseCells(CVector3 focus)
{
    if (m_frame < m_releaseFrame)
        return;
    m_distant.clear();
    for (const auto& [key, cell] : m_cells)
    {
        if (i_GetDistance(key, focus) > static_cast<double>(m_settings.keepRadius))
            m_distant.push_back(key);
    }
    m_leaving.clear();
    for (const CellKey key : m_distant)
    {
        if (m_leaving.size() >= static_cast<std::size_t>(m_settings.rowBudget))
            break;
        Cell& cell = *m_cells[key];
        std::erase(m_loading, &cell);
        cell.rows = {};
        cell.state = Cell::State::Idle;
        i_GatherLeaving(cell, focus);
    }
    if (!i_LetGo())
    {
        m_releaseFrame = m_frame + kRetryFrames;
        m_failed = true;
    }
    for (const CellKey key : m_distant)
        i_Forget(key);
}

// Adds stored entities of the cell to `m_leaving`, up to the budget. Those that have wandered to where they are to stay
// move there.
void CSceneStreamer::i_GatherLeaving(Cell& cell, CVector3 focus)
{
    const auto budget = static_cast<std::size_t>(m_settings.rowBudget);
    for (std::size_t i = cell.entities.size(); i-- > 0 && m_leaving.size() < budget;)
    {
        CEntity* entity = cell.entities[i];
        const CellKey key = i_GetKey(entityStorage::GetPosition(*entity));
        const auto found = m_cells.find(key);
        const bool isLoaded = found != m_cells.end() && found->second->state != Cell::State::Idle;
        if (isLoaded || i_GetDistance(key, focus) <= static_cast<double>(m_settings.keepRadius))
            i_Track(entity);
        else if (m_store.HasRow(entity))
            m_leaving.push_back(entity);
    }
}

// Saves the entities in `m_leaving` and takes them out of the scene.
bool CSceneStreamer::i_LetGo()
{
    if (m_leaving.empty())
        return true;
    const std::vector<RefPtr<CEntity>> leaving(m_leaving.begin(), m_leaving.end());
    if (!m_store.SaveEntities(m_leaving))
        return false;
    for (const auto& entity : leaving)
    {
        // A listener may have taken it out before. The store knows it for as long as it is in the scene: a listener
        // may also save.
        if (m_array.Contains(entity.Get()))
            m_array.Remove(entity.Get());
        m_store.RemoveEntity(entity.Get());
    }
    m_statistics.released += static_cast<int>(leaving.size());
    return true;
}

void CSceneStreamer::i_Forget(CellKey key)
{
    const auto found = m_cells.find(key);
    if (found != m_cells.end() && found->second->state == Cell::State::Idle && found->second->entities.empty())
        m_cells.erase(found);
}

bool CSceneStreamer::Finish(CVector3 focus)
{
    if (m_updating || !std::isfinite(focus.x) || !std::isfinite(focus.y))
        return false;
    m_failed = false;
    m_loadFrame = 0;
    m_releaseFrame = 0;
    for (int i = 0; i < m_array.GetCount(); ++i)
        i_Follow(m_array.Get(i));
    do
    {
        Update(focus);
    } while ((!m_loading.empty() && m_frame >= m_loadFrame) || m_started > 0 || m_statistics.loaded > 0 ||
             m_statistics.released > 0);
    return !m_failed;
}

bool CSceneStreamer::ReleaseAll()
{
    if (m_updating)
        return false;
    m_leaving.clear();
    for (const auto& [key, cell] : m_cells)
    {
        for (CEntity* entity : cell->entities)
        {
            if (m_store.HasRow(entity))
                m_leaving.push_back(entity);
        }
    }
    m_updating = true;
    const bool done = i_LetGo();
    m_updating = false;
    if (!done)
        return false;
    m_loading.clear();
    for (auto& [key, cell] : m_cells)
    {
        cell->state = Cell::State::Idle;
        cell->rows = {};
    }
    std::erase_if(m_cells, [](const auto& entry) { return entry.second->entities.empty(); });
    return true;
}

bool CSceneStreamer::Validate() const
{
    std::size_t placed = 0;
    for (const auto& [key, cell] : m_cells)
    {
        if (!(cell->key == key))
            return false;
        for (std::size_t i = 0; i < cell->entities.size(); ++i, ++placed)
        {
            const Place& place = m_places[static_cast<std::size_t>(cell->entities[i]->GetIndex())];
            if (place.cell != cell.get() || place.position != i || !m_array.Contains(cell->entities[i]))
                return false;
        }
    }
    return placed == static_cast<std::size_t>(std::count_if(m_places.begin(), m_places.end(),
                                                            [](const Place& place) { return place.cell != nullptr; }));
}
