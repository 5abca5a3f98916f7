#include "gameengine/engine/occlusionDrawInternal.h"
#include "tamraengine/renderer/program.h"

namespace occlusion
{
namespace
{
// Nearer by some steps of the depth buffer: the wall of a house must not hide the house's own box.
constexpr const char* kVertexShader = R"(
layout(location = 0) in vec3 position;
uniform mat4 projectionView;
void main()
{
    gl_Position = projectionView * vec4(position, 1.0);
    gl_Position.z -= 4.0e-6 * gl_Position.w;
}
)";
constexpr const char* kUnitVertexShader = R"(
layout(location = 0) in vec3 position;
uniform mat4 projectionView;
uniform vec3 low;
uniform vec3 high;
void main()
{
    gl_Position = projectionView * vec4(mix(low, high, position), 1.0);
    gl_Position.z -= 4.0e-6 * gl_Position.w;
}
)";
constexpr const char* kFragmentShader = R"(
void main()
{
}
)";

// Corners by bits: x, y, z.
constexpr std::array<std::uint8_t, kBoxVertices> kCorners = {0, 4, 6, 0, 6, 2, 1, 3, 7, 1, 7, 5, 0, 1, 5, 0, 5, 4,
                                                             2, 6, 7, 2, 7, 3, 0, 2, 3, 0, 3, 1, 4, 5, 7, 4, 7, 6};
} // namespace

std::array<renderer::Vertex, kBoxVertices> MakeBoxVertices(const collision::PrimAABB& box) noexcept
{
    const CVector3 low = box.GetMin();
    const CVector3 high = box.GetMax();
    std::array<renderer::Vertex, kBoxVertices> vertices;
    for (std::size_t i = 0; i < kBoxVertices; ++i)
    {
        const unsigned corner = kCorners[i];
        vertices[i].position = {(corner & 1) != 0 ? high.x : low.x, (corner & 2) != 0 ? high.y : low.y,
                                (corner & 4) != 0 ? high.z : low.z};
    }
    return vertices;
}

collision::PrimAABB Grow(const collision::PrimAABB& box) noexcept
{
    const CVector3 one(1.0F, 1.0F, 1.0F);
    return {box.GetMin() - one, box.GetMax() + one};
}

RefPtr<renderer::CProgram> CreateQueryProgram(renderer::CRenderer& renderer)
{
    return renderer::CProgram::CreateFromText(renderer, kVertexShader, kFragmentShader);
}

RefPtr<renderer::CProgram> CreateUnitQueryProgram(renderer::CRenderer& renderer)
{
    return renderer::CProgram::CreateFromText(renderer, kUnitVertexShader, kFragmentShader);
}

void SetQueryState(renderer::CRenderState& state)
{
    state.SetColorWrite(false);
    state.SetDepthWrite(false);
    state.SetDepthTest(renderer::DepthTest::LessEqual);
    state.SetBlend(renderer::Blend::Off);
    state.SetCull(renderer::Cull::Off);
}
} // namespace occlusion
