// [painter]
#include "tutorial/painter.h"

#include <array>

namespace
{
// Front faces wind counter-clockwise as seen from outside.
std::array<renderer::Vertex, 36> MakeCube()
{
    std::array<renderer::Vertex, 36> vertices;
    std::size_t count = 0;
    for (std::size_t axis = 0; axis < 3; ++axis)
    {
        for (const float side : {0.0F, 1.0F})
        {
            for (const int corner : {0, 1, 2, 0, 2, 3})
            {
                float p[3];
                p[axis] = side;
                p[(axis + 1) % 3] = corner == 1 || corner == 2 ? 1.0F : 0.0F;
                p[(axis + 2) % 3] = (corner >= 2) == (side > 0.5F) ? 1.0F : 0.0F;
                vertices[count++].position = {p[0], p[1], p[2]};
            }
        }
    }
    return vertices;
}
} // namespace

bool CPainter::Initialize()
{
    if (!m_material->Load("materials/blocks.lua"))
        return false;
    m_pass = m_material->GetPass("BLOCKS");
    m_cube = renderer::CVertexCache::Create(m_renderer, 36);
    m_blocks = renderer::CBuffer::Create(m_renderer, sizeof(Block));
    m_frame = renderer::CBuffer::Create(m_renderer, sizeof(Frame));
    return m_pass >= 0 && m_cube && m_blocks && m_frame && m_cube->Write(0, MakeCube());
}

void CPainter::Draw(const CMatrix& projectionView, const Frame& frame, const std::vector<Block>& blocks)
{
    if (blocks.empty() || !m_blocks->Reserve(blocks.size() * sizeof(Block)))
        return;
    m_blocks->WriteRecords<Block>(blocks);
    m_frame->WriteRecords<Frame>({&frame, 1});
    const renderer::CPreservedState guard(m_renderer.GetState());
    if (!m_material->Bind(m_pass))
        return;
    m_blocks->BindStorage(0);
    m_frame->BindUniform(0);
    m_material->GetProgram(m_pass)->SetMatrix("projectionView", projectionView);
    m_cube->DrawInstances(renderer::Primitive::Triangles, 0, 36, blocks.size());
}
// [painter end]
