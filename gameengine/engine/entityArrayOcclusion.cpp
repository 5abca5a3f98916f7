#include "gameengine/engine/entityArrayOcclusion.h"

#include "gameengine/engine/componentTransform.h"
#include "gameengine/engine/entityArray.h"
#include "tamradeps/core/assertion.h"

#include <cstdio>

namespace
{
constexpr const char* kModule = "gameengine/engine/entityArrayOcclusion";
} // namespace

Internal_Occlusion::Internal_Occlusion(CEntity* owner, COcclusionAABBBase* culler) : entity(owner), occluder(culler) {}

Internal_Occlusion::~Internal_Occlusion()
{
    movedHandler.Leave();
    if (occluder && handle)
        occluder->RemoveBoundingBox(handle);
}

CEntityArray_Occlusion::CEntityArray_Occlusion(CEntityArray* array, COcclusionAABBBase* occluder)
    : m_arrayChanged([this](const EventMessage& message) { i_OnEntityArrayChange(message); })
{
    Initialize(array, occluder);
}

CEntityArray_Occlusion::~CEntityArray_Occlusion() = default;

const char* CEntityArray_Occlusion::GetTypeString()
{
    return "CEntityArray_Occlusion";
}

void CEntityArray_Occlusion::Initialize(CEntityArray* array, COcclusionAABBBase* occluder)
{
    m_arrayChanged.Leave();
    m_array = array;
    m_occluder = occluder;
    if (!array)
        return;
    m_arrayChanged.Subscribe(array->Events());
    for (int i = 0; i < array->GetCount(); ++i)
        i_AddObject(array->Get(i));
}

void CEntityArray_Occlusion::i_AddObject(CEntity* entity)
{
    if (!m_occluder)
        AssertionFailed(kModule, 86);
    if (!m_array)
        AssertionFailed(kModule, 87);
    auto* const transform = entity ? entity->Find<ComponentTransform>() : nullptr;
    if (!transform)
        return;
    auto* const runtimeData = entity->Find<ComponentRuntimeData>();
    if (!runtimeData)
    {
        std::fputs("CEntityArray_Occlusion: no runtime data found on entity - this should never happen.\n", stdout);
        return;
    }
    if (!m_occluder)
        return;
    auto* const payload = new Internal_Occlusion(entity, m_occluder.Get());
    runtimeData->secondaryData.reset(payload);
    payload->handle = m_occluder->AddBoundingBox(transform->GetBoundingBox().GetFloats());
    // A culler that takes whole sets has no box for it.
    OcclusionBox* const box = m_occluder->GetBoundingBox(payload->handle);
    if (!box)
        return;
    box->user = entity;
    payload->movedHandler.SetCallback(
        [payload](const EventMessage& message)
        {
            auto* const component = message.first.GetObjectPointer<CEntityComponent>("CEntityComponent");
            if (!component || component->GetType() != ComponentTransform::TYPEID())
                return;
            const auto& moved = static_cast<ComponentTransform*>(component)->GetBoundingBox();
            payload->occluder->UpdateBoundingBox(payload->handle, moved.GetFloats());
        });
    payload->movedHandler.Subscribe(transform->Events());
}

void CEntityArray_Occlusion::i_OnEntityArrayChange(const EventMessage& message)
{
    if (!m_occluder)
        AssertionFailed(kModule, 61);
    if (!m_array)
        AssertionFailed(kModule, 62);
    auto* const entity = message.first.GetObjectPointer<CEntity>("CEntity");
    if (message.id == CEntityArray::kEntityAdded)
        i_AddObject(entity);
    else if (message.id == CEntityArray::kEntityRemoved && entity)
    {
        if (auto* const runtimeData = entity->Find<ComponentRuntimeData>())
            runtimeData->secondaryData.reset();
    }
}
