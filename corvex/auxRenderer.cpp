#include "corvex/auxRenderer.h"

void CAuxRenderer::AddLine(CVector3 from, CVector3 to, std::uint32_t color)
{
    m_lines.push_back({from, color});
    m_lines.push_back({to, color});
}

void CAuxRenderer::AddBox(const collision::PrimAABB& box, std::uint32_t color)
{
    const CVector3 low = box.GetMin();
    const CVector3 high = box.GetMax();
    const auto corner = [&](int i)
    { return CVector3((i & 1) ? high.x : low.x, (i & 2) ? high.y : low.y, (i & 4) ? high.z : low.z); };
    for (int i = 0; i < 8; ++i)
    {
        for (int axis = 1; axis <= 4; axis *= 2)
        {
            if (!(i & axis))
                AddLine(corner(i), corner(i | axis), color);
        }
    }
}
