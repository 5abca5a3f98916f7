#pragma once

#include "apps/sandbox/townPath.h"
#include "tamraengine/renderer/input.h"

#include <functional>
#include <set>
#include <utility>

/// Mouse and keyboard of the view behind the widgets: W A S D Q E and Shift fly, the right button of the mouse looks
/// around, the wheel goes ahead and back, the left button chooses and drags. Keys are held as long as nobody else gets
/// them.
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

    /// Lets go of all keys, and of what is dragged, as when the console gets them.
    void Release();
    /// Moves the camera by the time of a frame, at metres a second.
    void Update(TownViewpoint& viewpoint, float seconds, float speed);

    bool IsDragging() const noexcept { return m_isDragging; }

    /// The left button went down in the view. True for a drag: `onDrag` follows, and then `onDrop`.
    std::function<bool(int x, int y)> onPress;
    std::function<void(int x, int y)> onDrag;
    std::function<void(bool isKept)> onDrop; ///< Not kept after Escape.
    /// Keys that change while the mouse drags, when nobody else hears of them: modifiers, and those that come up.
    std::function<void(int key, bool isDown)> onKeyMeanwhile;
    std::function<void(int key)> onKey;            ///< Any other key.
    std::function<void(bool isLooking)> onLooking; ///< To hide the mouse meanwhile.

private:
    void i_SetLooking(bool isLooking);
    void i_Drop(bool isKept);

    renderer::CInput& m_input;
    std::set<int> m_held;
    bool m_isLooking = false;
    bool m_isDragging = false;
    int m_mouseX = 0;
    int m_mouseY = 0;
    int m_turnX = 0; // pixels since the last frame
    int m_turnY = 0;
    int m_notches = 0;
};
