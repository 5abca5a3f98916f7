#pragma once

#include "gameengine/engine/occlusionAABBBase.h"
#include "tamradeps/core/refPtr.h"

#include <memory>

namespace renderer
{
class CTexture;
}

/// Culls on the device: makes a pyramid of the farthest depths of the picture ("shaders/occlusionhiz_build") and
/// compares all boxes with it at once ("shaders/occlusionhiz_test"). Never waits for the device.
///
///     culler->SetFrameData(frame, collision::PrimFrustum(projectionView), eye);
///     DrawWhatWasVisible();
///     culler->DoOcclusion();
///
/// Visible is what is in the frustum of this pass and was not found hidden by the latest answer of the device, which is
/// usually that of the pass before and may be up to four passes old when the device is behind. Boxes that were added
/// since, those of which the picture of the answer showed no part, and those that contain the camera are visible. A box
/// that moved takes its answer along. Visible indices come in ascending order.
///
/// The matrix is that of the frustum. Without a device, shaders, or depth, all that is in the frustum is visible. A
/// pass costs the thread one frustum test for each box and a handful of calls of the device.
class TAMRAGAMEENGINE_API COcclusionAABBOpenGLHierarchicalZ : public COcclusionAABBBase
{
public:
    explicit COcclusionAABBOpenGLHierarchicalZ(renderer::CRenderer& renderer);
    ~COcclusionAABBOpenGLHierarchicalZ() override;

    OcclusionBoxHandle* AddBoundingBox(const float* box) override;
    void RemoveBoundingBox(OcclusionBoxHandle* handle) override;
    void UpdateBoundingBox(OcclusionBoxHandle* handle, const float* box) override;
    void DoOcclusion() override;

    /// Asks the device at most so often a second, by the renderer's time; 0 or less, as at the start, in every pass.
    void SetOcclusionFramerate(float passesPerSecond) noexcept { m_framerate = passesPerSecond; }

    /// The depth of the scene, for as long as it is set: texels from 0 (near) to 1 (far). Null, as at the start, for
    /// that of the framebuffer that is bound in `DoOcclusion`, of which the viewport's part is copied.
    void SetDepthTexture(renderer::CTexture* depth);

    /// Draws a level of the pyramid over the viewport ("shaders/occlusionhiz_debug"), the nearest level that there is.
    /// Level 0 has half of the picture's width and height. Nothing before the first pass.
    void DrawDebugHiZ(int level);

    /// The pyramid of the last pass, null before the first: farthest depths in `R32F`. Replaced when the picture's size
    /// changes.
    renderer::CTexture* GetPyramid() const noexcept;

private:
    struct State;

    bool i_Prepare();
    bool i_IsDue();
    renderer::CTexture* i_FindDepth();
    void i_BuildPyramid(renderer::CTexture& depth);
    void i_UploadBoxes();
    void i_Ask(renderer::CTexture& depth);
    void i_TakeAnswers();
    void i_Place(std::size_t index);

    std::unique_ptr<State> m_state;
    float m_framerate = 0.0F;
};
