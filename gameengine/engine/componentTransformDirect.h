#pragma once

#include "gameengine/engine/componentTransform.h"

/// A transform that stands alone: its world matrix is what it was set to. The identity at first.
class TAMRAGAMEENGINE_API ComponentTransformDirect : public ComponentTransform
{
    TAMRA_COMPONENT(ComponentTransformDirect, CEntityComponentRepository, 10000);

public:
    explicit ComponentTransformDirect(CEntity* entity);
    ComponentTransformDirect(const ComponentTransformDirect& other) = default;
    ComponentTransformDirect& operator=(const ComponentTransformDirect& other) = default;
    ~ComponentTransformDirect() override;

    /// Stores the matrix, raises `kTransformChanged`, updates the world box.
    void SetTransform(const CMatrix& matrix) override;
    const CMatrix& GetTransform() override;

private:
    CMatrix m_transform;
};
