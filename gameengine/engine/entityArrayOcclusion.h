#pragma once

#include "gameengine/engine/componentRuntimeData.h"
#include "gameengine/engine/occlusionAABBBase.h"
#include "gameengine/export.h"
#include "tamradeps/core/eventHandler.h"
#include "tamradeps/core/refPtr.h"

class CEntity;
class CEntityArray;

/// What an occlusion culler keeps with an entity, in the `secondaryData` of its `ComponentRuntimeData`: the entity's
/// box, which follows its transform. The box leaves the culler with it.
class TAMRAGAMEENGINE_API Internal_Occlusion : public RuntimeData_Base
{
public:
    Internal_Occlusion(CEntity* entity, COcclusionAABBBase* occluder);
    Internal_Occlusion(const Internal_Occlusion&) = delete;
    Internal_Occlusion& operator=(const Internal_Occlusion&) = delete;
    ~Internal_Occlusion() override;

    CEntity* entity;
    RefPtr<COcclusionAABBBase> occluder;
    OcclusionBoxHandle* handle = nullptr;
    CEventSubscription movedHandler; ///< Knows its place in the transform's list.
};

/// Gives every entity of an array that has a transform a box in an occlusion culler, which follows the transform, and
/// by whose `user` the entity is found again. Entities need a `ComponentRuntimeData`.
///
/// Only cullers that take boxes one by one will do (`COcclusionAABBBruteforce`, `COcclusionAABBOpenGLHierarchicalZ`).
/// An entity has one box: a second binding takes it over.
class TAMRAGAMEENGINE_API CEntityArray_Occlusion : public RefClass
{
public:
    /// As `Initialize`.
    CEntityArray_Occlusion(CEntityArray* array, COcclusionAABBBase* occluder);
    CEntityArray_Occlusion(const CEntityArray_Occlusion&) = delete;
    CEntityArray_Occlusion& operator=(const CEntityArray_Occlusion&) = delete;
    /// The boxes stay until their entities die; leaving the array takes none away any more.
    ~CEntityArray_Occlusion() override;

    const char* GetTypeString() override;

    /// Follows this array from now on, in place of the one before, and adds what is in it. Both are referenced. Boxes
    /// of the former array stay as after the destructor.
    void Initialize(CEntityArray* array, COcclusionAABBBase* occluder);

    void i_AddObject(CEntity* entity);
    void i_OnEntityArrayChange(const EventMessage& message);

private:
    RefPtr<COcclusionAABBBase> m_occluder;
    RefPtr<CEntityArray> m_array;
    CEventSubscription m_arrayChanged;
};
