#pragma once

#include "gameengine/export.h"
#include "gameengine/gui/guiWidget/guiKey.h"
#include "gameengine/gui/guiWidget/guiTypes.h"

#include <string>
#include <string_view>
#include <vector>

namespace gui
{
class GuiContext;
class GuiWidget;

/// Who or what a call of `GuiAutomation` is about. Names are not copied: only for use as an argument.
class TAMRAGAMEENGINE_API GuiTarget
{
public:
    /// The id of a widget; or ids from the outside to the inside, "window/list/apply", each somewhere below the one
    /// before; or the text that a widget shows. Tried in this order; the first that fits in the order of the tree.
    GuiTarget(const char* name) : m_name(name ? name : "") {}
    GuiTarget(std::string_view name) : m_name(name) {}
    GuiTarget(const std::string& name) : m_name(name) {}
    GuiTarget(GuiWidget& widget) : m_widget(&widget) {}
    /// A place on the screen, whoever is there.
    GuiTarget(Vec2<int> point) : m_point(point), m_isPoint(true) {}

    std::string_view GetName() const noexcept { return m_name; }
    GuiWidget* GetWidget() const noexcept { return m_widget; }
    bool IsPoint() const noexcept { return m_isPoint; }
    Vec2<int> GetPoint() const noexcept { return m_point; }

private:
    std::string_view m_name;
    GuiWidget* m_widget = nullptr;
    Vec2<int> m_point;
    bool m_isPoint = false;
};

/// Uses the widgets of a context as a person would, by mouse and keyboard, for tests and tools:
///
///     gui::GuiAutomation user(*context);
///     user.Fill("settings/name", "Town hall");
///     user.Click("Apply");
///     EXPECT_TRUE(user.GetText("status", text) && text == "Saved");
///
/// Time passes only here, in passes of `GuiContext::Update` of a 60th of a second, so that the same calls always do the
/// same. Each call ends when the events that it caused were delivered. What cannot be done answers false and logs one
/// line: there is no such widget, it is hidden, covered by another one, locked, or the input belongs to somebody else.
/// The context must have been drawn once, and outlive this.
class TAMRAGAMEENGINE_API GuiAutomation : public NonCopyable
{
public:
    /// Seconds of a pass.
    static constexpr float kStep = 1.0F / 60.0F;

    explicit GuiAutomation(GuiContext& context) : m_context(context) {}

    /// Null, without a line, when there is none. A text is looked for among visible widgets only.
    GuiWidget* FindById(std::string_view id) const;
    GuiWidget* FindByPath(std::string_view path) const;
    GuiWidget* FindByText(std::string_view text) const;
    /// Any of them, as for a target. Null and one line when there is none.
    GuiWidget* Find(std::string_view name) const;

    /// Lets at least so much time pass, and at least a pass.
    void Wait(float seconds);
    /// Brings the mouse to the middle of a widget, which must be what lies there.
    bool MoveTo(const GuiTarget& target);
    /// Clicks so many times in quick succession. A click soon after another call's waits until the two are no double
    /// click.
    bool Click(const GuiTarget& target, unsigned button = kGuiMouseLeft, int count = 1);
    /// Presses at one place and lets go at another, after passes in between. A widget as the destination need not be
    /// uncovered.
    bool Drag(const GuiTarget& from, const GuiTarget& to, unsigned button = kGuiMouseLeft);
    /// Turns the wheel by notches, upwards if positive.
    bool Wheel(const GuiTarget& target, int notches);

    /// Keys held during the calls that follow: bits of `GuiModifier`, 0 to let go.
    void Hold(unsigned modifiers);
    /// A key, with modifiers besides those that are held. It goes to the widget in focus; only Tab needs none.
    bool Press(unsigned key, unsigned modifiers = 0);
    /// Types UTF-8 text into the widget in focus, as key and character each. A line end is Enter, a tab is Tab.
    bool Type(std::string_view text);
    /// Clicks a widget, chooses all its text, and types over it.
    bool Fill(const GuiTarget& target, std::string_view text);

    /// What a widget stores besides what all have, in the order of `docs/gui.md`, texts without quotes.
    bool GetFields(const GuiTarget& target, std::vector<std::string>& fields) const;
    /// The text, caption or title; of lists the chosen item, empty for none.
    bool GetText(const GuiTarget& target, std::string& text) const;
    /// The number of a slider, scroll bar or spinner; 1 or 0 for a check box or radio button; of lists the number of
    /// the chosen item.
    bool GetValue(const GuiTarget& target, float& value) const;

private:
    struct Fields;

    GuiWidget* i_Resolve(const char* act, const GuiTarget& target) const;
    GuiWidget* i_FindAlive(const GuiWidget* widget) const;
    bool i_Aim(const char* act, const GuiTarget& target, bool forInput, Vec2<int>& point);
    bool i_CanType(const char* act, bool needsText) const;
    const GuiWidget* i_Read(const GuiTarget& target, Fields& fields) const;
    void i_Step();
    void i_SendKey(unsigned key, unsigned character);
    void i_SetModifiers(unsigned modifiers);

    GuiContext& m_context;
    unsigned m_held = 0;      // as `Hold` wants it
    unsigned m_modifiers = 0; // as it is now
    float m_sinceClick = 1.0e6F;
};
} // namespace gui
