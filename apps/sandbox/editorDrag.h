#pragma once

#include "tamradeps/math/matrix.h"
#include "tamradeps/math/vector3.h"

class CEditorTown;

/// What the mouse does to the selected entity: moves it over the ground, up and down, or pulls one of its sides while
/// the opposite one stays. At once, and one edit from press to release.
class CEditorDrag
{
public:
    enum class Kind
    {
        Move,
        Lift,
        Pull
    };

    /// The town must outlive it.
    explicit CEditorDrag(CEditorTown& town) : m_town(town) {}

    /// False where a pixel of the last picture does not show the selected entity.
    bool Begin(Kind kind, int x, int y);
    /// The mouse is there now. Distances are multiples of `snap` metres, unless that is 0.
    void Continue(int x, int y, float snap);
    /// Without `isKept` all is as before.
    void End(bool isKept);

private:
    bool i_FindPoint(int x, int y, CVector3& point) const;
    void i_Pull(float distance);

    CEditorTown& m_town;
    Kind m_kind = Kind::Move;
    CMatrix m_start;      // of the entity
    CVector3 m_grip;      // on it, where the mouse went down
    CVector3 m_direction; // of a lift or a pull
    int m_axis = 0;       // of the side that is pulled
    float m_side = 1.0F;  // 1 or -1 along it
    int m_startX = 0;
    int m_startY = 0;
    bool m_isMoving = false; // else it may be a click
};
