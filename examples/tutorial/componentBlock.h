// [component]
#pragma once

#include "gameengine/engine/componentTransform.h"
#include "gameengine/engine/entityComponent.h"

/// A block: a unit cube, scaled and placed by its entity's transform, with a colour.
class ComponentBlock : public CEntityComponent
{
    TAMRA_COMPONENT(ComponentBlock, CEntityComponentRepository, 10900);

public:
    explicit ComponentBlock(CEntity* entity) : CEntityComponent(TYPEID(), entity) {}
    ~ComponentBlock() override { i_Unregister(REPOSITORY(), this); }

    CEntityComponentProperty* GetProperty(int index, CEntityComponentProperty* out) override
    {
        if (index != 0)
            return nullptr;
        out->SetColor("Color", m_color);
        return out;
    }
    void SetProperty(int index, CEntityComponentProperty* in) override
    {
        if (index == 0)
            in->ReadColor(m_color);
    }
    void SerializerSave(UDBGroup& group) override { i_SerializeProperty(0, group); }
    void SerializerLoad(UDBGroup& group) override { i_DeserializeProperty(0, group); }

    /// The transform is there by now, whichever was made first. Boxes are not saved: whoever knows the shape sets them.
    void i_OnEntityUnlockComponentList() override
    {
        static constexpr float kUnitCube[6] = {-0.5F, -0.5F, -0.5F, 0.5F, 0.5F, 0.5F};
        if (auto* transform = GetEntity()->Find<ComponentTransform>())
            transform->SetUntransformedBoundingBox(kUnitCube);
    }

    const float* GetColor() const noexcept { return m_color; }
    void SetColor(float r, float g, float b) noexcept
    {
        m_color[0] = r;
        m_color[1] = g;
        m_color[2] = b;
    }

private:
    float m_color[4] = {0.6F, 0.6F, 0.6F, 1.0F};
};
// [component end]
