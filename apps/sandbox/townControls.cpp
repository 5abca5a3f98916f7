#include "apps/sandbox/townControls.h"

#include "corvex/window.h"

#include <algorithm>
#include <cmath>

namespace
{
constexpr double kSecondsAround = 150.0;
constexpr float kRadiansPerPixel = 0.003F;
constexpr float kSteepest = 1.5F;
constexpr float kSpeed = 40.0F; // metres a second
constexpr float kFastSpeed = 250.0F;
} // namespace

CTownControls::CTownControls(CWindow& window, const CTownPath& path, TownDebug& debug)
    : m_window(window),
      m_path(path),
      m_debug(debug),
      m_viewpoint(path.GetFlight(0.0))
{
}

const char* CTownControls::GetHelp()
{
    return "Tab: free flight (W A S D Q E, Shift, mouse) or along the path   C: next culler\n"
           "F1: boxes   F2: cells   F3: what was culled   F4: freeze culling   F5: figures   Escape: end";
}

void CTownControls::i_SetFree(bool isFree)
{
    m_isFree = isFree;
    m_hasMouse = false;
    m_window.SetMouseLook(isFree);
    m_heading = std::atan2(m_viewpoint.direction.y, m_viewpoint.direction.x);
    m_pitch = std::asin(std::clamp(m_viewpoint.direction.z, -1.0F, 1.0F));
}

bool CTownControls::OnKeyDown(int key)
{
    switch (key)
    {
    case renderer::kKeyEscape: m_window.Close(); return true;
    case renderer::kKeyTab: i_SetFree(!m_isFree); return true;
    case renderer::kKeyF1: m_debug.boxes = !m_debug.boxes; return true;
    case renderer::kKeyF1 + 1: m_debug.cells = !m_debug.cells; return true;
    case renderer::kKeyF1 + 2: m_debug.culled = !m_debug.culled; return true;
    case renderer::kKeyF1 + 3: m_debug.frozen = !m_debug.frozen; return true;
    case renderer::kKeyF1 + 4: m_debug.figures = !m_debug.figures; return true;
    case 'C': ++m_cullerSteps; return true;
    default: return false;
    }
}

bool CTownControls::OnMouseMove(int x, int y)
{
    if (m_isFree && m_hasMouse)
    {
        m_heading -= static_cast<float>(x - m_mouseX) * kRadiansPerPixel;
        m_pitch = std::clamp(m_pitch - static_cast<float>(y - m_mouseY) * kRadiansPerPixel, -kSteepest, kSteepest);
    }
    m_hasMouse = true;
    m_mouseX = x;
    m_mouseY = y;
    return m_isFree;
}

TownViewpoint CTownControls::Update(float seconds)
{
    if (!m_isFree)
    {
        m_turn += seconds / kSecondsAround;
        return m_viewpoint = m_path.GetFlight(m_turn);
    }
    const CVector3 ahead(std::cos(m_heading) * std::cos(m_pitch), std::sin(m_heading) * std::cos(m_pitch),
                         std::sin(m_pitch));
    const CVector3 left(-std::sin(m_heading), std::cos(m_heading), 0.0F);
    const auto axis = [this](int plus, int minus)
    { return static_cast<float>(m_window.IsKeyHeld(plus)) - static_cast<float>(m_window.IsKeyHeld(minus)); };
    const float speed = m_window.IsKeyHeld(renderer::kKeyLeftShift) ? kFastSpeed : kSpeed;
    const CVector3 way = ahead * axis('W', 'S') + left * axis('A', 'D') + CVector3(0, 0, axis('E', 'Q'));
    m_viewpoint = {m_viewpoint.eye + way * (speed * seconds), ahead};
    return m_viewpoint;
}
