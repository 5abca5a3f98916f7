#pragma once

#include "gameengine/engine/componentTransform.h"

#include <memory>
#include <vector>

/// A transform that follows another: its world matrix is the parent's times its own local matrix. Without a parent the
/// local matrix is the world matrix.
///
/// A change anywhere in a hierarchy rebuilds all that follows, parents before children. The link to the parent is not
/// saved: a saved child loads with its world matrix and no parent.
class TAMRAGAMEENGINE_API ComponentTransformParent : public ComponentTransform
{
    TAMRA_COMPONENT(ComponentTransformParent, CEntityComponentRepository, 10000);

public:
    explicit ComponentTransformParent(CEntity* entity);
    /// Copies have the same matrices and no parent.
    ComponentTransformParent(const ComponentTransformParent& other);
    ComponentTransformParent& operator=(const ComponentTransformParent& other);
    ~ComponentTransformParent() override;

    /// Takes over the local box and the local matrix.
    void Copy(CEntityComponent* source) override;

    /// Sets the local matrix and rebuilds the world matrix.
    void SetTransform(const CMatrix& matrix) override;
    /// The world matrix.
    const CMatrix& GetTransform() override;
    /// The local matrix.
    const CMatrix& GetSelfTransform() const noexcept { return m_selfTransform; }

    /// Follows a parent from now on. Call it once: a former parent is not left, so the transform rebuilds when either
    /// changes, always against the one set last. When the parent dies, the child keeps its last world matrix until its
    /// next change. A parent that follows this transform itself would never come to rest: it is refused with a log
    /// line. Null takes the parent away.
    void SetParent(ComponentTransform* parent);
    /// Null without a parent and after the parent's death.
    ComponentTransform* GetParent() const noexcept;

private:
    struct Link;

    void i_Rebuild();
    bool i_IsFollowedBy(const ComponentTransform* other);

    // One for every SetParent whose parent is alive; `m_current` is the one set last.
    std::vector<std::unique_ptr<Link>> m_links;
    const Link* m_current = nullptr;
    CMatrix m_selfTransform;
    CMatrix m_transform;
};
