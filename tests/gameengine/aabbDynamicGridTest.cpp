#include "gameengine/engine/aabbDynamicGrid.h"

#include "support/expectations.h"
#include "support/random.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <deque>
#include <limits>
#include <optional>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

namespace
{
constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr float kNaN = std::numeric_limits<float>::quiet_NaN();

using Box = std::array<float, 6>;

// A grid with a list of each cell kept beside it; cells are found the long way.
class GridModel
{
public:
    GridModel(const Box& bounds, float x, float y, float z) : grid(bounds.data(), x, y, z), m_bounds(bounds)
    {
        cells.resize(grid.GetTotalCellCount());
    }

    std::vector<std::size_t> Range(const Box& box) const
    {
        std::vector<std::size_t> found = {0};
        for (int axis = 2; axis >= 0; --axis)
        {
            const int count = grid.GetCellCount(axis);
            const float inverse = 1.0F / grid.GetCellSize(axis);
            const auto clamp = [count](long double cell)
            { return static_cast<std::size_t>(std::clamp<long double>(cell, 0, count)); };
            const float low = (box[axis] - m_bounds[axis]) * inverse;
            const float high = (box[axis + 3] - m_bounds[axis]) * inverse;
            if (std::isnan(low) || std::isnan(high))
                return {};
            std::vector<std::size_t> finer;
            for (const std::size_t cell : found)
                for (std::size_t i = clamp(std::trunc(static_cast<long double>(low)));
                     i < clamp(std::trunc(static_cast<long double>(high)) + 1); ++i)
                    finer.push_back(cell * static_cast<std::size_t>(count) + i);
            found = std::move(finer);
        }
        return found;
    }
    void Add(const Box& box, void* object)
    {
        EXPECT_TRUE(grid.AddObject(box.data(), object));
        i_Add(box, object);
    }
    void Remove(const Box& box, void* object)
    {
        EXPECT_TRUE(grid.RemoveObject(box.data(), object));
        i_Remove(box, object);
    }
    void Move(const Box& from, const Box& to, void* object)
    {
        EXPECT_TRUE(grid.MoveObject(from.data(), to.data(), object));
        i_Remove(from, object);
        i_Add(to, object);
    }

    struct Visit : CAABBDynamicGrid::walkCallback
    {
        std::vector<const CAABBDynamicGridCell*> cells;
    };
    // The cells that a walk visits, filled ones alone or all.
    std::vector<const CAABBDynamicGridCell*> Walk(const Box& box, bool onlyFilled)
    {
        Visit visit;
        visit.function = [](CAABBDynamicGrid::walkCallback* callback, CAABBDynamicGridCell* cell)
        { static_cast<Visit*>(callback)->cells.push_back(cell); };
        onlyFilled ? grid.WalkAABBOnlyFilled(box.data(), visit) : grid.WalkAABB(box.data(), visit);
        return visit.cells;
    }

    void Check()
    {
        ASSERT_TRUE(grid.Validate());
        for (std::size_t i = 0; i < cells.size(); ++i)
        {
            const auto* link = grid.GetCell(static_cast<std::uint32_t>(i)).objects;
            for (void* object : cells[i])
            {
                ASSERT_TRUE(link && link->object == object) << "cell " << i;
                link = link->next;
            }
            ASSERT_EQ(link, nullptr);
        }
    }

    CAABBDynamicGrid grid;
    std::vector<std::deque<void*>> cells;

private:
    void i_Add(const Box& box, void* object)
    {
        for (const std::size_t cell : Range(box))
            cells[cell].push_front(object);
    }
    void i_Remove(const Box& box, void* object)
    {
        for (const std::size_t cell : Range(box))
            if (const auto found = std::ranges::find(cells[cell], object); found != cells[cell].end())
                cells[cell].erase(found);
    }

    Box m_bounds;
};

// Mostly small boxes around the region, some of them strange.
Box RandomBox(test::Random& random)
{
    Box box{};
    for (std::size_t axis = 0; axis < 3; ++axis)
    {
        box[axis] = random.Between(-15.0F, 45.0F);
        box[axis + 3] = box[axis] + random.Between(0.0F, random.OneIn(8) ? 40.0F : 4.0F);
        if (random.OneIn(4)) // on the faces of cells
            box[axis] = std::round(box[axis]);
    }
    if (random.OneIn(10))
        box[random.Below(6U)] = random.Strange();
    return box;
}

TEST(DynamicGrid, AgreesWithListsOfEveryCellWhateverTheBoxes)
{
    // Whole cells, a partial last cell, and a reciprocal that is not exact.
    const float sizes[][3] = {{5, 5, 5}, {7, 4, 30}, {0.7F, 11, 9}};
    for (const auto& size : sizes)
    {
        GridModel model({{0, 0, 0, 30, 30, 30}}, size[0], size[1], size[2]);
        EXPECT_EQ(model.grid.GetCellCount(0), static_cast<int>(std::ceil(30.0F / size[0])));
        test::Random random(static_cast<std::uint64_t>(size[0] * 10));
        char objects[40];
        std::vector<Box> boxes(std::size(objects));
        for (Box& box : boxes)
            model.Add(box = RandomBox(random), &objects[&box - boxes.data()]);
        for (int step = 0; step < 400; ++step)
        {
            const std::size_t i = random.Below(boxes.size());
            const Box box = RandomBox(random);
            switch (random.Below(6))
            {
            case 0: model.Add(boxes[i], &objects[i]); break;                            // a second time
            case 1: model.Remove(random.OneIn(2) ? box : boxes[i], &objects[i]); break; // perhaps where it is not
            default: model.Move(boxes[i], box, &objects[i]); boxes[i] = box;
            }
            ASSERT_NO_FATAL_FAILURE(model.Check());

            const Box query = RandomBox(random);
            std::vector<const CAABBDynamicGridCell*> all;
            std::vector<const CAABBDynamicGridCell*> filled;
            for (const std::size_t cell : model.Range(query))
            {
                all.push_back(&model.grid.GetCell(static_cast<std::uint32_t>(cell)));
                if (!model.cells[cell].empty())
                    filled.push_back(all.back());
            }
            ASSERT_EQ(model.Walk(query, false), all);
            ASSERT_EQ(model.Walk(query, true), filled);
        }
        const std::size_t before = model.grid.GetEntryCount();
        const std::size_t found = model.grid.RemoveEverywhere(&objects[0]);
        EXPECT_EQ(model.grid.GetEntryCount(), before - found);
        EXPECT_EQ(model.grid.RemoveEverywhere(&objects[0]), 0U);
        EXPECT_TRUE(model.grid.Validate());
    }
}

TEST(DynamicGrid, ImpossibleRegionsHaveNoCells)
{
    const std::tuple<Box, float, bool> cases[] = {
        {{{0, 0, 0, 10, 10, 0}}, 1, false},
        {{{0, 0, 0, -5, 10, 10}}, 1, false},
        {{{0, 0, 0, 10, 10, 10}}, 0, false},
        {{{0, 0, 0, 10, 10, 10}}, -1, false},
        {{{0, 0, 0, 10, 10, 10}}, kNaN, false},
        {{{kNaN, 0, 0, 10, 10, 10}}, 1, false},
        {{{0, 0, 0, 1e9F, 1e9F, 1e9F}}, 1, true},
        {{{0, 0, 0, kInfinity, 1, 1}}, 1, true},
        {{{-3e38F, -3e38F, 0, 3e38F, 3e38F, 1}}, 1e-38F, true},
    };
    for (const auto& [bounds, size, isLogged] : cases)
    {
        std::optional<test::ExpectLog> log;
        if (isLogged)
            log.emplace(std::initializer_list<std::string>{"more than"});
        GridModel model(bounds, size, size, size);
        EXPECT_EQ(model.grid.GetTotalCellCount(), 0U);
        int object = 0;
        model.Add({{0, 0, 0, 1, 1, 1}}, &object);
        EXPECT_TRUE(model.Walk({{-1e30F, -1e30F, -1e30F, 1e30F, 1e30F, 1e30F}}, false).empty());
    }
}
} // namespace
