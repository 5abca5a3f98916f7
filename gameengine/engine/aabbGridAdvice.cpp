#include "gameengine/engine/aabbGridAdvice.h"

#include "gameengine/engine/componentTransform.h"
#include "gameengine/engine/entityArray.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace
{
constexpr double kBoxesPerCell = 6.0;
constexpr double kMaxCells = 4e6;     // of a hundred megabytes
constexpr double kBoxesPerEdge = 2.0; // a cell is that many times as long as a box that is long among the rest

// Farther out the differences of coordinates may not be finite.
bool IsInTheWorld(const collision::PrimAABB& box)
{
    const float* const values = box.GetFloats();
    return std::all_of(values, values + 6, [](float value) { return std::abs(value) < 1e30F; });
}

// Cells of at least these edges, and of edge `size` where that is longer.
double CountCells(const double* extent, const double* leastEdge, double size)
{
    double count = 1.0;
    for (int axis = 0; axis < 3; ++axis)
        count *= std::max(1.0, std::ceil(extent[axis] / std::max(size, leastEdge[axis])));
    return count;
}
} // namespace

AABBGridAdvice AdviseGrid(std::span<const collision::PrimAABB> boxes)
{
    constexpr float kMost = 3.4e38F;
    float bounds[6] = {kMost, kMost, kMost, -kMost, -kMost, -kMost};
    std::vector<float> sizes[3];
    for (const collision::PrimAABB& box : boxes)
    {
        if (!IsInTheWorld(box))
            continue;
        for (std::size_t axis = 0; axis < 3; ++axis)
        {
            bounds[axis] = std::min(bounds[axis], box.GetFloats()[axis]);
            bounds[axis + 3] = std::max(bounds[axis + 3], box.GetFloats()[axis + 3]);
            sizes[axis].push_back(box.GetFloats()[axis + 3] - box.GetFloats()[axis]);
        }
    }
    if (sizes[0].empty())
        return {collision::PrimAABB({-0.5F, -0.5F, -0.5F}, {0.5F, 0.5F, 0.5F}), {1.0F, 1.0F, 1.0F}};

    double extent[3];
    double resolution[3]; // a few steps of the coordinates at hand
    double leastEdge[3];
    for (std::size_t axis = 0; axis < 3; ++axis)
    {
        auto& list = sizes[axis];
        const auto nine = list.begin() + static_cast<std::ptrdiff_t>(list.size() * 9 / 10);
        std::nth_element(list.begin(), nine, list.end());
        extent[axis] = static_cast<double>(bounds[axis + 3]) - static_cast<double>(bounds[axis]);
        resolution[axis] = static_cast<double>(std::max(std::abs(bounds[axis]), std::abs(bounds[axis + 3]))) * 1e-6;
        leastEdge[axis] = std::max({static_cast<double>(*nine) * kBoxesPerEdge, resolution[axis], 1e-3});
    }
    const double wanted = std::clamp(static_cast<double>(sizes[0].size()) / kBoxesPerCell, 1.0, kMaxCells);
    double low = 1e-3;
    double high = std::max({extent[0], extent[1], extent[2], low});
    for (int step = 0; step < 64 && high - low > low * 1e-3; ++step)
    {
        const double middle = std::sqrt(low * high);
        (CountCells(extent, leastEdge, middle) > wanted ? low : high) = middle;
    }
    AABBGridAdvice advice;
    float edges[3];
    for (int axis = 0; axis < 3; ++axis)
    {
        edges[axis] = static_cast<float>(std::max(high, leastEdge[axis]));
        // What is flat at the upper end must not begin where the last cell ends. Flat worlds get one layer of cells.
        bounds[axis + 3] += std::max(edges[axis] * 0.01F, static_cast<float>(resolution[axis]));
    }
    advice.bounds = collision::PrimAABB(bounds);
    advice.cellSize = {edges[0], edges[1], edges[2]};
    return advice;
}

AABBGridAdvice AdviseGrid(const CEntityArray& array)
{
    std::vector<collision::PrimAABB> boxes;
    for (int i = 0; i < array.GetCount(); ++i)
    {
        if (auto* const transform = array.Get(i)->Find<ComponentTransform>())
            boxes.push_back(transform->GetBoundingBox());
    }
    return AdviseGrid(boxes);
}
