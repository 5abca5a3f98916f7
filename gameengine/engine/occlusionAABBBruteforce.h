#pragma once

#include "gameengine/engine/occlusionAABBBase.h"
#include "tamradeps/core/refPtr.h"

#include <memory>

/// Culls by asking the device about every box: draws each box in the frustum, without writing anything, over the depth
/// that is bound, and takes the answer in the next pass.
///
///     culler->SetFrameData(frame, collision::PrimFrustum(projectionView), eye);
///     DrawWhatWasVisible();
///     culler->DoOcclusion();
///
/// So a box becomes visible one pass after it was drawn into its query for the first time, and stays visible for one
/// pass after it became hidden. A camera inside a box, or within one unit of it, sees it at once. Visible indices come
/// in ascending order.
///
/// The boxes are drawn by the matrix of the frustum. Where there is nothing to ask - the renderer has no device, its
/// memory is full, the frustum holds everything - whatever is in the frustum counts as visible. Takes some 900 bytes of
/// the device's memory for each box. A pass costs a draw call for each box in the frustum, waits for the answers of the
/// pass before, and leaves the renderer's state as it was.
class TAMRAGAMEENGINE_API COcclusionAABBBruteforce : public COcclusionAABBBase
{
public:
    explicit COcclusionAABBBruteforce(renderer::CRenderer& renderer);
    ~COcclusionAABBBruteforce() override;

    OcclusionBoxHandle* AddBoundingBox(const float* box) override;
    void RemoveBoundingBox(OcclusionBoxHandle* handle) override;
    void UpdateBoundingBox(OcclusionBoxHandle* handle, const float* box) override;
    void DoOcclusion() override;

    /// Queries of the last pass.
    int GetQueryCount() const noexcept { return m_queryCount; }

private:
    struct State;

    bool i_Prepare();
    void i_RefreshBox(std::size_t index);
    void i_Ask(std::size_t index);

    std::unique_ptr<State> m_state;
    int m_queryCount = 0;
};
