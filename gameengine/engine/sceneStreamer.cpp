#include "gameengine/engine/sceneStreamer.h"

#include "gameengine/engine/componentTransform.h"
#include "gameengine/engine/entityArray.h"
#include "gameengine/engine/entityStorage.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace
{
constexpr std::uint64_t kRetryFrames = 300;
// Asking which rows a cell has walks an index: a few cells a frame keep the frame short.
constexpr std::size_t kCellsStartedPerFrame = 4;

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
    // Far outside, cells merge rather than wrap around.
    constexpr double kLimit = 1 << 30;
    return static_cast<std::int32_t>(std::clamp(std::floor(coordinate / cellSize), -kLimit, kLimit));
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

double CSceneStreamer::i_GetDistance(CellKey key, CVector3 focus) const
{
    const auto cellSize = static_cast<double>(m_settings.cellSize);
    const auto outside = [cellSize](std::int32_t cell, float coordinate)
    {
        const double low = cell * cellSize;
        const auto c = static_cast<double>(coordinate);
        return std::max({low - c, c - (low + cellSize), 0.0});
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
    if (!entity->Find<ComponentTransform>())
        return;
    const auto index = static_cast<std::size_t>(entity->GetIndex());
    if (index >= m_places.size())
        m_places.resize(std::max(index + 1, m_places.size() * 2));
    i_Untrack(entity);
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

void CSceneStreamer::i_OnArrayChanged(const EventMessage& message)
{
    auto* entity = message.first.GetObjectPointer<CEntity>("CEntity");
    if (!entity)
        return;
    if (message.id == CEntityArray::kEntityAdded)
        i_Track(entity);
    else if (message.id == CEntityArray::kEntityRemoved)
        i_Untrack(entity);
}

// ---- A frame

const CSceneStreamer::Statistics& CSceneStreamer::Update(CVector3 focus)
{
    m_statistics = {};
    ++m_frame;
    if (std::isfinite(focus.x) && std::isfinite(focus.y))
    {
        i_ReleaseCells(focus);
        i_StartCells(focus);
        i_LoadRows(focus);
    }
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
    const auto begun = std::min(m_wanted.size(), kCellsStartedPerFrame);
    std::partial_sort(m_wanted.begin(), m_wanted.begin() + static_cast<std::ptrdiff_t>(begun), m_wanted.end(),
                      [&](CellKey a, CellKey b) { return i_GetDistance(a, focus) < i_GetDistance(b, focus); });
    m_started = 0;
    for (std::size_t i = 0; i < begun; ++i)
    {
        Cell& cell = i_GetCell(m_wanted[i]);
        if (cell.retryFrame <= m_frame && i_StartCell(cell))
            ++m_started;
    }
    m_statistics.pendingCells += static_cast<int>(m_wanted.size()) - m_started;
}

bool CSceneStreamer::i_StartCell(Cell& cell)
{
    // Up to the next cell, of which the border is a part.
    const auto low = [this](std::int32_t number)
    { return static_cast<float>(number * static_cast<double>(m_settings.cellSize)); };
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    const float min[] = {low(cell.key.x), low(cell.key.y), -kInfinity};
    const float max[] = {std::nextafter(low(cell.key.x + 1), -kInfinity),
                         std::nextafter(low(cell.key.y + 1), -kInfinity), kInfinity};
    cell.rows.clear();
    cell.nextRow = 0;
    if (!m_store.CollectRows(min, max, cell.rows))
    {
        cell.retryFrame = m_frame + kRetryFrames;
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
    while (budget > 0 && !m_loading.empty())
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
            if (m_store.LoadRow(row))
                ++m_statistics.loaded;
            else
                m_failed = true;
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
    m_distant.clear();
    for (const auto& [key, cell] : m_cells)
    {
        if (cell->retryFrame <= m_frame && i_GetDistance(key, focus) > static_cast<double>(m_settings.keepRadius))
            m_distant.push_back(key);
    }
    for (const CellKey key : m_distant)
    {
        const auto budget = static_cast<std::size_t>(std::max(m_settings.rowBudget - m_statistics.released, 0));
        if (budget == 0)
            return;
        Cell& cell = *m_cells[key];
        std::erase(m_loading, &cell);
        cell.rows = {};
        cell.state = Cell::State::Idle;
        if (!i_Release(cell, budget))
        {
            cell.retryFrame = m_frame + kRetryFrames;
            m_failed = true;
        }
        i_Forget(key);
    }
}

// Lets up to `budget` stored entities of the cell go. Those that have wandered into another cell move there instead.
bool CSceneStreamer::i_Release(Cell& cell, std::size_t budget)
{
    m_leaving.clear();
    for (std::size_t i = cell.entities.size(); i-- > 0 && m_leaving.size() < budget;)
    {
        CEntity* entity = cell.entities[i];
        const auto found = m_cells.find(i_GetKey(entityStorage::GetPosition(*entity)));
        if (found != m_cells.end() && found->second.get() != &cell && found->second->state != Cell::State::Idle)
            i_Track(entity);
        else if (m_store.FindRow(entity) >= 0)
            m_leaving.push_back(entity);
    }
    return i_LetGo();
}

// Saves the entities in `m_leaving` and takes them out of the scene.
bool CSceneStreamer::i_LetGo()
{
    if (m_leaving.empty())
        return true;
    if (!m_store.SaveEntities(m_leaving))
        return false;
    const std::vector<RefPtr<CEntity>> leaving(m_leaving.begin(), m_leaving.end());
    for (const auto& entity : leaving)
    {
        m_store.RemoveEntity(entity.Get());
        // A listener may have taken it out before.
        if (m_array.Contains(entity.Get()))
            m_array.Remove(entity.Get());
    }
    m_statistics.released += static_cast<int>(leaving.size());
    return true;
}

void CSceneStreamer::i_Forget(CellKey key)
{
    const auto found = m_cells.find(key);
    if (found != m_cells.end() && found->second->entities.empty())
        m_cells.erase(found);
}

bool CSceneStreamer::Finish(CVector3 focus)
{
    m_failed = false;
    for (auto& [key, cell] : m_cells)
        cell->retryFrame = 0;
    do
    {
        Update(focus);
    } while (!m_loading.empty() || m_started > 0 || m_statistics.released > 0);
    return !m_failed;
}

bool CSceneStreamer::ReleaseAll()
{
    m_leaving.clear();
    for (const auto& [key, cell] : m_cells)
    {
        for (CEntity* entity : cell->entities)
        {
            if (m_store.FindRow(entity) >= 0)
                m_leaving.push_back(entity);
        }
    }
    if (!i_LetGo())
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
