#include "gameengine/engine/aabbOctree.h"

#include "support/random.h"

#include <algorithm>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace
{
using collision::PrimAABB;

const PrimAABB kAroundOrigin({-8, -8, -8}, {8, 8, 8});
const PrimAABB kElsewhere({8, 8, 8}, {24, 24, 24});

std::vector<void*> ListOf(const CAABBOctreeNode& node)
{
    std::vector<void*> list;
    for (const auto* record = node.objects; record; record = record->next)
        list.push_back(record->object);
    EXPECT_EQ(node.CountObjects(), static_cast<int>(list.size()));
    return list;
}

// The same rules with nodes in a map by path ("" is the root, then one digit a level) and lists of pointers.
class OctreeModel
{
public:
    OctreeModel(const PrimAABB& bounds, int maxDepth, int maxObjects) : m_maxDepth(maxDepth), m_maxObjects(maxObjects)
    {
        m_nodes[""].box = bounds;
    }

    bool Add(const PrimAABB& box, void* object, const std::string& path = "")
    {
        bool taken = false;
        ForEachLeaf(box, path,
                    [&](const std::string& leaf)
                    {
                        taken = true;
                        auto& list = m_nodes[leaf].list;
                        list.insert(list.begin(), object);
                        if (static_cast<int>(list.size()) > m_maxObjects && static_cast<int>(leaf.size()) < m_maxDepth)
                            Split(leaf);
                    });
        return taken;
    }
    // False, and nothing changed, when some leaf that the box reaches lacks the object.
    bool Remove(const PrimAABB& box, void* object)
    {
        std::vector<std::vector<void*>*> lists;
        ForEachLeaf(box, "", [&](const std::string& leaf) { lists.push_back(&m_nodes[leaf].list); });
        if (std::ranges::any_of(lists, [&](const auto* list) { return std::ranges::count(*list, object) == 0; }))
            return false;
        for (auto* list : lists)
            list->erase(std::ranges::find(*list, object));
        return true;
    }
    void Compare(const CAABBOctreeNode& node, const std::string& path = "")
    {
        const Node& expected = m_nodes.at(path);
        ASSERT_EQ(ListOf(node), expected.list) << "node " << path;
        ASSERT_EQ(node.children != nullptr, expected.isSplit);
        ASSERT_EQ(node.depth, static_cast<int>(path.size()));
        for (int i = 0; expected.isSplit && i < 8; ++i)
            ASSERT_NO_FATAL_FAILURE(Compare(node.children[i], path + std::to_string(i)));
    }
    std::size_t GetNodeCount() const { return m_nodes.size() - 1; }

private:
    struct Node
    {
        PrimAABB box;
        bool isSplit = false;
        std::vector<void*> list;
    };

    template <class Visit>
    void ForEachLeaf(const PrimAABB& box, const std::string& path, Visit visit)
    {
        if (!m_nodes[path].isSplit)
            return visit(path);
        for (int i = 0; i < 8; ++i)
        {
            const std::string child = path + std::to_string(i);
            if (m_nodes[child].box.Test(box))
                ForEachLeaf(box, child, visit);
        }
    }
    void Split(const std::string& path)
    {
        Node& node = m_nodes[path];
        node.isSplit = true;
        const CVector3 half = node.box.GetSize() * 0.5F;
        for (int i = 0; i < 8; ++i)
        {
            const CVector3 low =
                node.box.GetMin() + CVector3(i & 1 ? half.x : 0, i & 2 ? half.y : 0, i & 4 ? half.z : 0);
            m_nodes[path + std::to_string(i)].box = PrimAABB(low, low + half);
        }
        for (void* object : std::exchange(node.list, {}))
            Add(PrimAABB(), object, path);
    }

    int m_maxDepth;
    int m_maxObjects;
    std::map<std::string, Node> m_nodes;
};

TEST(Octree, SplitsAndLosesObjectsByItsRules)
{
    std::size_t split = 0;
    for (std::uint64_t seed = 1; seed <= 40; ++seed)
    {
        test::Random random(seed);
        const PrimAABB& bounds = seed % 2 == 0 ? kAroundOrigin : kElsewhere;
        const int maxDepth = random.Below(4);
        const int maxObjects = random.Below(6);
        CAABBOctree octree(bounds, 8 * 600, 1, maxDepth, maxObjects);
        OctreeModel model(bounds, maxDepth, maxObjects);
        char objects[60];
        std::vector<PrimAABB> boxes(std::size(objects));
        for (int step = 0; step < 150; ++step)
        {
            const std::size_t i = random.Below(boxes.size());
            if (random.OneIn(4))
            {
                EXPECT_FALSE(model.Remove(boxes[i], &objects[i]) &&
                             octree.RemoveObject(boxes[i].GetFloats(), &objects[i], &octree));
            }
            else
            {
                const CVector3 low(random.Between(-10, 26), random.Between(-10, 26), random.Between(-10, 26));
                const float size = random.Between(0, 4);
                boxes[i] = PrimAABB(low, low + CVector3(size, size, size));
                EXPECT_EQ(octree.AddObject(boxes[i].GetFloats(), &objects[i], &octree),
                          model.Add(boxes[i], &objects[i]));
            }
            ASSERT_TRUE(octree.Validate());
            ASSERT_NO_FATAL_FAILURE(model.Compare(octree));
        }
        split += model.GetNodeCount();
        octree.RemoveEverywhere(&objects[0]);
        EXPECT_EQ(octree.RemoveEverywhere(&objects[0]), 0U);
        octree.i_DeallocateObjectsInNode(std::exchange(octree.objects, nullptr));
        if (octree.children)
            octree.i_Deallocate8Node(octree.children);
        for (char& object : objects)
            EXPECT_EQ(octree.RemoveEverywhere(&object), 0U);
    }
    EXPECT_GT(split, 500U);
}

TEST(Octree, BestFitIsTheDeepestNodeThatHoldsTheBoxAlone)
{
    CAABBOctree octree(kAroundOrigin, 64, 16, 8, 100);
    const PrimAABB corner({5, 5, 5}, {6, 6, 6});
    EXPECT_EQ(octree.FindBestFitNodeAABB(PrimAABB({90, 0, 0}, {91, 1, 1}), &octree), &octree) << "no children to ask";
    octree.Subdivide(&octree);
    EXPECT_EQ(octree.FindBestFitNodeAABB(corner, &octree), &octree.children[7]);
    octree.Subdivide(&octree.children[7]);
    octree.Subdivide(&octree.children[7]);
    EXPECT_EQ(octree.FindBestFitNodeAABB(corner, &octree), &octree.children[7].children[7]);
    EXPECT_EQ(octree.FindBestFitNodeAABB(PrimAABB({-1, 5, 5}, {1, 6, 6}), &octree), &octree);
    EXPECT_EQ(octree.FindBestFitNodeAABB(PrimAABB({90, 0, 0}, {91, 1, 1}), &octree), nullptr);
    EXPECT_TRUE(octree.Validate());
}

TEST(Octree, FatalMistakesEndTheProgramWithoutAWord)
{
    const float box[6] = {9, 9, 9, 10, 10, 10};
    const auto add = [&](CAABBOctree& octree, int count)
    {
        for (int i = 0; i < count; ++i)
            octree.AddObject(box, &octree, &octree);
    };
    CAABBOctree lost(kElsewhere, 64, 16, 2, 1);
    add(lost, 2);
    EXPECT_EQ(lost.RemoveEverywhere(&lost), 0U) << "the split lost them";
    EXPECT_DEATH(lost.RemoveObject(box, &lost, &lost), "^$");
    for (const int maxNodes : {-5, 0, 7})
    {
        CAABBOctree small(kElsewhere, maxNodes, -1, 200, 1);
        add(small, 1);
        EXPECT_DEATH(add(small, 1), "^$");
    }
    // A leaf splits within a split until the nodes run out or the depth is reached.
    CAABBOctree deep(kAroundOrigin, 8 * 8, 4, 200, 0);
    EXPECT_DEATH(add(deep, 1), "^$");
}

TEST(Octree, EndsAtTheDeepestDepth)
{
    CAABBOctree octree(kAroundOrigin, 8 * 200, 4, 200, 0);
    CAABBOctreeNode* node = &octree;
    for (octree.Subdivide(node); node->children; octree.Subdivide(node))
        node = node->children;
    EXPECT_EQ(node->depth, 127);
    const float box[6] = {-8, -8, -8, -8, -8, -8};
    EXPECT_TRUE(octree.AddObject(box, &octree, node));
    EXPECT_EQ(node->CountObjects(), 1);
    EXPECT_TRUE(octree.Validate());
}

TEST(Octree, TakesAnyBox)
{
    test::Random random(5);
    const auto next = [&]
    {
        float box[6];
        for (float& value : box)
            value = random.Strange();
        return PrimAABB(box);
    };
    for (int tree = 0; tree < 50; ++tree)
    {
        CAABBOctree octree(tree == 0 ? kAroundOrigin : next(), 8, 4, 1, 3);
        for (int i = 0; i < 20; ++i)
        {
            const PrimAABB box = next();
            octree.AddObject(box.GetFloats(), &octree, &octree);
            ASSERT_TRUE(octree.Validate());
            octree.FindBestFitNodeAABB(box, &octree);
        }
    }
}
} // namespace
