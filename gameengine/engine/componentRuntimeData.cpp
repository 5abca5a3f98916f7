#include "gameengine/engine/componentRuntimeData.h"

#include "tamraengine/renderer/renderer.h"

TAMRA_COMPONENT_IMPLEMENT(ComponentRuntimeData, CEntityComponentRepositoryFast);

RuntimeData_Base::~RuntimeData_Base() = default;

ComponentRuntimeData::ComponentRuntimeData(CEntity* entity) : CEntityComponent(TYPEID(), entity) {}

ComponentRuntimeData::ComponentRuntimeData(const ComponentRuntimeData& other)
    : CEntityComponent(other),
      flags(other.flags),
      index(other.index),
      m_lastVisibleFrame(other.m_lastVisibleFrame)
{
}

ComponentRuntimeData& ComponentRuntimeData::operator=(const ComponentRuntimeData& other)
{
    CEntityComponent::operator=(other);
    flags = other.flags;
    index = other.index;
    m_lastVisibleFrame = other.m_lastVisibleFrame;
    return *this;
}

ComponentRuntimeData::~ComponentRuntimeData()
{
    primaryData.reset();
    secondaryData.reset();
    for (auto& data : extraData)
        data.reset();
    if (!m_visibilityEvents.Empty())
        m_visibilityEvents.DropAll();
    i_Unregister(REPOSITORY(), this);
}

CEntityComponentProperty* ComponentRuntimeData::GetProperty(int, CEntityComponentProperty*)
{
    return nullptr;
}

void ComponentRuntimeData::SetProperty(int, CEntityComponentProperty*) {}

void ComponentRuntimeData::UpdateLastVisibleFrame()
{
    const auto* renderer = renderer::CRenderer::GetActive();
    if (!renderer)
        return;
    const std::uint64_t frame = renderer->GetFrameNumber();
    if (frame == m_lastVisibleFrame)
        return;
    m_lastVisibleFrame = static_cast<std::uint32_t>(frame);
    if (!m_visibilityEvents.Empty())
        m_visibilityEvents.Raise(kBecameVisible, variant(this, "CEntityComponent"), variant());
}

bool ComponentRuntimeData::WasVisibleThisFrame() const
{
    const auto* renderer = renderer::CRenderer::GetActive();
    if (!renderer)
        return false;
    const std::uint64_t frame = renderer->GetFrameNumber();
    return frame == m_lastVisibleFrame || frame - 1 == m_lastVisibleFrame;
}
