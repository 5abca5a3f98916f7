#include "corvex/auxRenderer.h"

#include <map>
#include <tuple>

#include <gtest/gtest.h>

TEST(AuxRenderer, ABoxHasItsTwelveEdgesOnce)
{
    CAuxRenderer aux;
    aux.AddBox({{-1, -2, -3}, {1, 2, 3}}, 0xFF00FF00);
    const auto lines = aux.GetLines();
    ASSERT_EQ(lines.size(), 24U);
    std::map<std::tuple<float, float, float>, int> endsAtCorner;
    for (std::size_t i = 0; i < lines.size(); i += 2)
    {
        const CVector3 edge = lines[i + 1].position - lines[i].position;
        // Along one axis, and all of its length.
        EXPECT_EQ(edge.x * edge.y + edge.y * edge.z + edge.z * edge.x, 0.0F);
        EXPECT_TRUE(edge.Length() == 2.0F || edge.Length() == 4.0F || edge.Length() == 6.0F);
        for (const auto& end : {lines[i], lines[i + 1]})
            ++endsAtCorner[{end.position.x, end.position.y, end.position.z}];
    }
    EXPECT_EQ(endsAtCorner.size(), 8U);
    for (const auto& [corner, ends] : endsAtCorner)
        EXPECT_EQ(ends, 3);
}
