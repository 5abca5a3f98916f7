#include "apps/sandbox/editorDrag.h"

#include "apps/sandbox/editorTown.h"
#include "gameengine/engine/componentTransform.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>

namespace
{
constexpr int kClick = 3;          // pixels that are no drag yet
constexpr float kReach = 5000.0F;  // metres from the eye
constexpr float kFlattest = 0.01F; // of a ray that is to meet a plane
constexpr float kLeastSide = 0.5F; // metres
constexpr float kMostSide = 2000.0F;

float Snap(float distance, float snap)
{
    return snap > 0.0F ? std::round(distance / snap) * snap : distance;
}

std::array<CVector3, 3> GetAxes(const CMatrix& matrix)
{
    return {matrix.GetLocalX(), matrix.GetLocalY(), matrix.GetLocalZ()};
}
} // namespace

bool CEditorDrag::Begin(Kind kind, int x, int y)
{
    CEntity* entity = m_town.GetSelected();
    const CEditorTown::Ray ray = m_town.GetRay(x, y);
    float distance = 0.0F;
    if (!entity || m_town.Cast(ray.origin, ray.direction, distance) != entity)
        return false;
    m_town.EndEdit();
    m_kind = kind;
    m_start = entity->Find<ComponentTransform>()->GetTransform();
    m_grip = ray.origin + ray.direction * distance;
    m_startX = x;
    m_startY = y;
    m_isMoving = false;
    m_direction = {0, 0, 1};
    if (kind == Kind::Pull)
    {
        // The side that was met is the one that the point lies farthest out on.
        const CVector3 local = m_start.Inverse().TransformPoint(m_grip);
        const float places[] = {local.x, local.y, local.z};
        const auto isNearer = [](float a, float b) { return std::abs(a) < std::abs(b); };
        m_axis = static_cast<int>(std::max_element(places, places + 3, isNearer) - places);
        m_side = places[m_axis] < 0.0F ? -1.0F : 1.0F;
        m_direction = GetAxes(m_start)[static_cast<std::size_t>(m_axis)].Normalized() * m_side;
    }
    return true;
}

// Where the mouse is in the plane of the drag: the level one, or one that the direction lies in and that is seen as
// straight as can be.
bool CEditorDrag::i_FindPoint(int x, int y, CVector3& point) const
{
    const CEditorTown::Ray ray = m_town.GetRay(x, y);
    CVector3 normal(0, 0, 1);
    if (m_kind != Kind::Move)
    {
        const CVector3 across = m_direction.Cross(m_grip - ray.origin);
        normal = m_direction.Cross(across).Normalized();
    }
    const float slope = normal.Dot(ray.direction);
    if (!(std::abs(slope) > kFlattest))
        return false;
    const float distance = normal.Dot(m_grip - ray.origin) / slope;
    point = ray.origin + ray.direction * distance;
    return distance > 0.0F && distance < kReach;
}

void CEditorDrag::Continue(int x, int y, float snap)
{
    m_isMoving = m_isMoving || std::abs(x - m_startX) + std::abs(y - m_startY) > kClick;
    CEntity* entity = m_town.GetSelected();
    CVector3 point;
    if (!m_isMoving || !entity || !i_FindPoint(x, y, point))
        return;
    const CVector3 way = point - m_grip;
    const float distance = Snap(way.Dot(m_direction), snap);
    switch (m_kind)
    {
    case Kind::Move:
        m_town.Move(*entity, m_start.Translation() + CVector3(Snap(way.x, snap), Snap(way.y, snap), 0));
        break;
    case Kind::Lift: m_town.Move(*entity, m_start.Translation() + m_direction * distance); break;
    case Kind::Pull: i_Pull(distance); break;
    }
}

void CEditorDrag::i_Pull(float distance)
{
    const CVector3 axis = GetAxes(m_start)[static_cast<std::size_t>(m_axis)];
    const float length = axis.Length();
    const float pulled = std::clamp(length + distance, std::min(length, kLeastSide), std::max(length, kMostSide));
    const CVector3 longer = axis * (pulled / length);
    CMatrix place = m_start;
    if (m_axis == 0)
        place.SetLocalX(longer);
    else if (m_axis == 1)
        place.SetLocalY(longer);
    else
        place.SetLocalZ(longer);
    place.SetTranslation(m_start.Translation() + m_direction * ((pulled - length) * 0.5F));
    m_town.SetPlace(*m_town.GetSelected(), place);
}

void CEditorDrag::End(bool isKept)
{
    CEntity* entity = m_town.GetSelected();
    if (!isKept && m_isMoving && entity)
    {
        // In the way of the change, so that the edit is none.
        if (m_kind == Kind::Pull)
            m_town.SetPlace(*entity, m_start);
        else
            m_town.Move(*entity, m_start.Translation());
    }
    m_town.EndEdit();
}
