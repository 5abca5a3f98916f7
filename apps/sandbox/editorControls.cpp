#include "apps/sandbox/editorControls.h"

#include <algorithm>
#include <cmath>

namespace
{
constexpr float kRadiansPerPixel = 0.004F;
constexpr float kRadiansPerSecond = 1.2F; // by arrows
constexpr float kSteepest = 1.5F;
constexpr float kFast = 6.0F;
constexpr float kMetresPerNotch = 25.0F;
} // namespace

CEditorControls::CEditorControls(renderer::CInput& input) : m_input(input)
{
    m_input.AddListener(this);
}

CEditorControls::~CEditorControls()
{
    m_input.Release(this);
    m_input.RemoveListener(this);
}

bool CEditorControls::OnKeyDown(int key)
{
    if (m_isDragging)
    {
        if (key == renderer::kKeyEscape)
            i_Drop(false);
        else if (key >= renderer::kKeyLeftShift && onKeyMeanwhile)
            onKeyMeanwhile(key, true);
        return true;
    }
    const bool isNew = m_held.insert(key).second;
    if (isNew && onKey)
        onKey(key);
    return true;
}

bool CEditorControls::OnKeyUp(int key)
{
    m_held.erase(key);
    if (m_isDragging && onKeyMeanwhile)
        onKeyMeanwhile(key, false);
    return false;
}

bool CEditorControls::OnMouseDown(int button)
{
    if (m_isDragging)
        return true;
    if (button == renderer::kMouseLeft && !m_isLooking && onPress)
    {
        m_isDragging = onPress(m_mouseX, m_mouseY);
        if (m_isDragging)
            m_input.Capture(this);
    }
    else if (button == renderer::kMouseRight)
        i_SetLooking(true);
    else if (button == renderer::kMouseWheelUp)
        ++m_notches;
    else if (button == renderer::kMouseWheelDown)
        --m_notches;
    return true;
}

bool CEditorControls::OnMouseUp(int button)
{
    if (button == renderer::kMouseRight && m_isLooking)
        i_SetLooking(false);
    else if (button == renderer::kMouseLeft && m_isDragging)
        i_Drop(true);
    return false;
}

bool CEditorControls::OnMouseMove(int x, int y)
{
    if (m_isLooking)
    {
        m_turnX += x - m_mouseX;
        m_turnY += y - m_mouseY;
    }
    m_mouseX = x;
    m_mouseY = y;
    if (m_isDragging && onDrag)
        onDrag(x, y);
    return m_isLooking || m_isDragging;
}

void CEditorControls::i_SetLooking(bool isLooking)
{
    m_isLooking = isLooking;
    if (isLooking)
        m_input.Capture(this);
    else
        m_input.Release(this);
    if (onLooking)
        onLooking(isLooking);
}

void CEditorControls::i_Drop(bool isKept)
{
    m_isDragging = false;
    m_input.Release(this);
    if (onDrop)
        onDrop(isKept);
}

void CEditorControls::Release()
{
    m_held.clear();
    if (m_isDragging)
        i_Drop(true);
    if (m_isLooking)
        i_SetLooking(false);
}

void CEditorControls::Update(TownViewpoint& viewpoint, float seconds, float speed)
{
    if (m_held.empty() && m_turnX == 0 && m_turnY == 0 && m_notches == 0)
        return;
    const auto axis = [this](int plus, int minus)
    { return static_cast<float>(m_held.count(plus)) - static_cast<float>(m_held.count(minus)); };
    float heading = std::atan2(viewpoint.direction.y, viewpoint.direction.x);
    float pitch = std::asin(std::clamp(viewpoint.direction.z, -1.0F, 1.0F));
    heading += axis(renderer::kKeyLeft, renderer::kKeyRight) * kRadiansPerSecond * seconds -
               static_cast<float>(std::exchange(m_turnX, 0)) * kRadiansPerPixel;
    pitch += axis(renderer::kKeyUp, renderer::kKeyDown) * kRadiansPerSecond * seconds -
             static_cast<float>(std::exchange(m_turnY, 0)) * kRadiansPerPixel;
    pitch = std::clamp(pitch, -kSteepest, kSteepest);
    const CVector3 ahead(std::cos(heading) * std::cos(pitch), std::sin(heading) * std::cos(pitch), std::sin(pitch));
    const CVector3 left(-std::sin(heading), std::cos(heading), 0.0F);
    const CVector3 way = ahead * axis('W', 'S') + left * axis('A', 'D') + CVector3(0, 0, axis('E', 'Q'));
    const float metres = speed * (m_held.contains(renderer::kKeyLeftShift) ? kFast : 1.0F) * seconds;
    const auto notches = static_cast<float>(std::exchange(m_notches, 0));
    viewpoint = {viewpoint.eye + way * metres + ahead * (notches * kMetresPerNotch), ahead};
}
