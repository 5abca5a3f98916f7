#pragma once

#include "apps/sandbox/townPath.h"
#include "tamraengine/renderer/input.h"

#include <functional>
#include <set>
#include <utility>

/// Mouse and keyboard of the view behind the widgets: W A S D Q E and Shift fly, the right button of the mouse looks
/// around, the wheel goes ahead and back, the left button chooses. Keys are held as long as nobody else gets them.
class CEditorControls final : public renderer::CInputListener
{
public:
    explicit CEditorControls(renderer::CInput& input);
    ~CEditorControls() override;

    bool OnKeyDown(int key) override;
    bool OnKeyUp(int key) override;
    bool OnMouseDown(int button) override;
    bool OnMouseUp(int button) override;
    bool OnMouseMove(int x, int y) override;

    /// Lets go of all keys, as when the console gets them.
    void Release();
    /// Moves the camera by the time of a frame, at metres a second.
    void Update(TownViewpoint& viewpoint, float seconds, float speed);

    std::function<void(int x, int y)> onPick;      ///< The left button went down in the view.
    std::function<void(int key)> onKey;            ///< Any other key.
    std::function<void(bool isLooking)> onLooking; ///< To hide the mouse meanwhile.

private:
    void i_SetLooking(bool isLooking);

    renderer::CInput& m_input;
    std::set<int> m_held;
    bool m_isLooking = false;
    int m_mouseX = 0;
    int m_mouseY = 0;
    int m_turnX = 0; // pixels since the last frame
    int m_turnY = 0;
    int m_notches = 0;
};
