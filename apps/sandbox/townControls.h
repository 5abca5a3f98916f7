#pragma once

#include "apps/sandbox/townPath.h"
#include "tamraengine/renderer/input.h"

class CWindow;

/// What is shown besides the town.
struct TownDebug
{
    bool boxes = false;   ///< The world boxes of what is visible.
    bool cells = false;   ///< The cells of the grid around the camera.
    bool culled = false;  ///< The boxes of what is in the frustum and was left out, over everything.
    bool frozen = false;  ///< Culling stands still while the camera moves on.
    bool figures = false; ///< Times and counts.
    int marked = -1;      ///< Number of an entity whose box is drawn over everything; -1 for none.
};

/// The keyboard and mouse of a flight: steers the camera freely, or lets it follow the path.
class CTownControls : public renderer::CInputListener
{
public:
    CTownControls(CWindow& window, const CTownPath& path, TownDebug& debug);

    bool OnKeyDown(int key) override;
    bool OnMouseMove(int x, int y) override;

    /// Moves on by the time of a frame.
    TownViewpoint Update(float seconds);

    /// How often the key for another culler was pressed since the last call.
    int TakeCullerSteps() noexcept { return std::exchange(m_cullerSteps, 0); }

    static const char* GetHelp();

private:
    void i_SetFree(bool isFree);

    CWindow& m_window;
    const CTownPath& m_path;
    TownDebug& m_debug;
    TownViewpoint m_viewpoint;
    bool m_isFree = false;
    bool m_hasMouse = false; // its last position is known
    int m_mouseX = 0;
    int m_mouseY = 0;
    float m_heading = 0.0F; // radians from +X towards +Y
    float m_pitch = 0.0F;
    double m_turn = 0.0; // of the path
    int m_cullerSteps = 0;
};
