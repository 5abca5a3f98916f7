#include "tamraengine/renderer/renderer.h"

#include "tamraengine/renderer/renderQueue.h"

#include <gtest/gtest.h>

TEST(Renderer, TheLastOneIsActiveUntilItDies)
{
    EXPECT_EQ(renderer::CRenderer::GetActive(), nullptr);
    renderer::CRenderer first;
    {
        renderer::CRenderer second;
        EXPECT_EQ(renderer::CRenderer::GetActive(), &second);
        first.Activate();
    }
    // The death of another does not matter.
    EXPECT_EQ(renderer::CRenderer::GetActive(), &first);
}

TEST(RenderQueue, TakesWholeLinesOnly)
{
    CRenderQueue queue;
    const RenderLineVertex vertices[3] = {{{1, 0, 0}, 1}, {{2, 0, 0}, 2}, {{3, 0, 0}, 3}};
    queue.AddLines(vertices);
    ASSERT_EQ(queue.GetLines().size(), 2U);
    EXPECT_EQ(queue.GetLines()[1].color, 2U);
}
