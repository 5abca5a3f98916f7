// [town-class]
#pragma once

#include "gameengine/engine/componentCamera.h"
#include "gameengine/engine/componentLight.h"
#include "gameengine/engine/componentRenderSettings.h"
#include "gameengine/engine/componentTransformDirect.h"
#include "gameengine/engine/entityArraySpatialQuery.h"
#include "gameengine/engine/occlusionAABBSoftwareHierarchicalZ.h"
#include "gameengine/engine/scene.h"
#include "gameengine/engine/sceneStreamer.h"
#include "tutorial/painter.h"

#include <string>
#include <vector>

/// The loaded part of the town, and what of it can be seen.
class CTown
{
public:
    CTown(renderer::CRenderer& renderer, const std::string& path);

    bool Initialize() { return m_store.IsOpen() && m_painter.Initialize(); }
    void LookFrom(CVector3 eye, CVector3 direction);
    void SetNight(bool isNight);
    void SetCulling(bool isCulling) { m_isCulling = isCulling; }

    /// A frame: streams, finds what is in view, and draws what is not hidden into what is bound.
    void Draw(int width, int height);

    CScene& GetScene() { return m_scene; }
    CSceneStreamer& GetStreamer() { return m_streamer; }
    int GetLoaded() const { return m_scene.GetArray().GetCount(); }
    int GetInView() const { return m_inView; }
    int GetDrawn() const { return static_cast<int>(m_visible.size()); }
    const float* GetClearColor() const { return m_settings->GetClearColor(); }
    CVector3 GetEye() const { return m_place->GetTransform().Translation(); }
    /// The block in the middle of the view, null for none.
    CEntity* FindAhead();

private:
    void i_FindVisible(const CMatrix& projectionView);
    void i_FillFrame(CPainter::Frame& frame) const;

    CScene m_scene;
    CEntityArray_SaveLoad_SqliteDB m_store;
    CSceneStreamer m_streamer;
    RefPtr<CEntityArray_AccelerationTree> m_tree{new CEntityArray_AccelerationTree};
    CEntityArray_SpatialQuery m_query{m_tree.Get()};
    RefPtr<COcclusionAABBSoftwareHierarchicalZ> m_culler;
    CPainter m_painter;

    // Not in the scene's array: neither saved nor streamed.
    RefPtr<CEntity> m_viewer;
    RefPtr<CEntity> m_sun;
    ComponentTransform* m_place = nullptr;
    ComponentCamera* m_camera = nullptr;
    ComponentRenderSettings* m_settings = nullptr;
    ComponentLight* m_sunLight = nullptr;

    bool m_isCulling = true;
    bool m_isNight = false;
    int m_inView = 0;
    CEntityArray_SpatialQuery::Buffer m_candidates;
    std::vector<CEntity*> m_visible;
    std::vector<float> m_boxes;
    std::vector<collision::PrimAABB> m_occluders;
    std::vector<CPainter::Block> m_blocks;
};
// [town-class end]
