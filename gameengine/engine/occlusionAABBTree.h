#pragma once

#include "gameengine/engine/occlusionAABBBase.h"

#include <cstdint>
#include <memory>

/// Culls by asking the device about groups of boxes: keeps them in a tree, remembers which of its nodes were visible,
/// and asks in each pass about the topmost nodes that were not and now and then about the leaves that were.
///
///     culler->SetBoundingBoxes(count, boxes);     // at first, and when some of them changed
///     culler->SetFrameData(frame, collision::PrimFrustum(projectionView), eye);
///     DrawWhatWasVisible();
///     culler->DoOcclusion();
///
/// A node is visible until the device has said otherwise, and all boxes of a visible leaf that are in the frustum count
/// as visible. What comes out of hiding is found by the third pass, and by the eighth when the device is behind: an
/// answer is waited for when it is three passes late. What becomes hidden counts as visible for up to twenty. A camera
/// sees a node that it is inside of, or within one unit of, or that its near plane cuts. Visible indices come leaf by
/// leaf, roughly the nearest first.
///
/// The matrix is that of the frustum. Without a device all that is in the frustum is visible. A pass costs one frustum
/// test for each box, a walk of the nodes in the frustum that are not hidden, and a draw call for each query.
class TAMRAGAMEENGINE_API COcclusionAABBTree : public COcclusionAABBBase
{
public:
    explicit COcclusionAABBTree(renderer::CRenderer& renderer);
    ~COcclusionAABBTree() override;

    void DoOcclusion() override;

    /// Replaces all boxes by `count` new ones, six floats each; they are copied. A negative count is taken for 0. The
    /// tree is built anew when there are more or fewer than before, or they lie much farther apart; when they only
    /// moved it is fitted to them and what is known of them stays, and when nothing changed this is a compare.
    virtual void SetBoundingBoxes(int count, const float* boxes);

    /// Queries of the last pass.
    int GetQueryCount() const noexcept { return m_queryCount; }

private:
    enum class Found : std::uint8_t
    {
        Outside, ///< Of the frustum: nothing is known.
        Hidden,
        Visible
    };
    struct State;

    bool i_Prepare();
    void i_Forget();
    void i_TakeAnswers();
    void i_Reveal(std::size_t node);
    void i_RevealBelow(std::size_t node, std::size_t top);
    Found i_Visit(std::size_t node);
    Found i_VisitChildren(std::size_t node);
    void i_Report(std::size_t leaf);
    void i_Ask(std::size_t node);
    bool i_IsAtNearPlane(const collision::PrimAABB& box) const noexcept;

    std::unique_ptr<State> m_state;
    int m_queryCount = 0;
};
