// [painter-data]
#pragma once

#include "tamraengine/renderer/buffer.h"
#include "tamraengine/renderer/programmableMaterial.h"
#include "tamraengine/renderer/renderer.h"
#include "tamraengine/renderer/vertexCache.h"

#include <vector>

/// Draws boxes as instances of one cube.
class CPainter
{
public:
    explicit CPainter(renderer::CRenderer& renderer)
        : m_renderer(renderer),
          m_material(new CProgrammableMaterial(renderer))
    {
    }

    // As the shaders have them.
    struct Block
    {
        float low[4];
        float high[4];
        float color[4];
    };
    struct Frame
    {
        float eye[4];
        float sunDirection[4];
        float sunColor[4];
        float ambient[4];
        float fogColor[4];
        float fog[4];
        float lamps[64][4];
    };

    bool Initialize();
    void Draw(const CMatrix& projectionView, const Frame& frame, const std::vector<Block>& blocks);

private:
    renderer::CRenderer& m_renderer;
    RefPtr<CProgrammableMaterial> m_material;
    RefPtr<renderer::CVertexCache> m_cube;
    RefPtr<renderer::CBuffer> m_blocks;
    RefPtr<renderer::CBuffer> m_frame;
    int m_pass = -1;
};
// [painter-data end]
