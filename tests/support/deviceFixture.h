#pragma once

#include "corvex/context.h"
#include "tamradeps/io/fileSystem.h"
#include "tamraengine/renderer/program.h"
#include "tamraengine/renderer/renderTarget.h"
#include "tamraengine/renderer/renderer.h"
#include "tamraengine/renderer/vertexCache.h"

#include <array>
#include <memory>

#include <gtest/gtest.h>

namespace test
{
/// Tests by pixels: a renderer with a device, anew for each test, on one off-screen context for the whole program. The
/// tests are skipped where no such context exists.
class DeviceTest : public testing::Test
{
protected:
    void SetUp() override
    {
        if (!GetContext())
            GTEST_SKIP() << "there is no off-screen context";
        ASSERT_TRUE(GetContext()->MakeCurrent());
        ASSERT_TRUE(m_renderer.InitializeDevice());
        GetFileSystem().AddRoot(TAMRA_SOURCE_FOLDER "/assets");
        Prepare();
    }
    /// What tests need besides, when there is a device.
    virtual void Prepare() {}

    static COffscreenContext* GetContext()
    {
        static const std::unique_ptr<COffscreenContext> context = COffscreenContext::Create();
        return context.get();
    }

    using Pixel = std::array<int, 4>;
    static Pixel GetPixel(const renderer::Image& image, int x, int y)
    {
        const std::uint8_t* pixel = image.GetPixel(x, y);
        return {pixel[0], pixel[1], pixel[2], pixel[3]};
    }

    /// A program that draws vertices, which are in clip space, in their colours.
    RefPtr<renderer::CProgram> MakeColorProgram()
    {
        return renderer::CProgram::CreateFromText(m_renderer,
                                                  "layout(location = 0) in vec3 position;\n"
                                                  "layout(location = 2) in vec4 color;\n"
                                                  "out vec4 vertexColor;\n"
                                                  "void main() { gl_Position = vec4(position, 1.0);\n"
                                                  "    vertexColor = color; }\n",
                                                  "in vec4 vertexColor;\n"
                                                  "out vec4 result;\n"
                                                  "void main() { result = vertexColor; }\n");
    }

    /// The two triangles of a rectangle in clip space.
    static std::array<renderer::Vertex, 6> MakeRectangle(float left, float bottom, float right, float top, float z,
                                                         std::uint32_t color)
    {
        const renderer::Vertex a{{left, bottom, z}, 0, 0, color};
        const renderer::Vertex b{{right, bottom, z}, 1, 0, color};
        const renderer::Vertex c{{right, top, z}, 1, 1, color};
        const renderer::Vertex d{{left, top, z}, 0, 1, color};
        return {a, b, c, a, c, d};
    }

    /// Draws it with the program that is in use.
    void DrawRectangle(float left, float bottom, float right, float top, float z, std::uint32_t color)
    {
        const auto vertices = MakeRectangle(left, bottom, right, top, z, color);
        const std::size_t first = m_renderer.GetVertexCache()->Append(vertices);
        m_renderer.GetVertexCache()->Draw(renderer::Primitive::Triangles, first, vertices.size());
    }

    renderer::CRenderer m_renderer;
};
} // namespace test
