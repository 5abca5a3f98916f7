#pragma once

#include "gameengine/engine/entityArrayOcclusion.h"
#include "gameengine/engine/occlusionAABBBruteforce.h"
#include "gameengine/engine/occlusionAABBOpenGLHierarchicalZ.h"
#include "gameengine/engine/occlusionAABBSoftwareHierarchicalZ.h"
#include "gameengine/engine/occlusionAABBTree.h"
#include "tamraengine/renderer/program.h"
#include "tamraengine/renderer/renderTarget.h"
#include "tamraengine/renderer/renderer.h"
#include "tamraengine/renderer/vertexCache.h"
#include "tools/soak/life.h"
#include "tools/soak/world.h"

#include <map>
#include <vector>

namespace soak
{
/// Culls the world's boxes with every culler and misses none that rays find. Those on the device see the boxes drawn,
/// where the renderer has a device; without one they must find what is in the frustum.
class CCullingLife final : public CLife
{
public:
    CCullingLife(CJournal& journal, CWorld& world, renderer::CRenderer& renderer);

    const char* GetName() const override { return "culling"; }
    void Step(CRandom& random) override;
    void Check() override;
    void AppendState(std::string& state) const override;
    void Empty() override;

private:
    using Boxes = std::vector<collision::PrimAABB>;

    void i_Gather();
    void i_Look(CRandom& random);
    void i_CullOnProcessor(CRandom& random);
    void i_CullOnDevice();
    void i_SynchronizePyramid();
    void i_DrawBoxes();
    std::vector<bool> i_Pass(COcclusionAABBBase& culler);
    void i_Compare(const std::vector<bool>& visible, bool isOnDevice, bool hidesSome, const char* culler);

    CWorld& m_world;
    renderer::CRenderer& m_renderer;
    RefPtr<renderer::CRenderTarget> m_target;
    RefPtr<renderer::CProgram> m_program;
    RefPtr<COcclusionAABBSoftwareHierarchicalZ> m_software;
    RefPtr<COcclusionAABBBruteforce> m_brute; // gets its boxes from the scene's array
    RefPtr<CEntityArray_Occlusion> m_binding;
    RefPtr<COcclusionAABBOpenGLHierarchicalZ> m_pyramid;
    RefPtr<COcclusionAABBTree> m_tree;
    std::map<Id, OcclusionBoxHandle*> m_pyramidHandles;

    std::vector<renderer::Vertex> m_vertices;
    std::vector<Id> m_ids;
    Boxes m_boxes;
    std::vector<bool> m_shown; // which of them rays find
    CMatrix m_projectionView;
    CVector3 m_eye;
    std::uint64_t m_found = 0; // by the software culler
};
} // namespace soak
