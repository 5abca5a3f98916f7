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
    // Few have payloads; six tests at once.
    if (primaryData || secondaryData || extraData[0] || extraData[1] || extraData[2] || extraData[3]) [[unlikely]]
        i_DeletePayloads();
    if (!m_visibilityEvents.Empty())
        m_visibilityEvents.DropAll();
    i_Unregister(REPOSITORY(), this);
}

void ComponentRuntimeData::i_DeletePayloads() noexcept
{
    primaryData.reset();
    secondaryData.reset();
    for (auto& data : extraData)
        data.reset();
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
