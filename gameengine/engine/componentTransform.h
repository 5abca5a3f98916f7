#pragma once

#include "gameengine/engine/entityComponent.h"
#include "tamradeps/collision/primAABB.h"
#include "tamradeps/math/matrix.h"

/// Where an entity is and how large: the base of all transforms. Everybody else finds an entity's transform, of
/// whatever class, in `ComponentTransform::REPOSITORY()`; all of them share one type id, and an entity carries at most
/// one.
///
///     if (auto* transform = entity->Find<ComponentTransform>())
///         Draw(transform->GetTransform(), transform->GetBoundingBox());
///
/// The world box is up to date after the first `SetTransform` or `SetUntransformedBoundingBox`.
class TAMRAGAMEENGINE_API ComponentTransform : public CEntityComponent
{
public:
    /// Events on `Events()`, the component ("CEntityComponent") first. A change raises `kTransformChanged`, then
    /// `kBoundsChanged`.
    enum Event : std::int32_t
    {
        kTransformChanged = 0, ///< Second value: the new world matrix ("CMatrix"), valid during the event.
        kBoundsChanged = 1     ///< Second value: the integer 0.
    };

    static constexpr std::int32_t TYPEID() noexcept { return 10000; }
    /// Every transform, whatever its class.
    static CEntityComponentRepositoryFast& REPOSITORY() noexcept { return s_repository.Get(); }

    ~ComponentTransform() override;

    const char* GetTypeString() override;
    const char* GetTypeString() const override;

    /// "Translation" and "Rotation" (degrees about the fixed X, Y, Z axes), each three floats, and "Scale", the length
    /// of the local X axis (while that length is 0, writing does nothing). Reads show the world matrix, writes go
    /// through `SetTransform`: exact for a transform without a parent.
    CEntityComponentProperty* GetProperty(int index, CEntityComponentProperty* out) override;
    void SetProperty(int index, CEntityComponentProperty* in) override;
    /// The 16 elements of the world matrix, "m11" to "m44" in storage order.
    void SerializerSave(UDBGroup& group) override;
    /// Elements that the group lacks are those of the identity.
    void SerializerLoad(UDBGroup& group) override;
    /// Takes over the local box, then the source's world matrix through `SetTransform`. A source that is no transform
    /// is ignored.
    void Copy(CEntityComponent* source) override;

    /// Moves the entity. The base, which has no matrix, ignores it.
    virtual void SetTransform(const CMatrix& matrix);
    /// The world matrix, valid until the transform changes. The base gives the identity.
    virtual const CMatrix& GetTransform();

    /// The world box.
    collision::PrimAABB& GetBoundingBox() noexcept { return m_bounds; }

    /// Sets the box in local space from six floats (min x, y, z, max x, y, z) and updates the world box. Whoever gives
    /// the entity a shape calls this.
    void SetUntransformedBoundingBox(const float* box);

protected:
    explicit ComponentTransform(CEntity* entity);
    ComponentTransform(const ComponentTransform& other) = default;
    ComponentTransform& operator=(const ComponentTransform& other) = default;

    /// The part of `Copy` that is the same for every transform: type and local box.
    void i_CopyBox(const ComponentTransform& source) noexcept;
    /// Recomputes the world box and raises `kBoundsChanged`.
    void i_UpdateBbox();
    /// What a derived class does when its world matrix has changed: raises `kTransformChanged`, then updates the box as
    /// above. `world` is the matrix that `GetTransform()` gives. A listener may have destroyed the component
    /// afterwards.
    void i_TransformChanged(const CMatrix& world)
    {
        if (HasEvents())
            i_TellListeners(world);
        else
            m_bounds.TransformAABB(m_untransformed, world);
    }

private:
    void i_TellListeners(const CMatrix& world);
    TAMRA_COMPONENT_REPOSITORY(CEntityComponentRepositoryFast);

    collision::PrimAABB m_untransformed; // in local space
    collision::PrimAABB m_bounds;        // in world space
};
