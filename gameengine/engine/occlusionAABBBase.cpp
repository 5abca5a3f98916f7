#include "gameengine/engine/occlusionAABBBase.h"

#include <algorithm>

namespace
{
constexpr std::size_t kHandlesPerBlock = 64;
} // namespace

COcclusionAABBBase::COcclusionAABBBase(renderer::CRenderer& renderer)
    : m_renderer(&renderer),
      m_handlePool(sizeof(OcclusionBoxHandle), kHandlesPerBlock)
{
}

COcclusionAABBBase::~COcclusionAABBBase() = default;

const char* COcclusionAABBBase::GetTypeString()
{
    return "COcclusionAABBBase";
}

void COcclusionAABBBase::SetFrameData(int frameValue, const collision::PrimFrustum& frustum, CVector3 cameraPosition)
{
    m_frameValue = frameValue;
    m_frustum = frustum;
    m_cameraPosition = cameraPosition;
}

OcclusionBoxHandle* COcclusionAABBBase::AddBoundingBox(const float*)
{
    return nullptr;
}

void COcclusionAABBBase::RemoveBoundingBox(OcclusionBoxHandle*) {}

void COcclusionAABBBase::UpdateBoundingBox(OcclusionBoxHandle*, const float*) {}

int COcclusionAABBBase::GetBoundingBoxCount()
{
    return static_cast<int>(m_boxes.size());
}

OcclusionBox* COcclusionAABBBase::GetBoundingBox(OcclusionBoxHandle* handle)
{
    return handle ? i_GetBox(*handle) : nullptr;
}

OcclusionBoxHandle* COcclusionAABBBase::i_AllocateBoxHandle()
{
    return new (m_handlePool.Allocate()) OcclusionBoxHandle{};
}

void COcclusionAABBBase::i_DeallocateBoxHandle(OcclusionBoxHandle* handle) noexcept
{
    m_handlePool.Deallocate(handle);
}

bool COcclusionAABBBase::i_SwapEraseOcclusionBox(OcclusionBoxHandle* handle)
{
    OcclusionBox* const erased = GetBoundingBox(handle);
    if (!erased)
        return false;
    const bool isLast = erased == &m_boxes.back();
    if (!isLast)
    {
        *erased = m_boxes.back();
        *erased->handle = *handle;
    }
    m_boxes.pop_back();
    return !isLast;
}

void COcclusionAABBBase::i_ResizeVisibleCapacity(int count)
{
    if (count <= m_visibleCapacity)
        return;
    m_visibleIds = std::make_unique<std::int32_t[]>(static_cast<std::size_t>(count));
    m_visibleCapacity = count;
    m_visibleCount = 0;
}

OcclusionBoxHandle* COcclusionAABBBase::i_AppendOcclusionBox(const float* box)
{
    OcclusionBoxHandle* const handle = i_AllocateBoxHandle();
    *handle = static_cast<OcclusionBoxHandle>(m_boxes.size());
    i_SetBox(m_boxes.emplace_back(OcclusionBox{handle, nullptr, {}, {}}), box);
    return handle;
}

void COcclusionAABBBase::i_SetBox(OcclusionBox& record, const float* box) noexcept
{
    std::copy_n(box, 3, record.min);
    std::copy_n(box + 3, 3, record.max);
}
