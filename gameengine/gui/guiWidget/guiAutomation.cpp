#include "gameengine/gui/guiWidget/guiAutomation.h"

#include "gameengine/gui/draw2D/font.h"
#include "gameengine/gui/draw2D/latin1.h"
#include "gameengine/gui/guiWidget/guiContext.h"
#include "gameengine/gui/guiWidget/guiLayout.h"
#include "gameengine/gui/guiWidget/guiStream.h"
#include "tamradeps/core/log.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <utility>

namespace gui
{
namespace
{
constexpr float kNoDoubleClick = 0.5F; // seconds after which nobody takes two clicks for one
constexpr int kDragSteps = 8;
constexpr std::size_t kCommonFields = 10; // of each line: id, rectangle, anchors, dock, size policies, style
constexpr std::array<std::pair<unsigned, unsigned>, 3> kModifierKeys = {
    {{kGuiShift, kGuiKeyLeftShift}, {kGuiControl, kGuiKeyLeftControl}, {kGuiAlt, kGuiKeyLeftAlt}}};

std::string Describe(const GuiWidget& widget)
{
    return widget.GetId().empty() ? std::string("a ") + widget.GetTypeString()
                                  : '"' + tamra::log::Quoted(widget.GetId()) + '"';
}

std::string Describe(const GuiTarget& target)
{
    if (target.GetWidget())
        return Describe(*target.GetWidget());
    if (target.IsPoint())
        return std::to_string(target.GetPoint().x) + "," + std::to_string(target.GetPoint().y);
    return '"' + tamra::log::Quoted(target.GetName()) + '"';
}

bool Fail(const char* act, const std::string& who, const std::string& why)
{
    tamra::log::Error("gui::GuiAutomation: cannot " + std::string(act) + " " + who + ": " + why);
    return false;
}

// Of the ancestor only the address counts.
bool IsWithin(const GuiWidget* widget, const GuiWidget* ancestor)
{
    while (widget && widget != ancestor)
        widget = widget->GetParent();
    return widget != nullptr;
}

// The widget itself or the nearest around it for which the question is answered with yes.
template <class Question>
const GuiWidget* FindUpwards(const GuiWidget& widget, Question question)
{
    const GuiWidget* found = &widget;
    while (found && !question(*found))
        found = found->GetParent();
    return found;
}

// The first widget at or below this one, in the order of the tree, for which the question is answered with yes.
template <class Question>
GuiWidget* FindDownwards(GuiWidget& widget, Question question)
{
    if (question(widget))
        return &widget;
    const GuiLayout* const layout = widget.AsLayout();
    for (std::size_t i = 0; layout && i < layout->GetChildCount(); ++i)
    {
        if (GuiWidget* const found = FindDownwards(*layout->GetChild(i), question))
            return found;
    }
    return nullptr;
}

bool IsSeen(const GuiWidget& widget)
{
    return !FindUpwards(widget, [](const GuiWidget& w) { return !w.IsVisible(); });
}

template <class Number>
bool ToNumber(const std::string& text, Number& number)
{
    return std::from_chars(text.data(), text.data() + text.size(), number).ec == std::errc{};
}

// Which of a type's own fields is its value, from the end.
int GetValueField(GuiWidgetType type)
{
    switch (type)
    {
    case GuiWidgetType::CheckBox:
    case GuiWidgetType::RadioButton:
    case GuiWidgetType::Slider:
    case GuiWidgetType::ScrollBarH:
    case GuiWidgetType::ScrollBarV:
    case GuiWidgetType::DropList: return 1;
    case GuiWidgetType::ListBox: return 2;
    case GuiWidgetType::Spinner: return 3;
    default: return 0;
    }
}
} // namespace

struct GuiAutomation::Fields
{
    std::vector<std::string> own;
    bool startsWithText = false;

    // False, with nothing read, for one that lies too deep.
    bool Read(const GuiWidget& widget)
    {
        GuiStream stream;
        if (!widget.Save(stream))
            return false;
        std::string field;
        stream.ReadNumberOfTabs();
        stream.ReadSimpleString(field); // the type
        const auto at = static_cast<std::size_t>(stream.GetDataPosition());
        startsWithText = at < stream.GetData().size() && stream.GetData()[at] == '"';
        while (stream.GetDataPosition() < stream.GetReadEnd() && stream.ReadQuotedString(field))
            own.push_back(field);
        if (own.size() < kCommonFields)
            return false;
        own.resize(own.size() - kCommonFields);
        startsWithText = startsWithText && !own.empty();
        return true;
    }
    const std::string* GetValue(GuiWidgetType type) const
    {
        const auto fromEnd = static_cast<std::size_t>(GetValueField(type));
        return fromEnd > 0 && fromEnd <= own.size() ? &own[own.size() - fromEnd] : nullptr;
    }
    // False for a widget without any.
    bool GetText(GuiWidgetType type, std::string& text) const
    {
        if (startsWithText)
        {
            text = own[0];
            return true;
        }
        const std::string* const value = GetValue(type);
        if (!value || (type != GuiWidgetType::DropList && type != GuiWidgetType::ListBox))
            return false;
        int chosen = -1;
        int count = 0;
        ToNumber(own[0], count);
        ToNumber(*value, chosen);
        text = chosen >= 0 && chosen < count ? own[static_cast<std::size_t>(chosen) + 1] : std::string();
        return true;
    }
};

GuiWidget* GuiAutomation::FindById(std::string_view id) const
{
    return m_context.GetRoot().FindChild(id);
}

GuiWidget* GuiAutomation::FindByPath(std::string_view path) const
{
    GuiWidget* found = &m_context.GetRoot();
    for (std::size_t start = 0; found && start <= path.size();)
    {
        const std::size_t end = std::min(path.find('/', start), path.size());
        const std::string_view id = path.substr(start, end - start);
        GuiWidget* const outer = found;
        found = FindDownwards(*outer, [&](const GuiWidget& w) { return &w != outer && w.GetId() == id; });
        start = end + 1;
    }
    return found;
}

GuiWidget* GuiAutomation::FindByText(std::string_view text) const
{
    const std::string latin1 = ToLatin1(text);
    const auto shows = [&](const GuiWidget& widget)
    {
        Fields fields;
        std::string shown;
        return fields.Read(widget) && fields.GetText(widget.GetType(), shown) && shown == latin1 && IsSeen(widget);
    };
    return FindDownwards(m_context.GetRoot(), shows);
}

GuiWidget* GuiAutomation::Find(std::string_view name) const
{
    return i_Resolve("find", name);
}

void GuiAutomation::Wait(float seconds)
{
    const int passes = std::isfinite(seconds) ? static_cast<int>(std::ceil(seconds / kStep)) : 0;
    int pass = 0;
    do
        i_Step();
    while (++pass < passes);
}

bool GuiAutomation::MoveTo(const GuiTarget& target)
{
    Vec2<int> point;
    return i_Aim("reach", target, false, point);
}

bool GuiAutomation::Click(const GuiTarget& target, unsigned button, int count)
{
    Vec2<int> point;
    if (m_sinceClick < kNoDoubleClick)
        Wait(kNoDoubleClick - m_sinceClick);
    if (!i_Aim("click", target, true, point))
        return false;
    for (int i = 0; i < count; ++i)
    {
        m_context.PushMouseClick(button);
        i_Step();
        m_context.PushMouseRelease(button);
        i_Step();
    }
    i_Step(); // events of the last pass
    m_sinceClick = 0.0F;
    return true;
}

bool GuiAutomation::Drag(const GuiTarget& from, const GuiTarget& to, unsigned button)
{
    Vec2<int> end = to.GetPoint();
    if (!to.IsPoint())
    {
        const GuiWidget* const widget = i_Resolve("drag to", to);
        if (!widget)
            return false;
        const GuiRecti rect = widget->GetRect();
        end = {rect.x + rect.w / 2, rect.y + rect.h / 2};
    }
    Vec2<int> start;
    if (m_sinceClick < kNoDoubleClick)
        Wait(kNoDoubleClick - m_sinceClick);
    if (!i_Aim("drag", from, true, start))
        return false;
    m_context.PushMouseClick(button);
    i_Step();
    for (int i = 1; i <= kDragSteps; ++i)
    {
        m_context.SetMousePos(start.x + (end.x - start.x) * i / kDragSteps,
                              start.y + (end.y - start.y) * i / kDragSteps);
        i_Step();
    }
    m_context.PushMouseRelease(button);
    i_Step();
    i_Step();
    m_sinceClick = 0.0F;
    return true;
}

bool GuiAutomation::Wheel(const GuiTarget& target, int notches)
{
    Vec2<int> point;
    if (!i_Aim("turn the wheel over", target, true, point))
        return false;
    const unsigned button = notches > 0 ? kGuiMouseWheelUp : kGuiMouseWheelDown;
    for (int i = 0; i < std::abs(notches); ++i)
    {
        m_context.PushMouseClick(button);
        m_context.PushMouseRelease(button);
        i_Step();
    }
    i_Step();
    return true;
}

void GuiAutomation::Hold(unsigned modifiers)
{
    m_held = modifiers;
    i_SetModifiers(modifiers);
    i_Step();
}

bool GuiAutomation::Press(unsigned key, unsigned modifiers)
{
    if (key != kGuiKeyTab && !i_CanType("press a key in", false))
        return false;
    i_SetModifiers(m_held | modifiers);
    i_SendKey(key, 0);
    i_SetModifiers(m_held);
    i_Step();
    i_Step();
    return true;
}

bool GuiAutomation::Type(std::string_view text)
{
    for (const char c : ToLatin1(text))
    {
        if (!i_CanType("type into", c != '\n' && c != '\t'))
            return false;
        const auto character = static_cast<unsigned char>(c);
        if (c == '\n')
            i_SendKey(kGuiKeyEnter, 0);
        else if (c == '\t')
            i_SendKey(kGuiKeyTab, 0);
        else if (c >= 'a' && c <= 'z')
            i_SendKey(character - 'a' + 'A', character);
        else if (c >= 'A' && c <= 'Z')
        {
            i_SetModifiers(m_held | kGuiShift);
            i_SendKey(character, character);
            i_SetModifiers(m_held);
        }
        else
            i_SendKey((c >= '0' && c <= '9') || c == ' ' ? character : 0, character);
        i_Step();
    }
    i_Step();
    return true;
}

bool GuiAutomation::Fill(const GuiTarget& target, std::string_view text)
{
    if (!Click(target) || !Press('A', kGuiControl))
        return false;
    return text.empty() ? Press(kGuiKeyDelete) : Type(text);
}

bool GuiAutomation::GetFields(const GuiTarget& target, std::vector<std::string>& fields) const
{
    Fields read;
    if (!i_Read(target, read))
        return false;
    fields = std::move(read.own);
    return true;
}

bool GuiAutomation::GetText(const GuiTarget& target, std::string& text) const
{
    Fields fields;
    const GuiWidget* const widget = i_Read(target, fields);
    return widget && (fields.GetText(widget->GetType(), text) || Fail("read", Describe(target), "it has no text"));
}

bool GuiAutomation::GetValue(const GuiTarget& target, float& value) const
{
    Fields fields;
    const GuiWidget* const widget = i_Read(target, fields);
    if (!widget)
        return false;
    const std::string* const field = fields.GetValue(widget->GetType());
    return (field && ToNumber(*field, value)) || Fail("read", Describe(target), "it has no value");
}

// The widget that is meant; null, logged, for none, and for a place.
GuiWidget* GuiAutomation::i_Resolve(const char* act, const GuiTarget& target) const
{
    GuiWidget* found = nullptr;
    if (const GuiWidget* const widget = target.GetWidget())
        found = i_FindAlive(widget);
    else if (!target.IsPoint())
    {
        found = FindById(target.GetName());
        if (!found && target.GetName().find('/') != std::string_view::npos)
            found = FindByPath(target.GetName());
        if (!found)
            found = FindByText(target.GetName());
    }
    // One that is gone can only be spoken of.
    if (!found)
        Fail(act, target.GetWidget() ? "the widget" : Describe(target), "there is no such widget");
    return found;
}

// The widget, if it is still in the tree.
GuiWidget* GuiAutomation::i_FindAlive(const GuiWidget* widget) const
{
    return FindDownwards(m_context.GetRoot(), [&](const GuiWidget& w) { return &w == widget; });
}

// Brings the mouse to the target, and finds out whether what is done there reaches it.
bool GuiAutomation::i_Aim(const char* act, const GuiTarget& target, bool forInput, Vec2<int>& point)
{
    i_Step(); // so that everything is where it belongs
    point = target.GetPoint();
    GuiWidget* const widget = target.IsPoint() ? nullptr : i_Resolve(act, target);
    if (!widget && !target.IsPoint())
        return false;
    std::string who;
    if (widget)
    {
        who = Describe(target);
        if (const auto* hidden = FindUpwards(*widget, [](const GuiWidget& w) { return !w.IsVisible(); }))
            return Fail(act, who,
                        hidden == widget ? "it is hidden" : "it lies in " + Describe(*hidden) + ", which is hidden");
        if (const auto* locked = FindUpwards(*widget, [](const GuiWidget& w) { return w.IsLocked(); });
            locked && forInput)
            return Fail(act, who, "it is locked");
        const GuiRecti rect = widget->GetRect();
        point = {rect.x + rect.w / 2, rect.y + rect.h / 2};
    }
    m_context.SetMousePos(point.x, point.y);
    i_Step();
    if (!widget)
        return true;
    // It may be gone by now, so only its address counts.
    const GuiWidget* const hover = m_context.GetHoverWidget();
    const GuiWidget* const grabber = m_context.GetInputWidget();
    if (forInput && grabber && grabber != widget)
        return Fail(act, who, Describe(*grabber) + " has all input");
    if (IsWithin(hover, widget) || grabber == widget)
        return true;
    if (!i_FindAlive(widget))
        return Fail(act, who, "it was destroyed when the mouse came");
    if (const GuiWidget* const modal = m_context.GetModal(); modal && !IsWithin(widget, modal))
        return Fail(act, who, Describe(*modal) + " has to be closed first");
    if (!hover || IsWithin(widget, hover))
        return Fail(act, who, "nothing of it is seen at its middle");
    return Fail(act, who, "it is covered by " + Describe(*hover));
}

bool GuiAutomation::i_CanType(const char* act, bool needsText) const
{
    GuiWidget* const grabber = m_context.GetInputWidget();
    GuiWidget* const focus = grabber && !needsText ? grabber : m_context.GetFocusWidget();
    if (!focus)
        return Fail(act, "the widget in focus", "there is none");
    if (focus->IsLocked())
        return Fail(act, Describe(*focus), "it is locked");
    if (needsText && !dynamic_cast<GuiTextReceiver*>(focus))
        return Fail(act, Describe(*focus), "it takes no text");
    return true;
}

// The widget and its fields; null, logged, when that fails.
const GuiWidget* GuiAutomation::i_Read(const GuiTarget& target, Fields& fields) const
{
    const GuiWidget* const widget = i_Resolve("read", target);
    if (!widget || fields.Read(*widget))
        return widget;
    Fail("read", Describe(*widget), "it lies too deep");
    return nullptr;
}

void GuiAutomation::i_Step()
{
    m_context.Update(kStep);
    m_sinceClick += kStep;
}

// Key 0 is a character alone.
void GuiAutomation::i_SendKey(unsigned key, unsigned character)
{
    if (key != 0)
        m_context.PushKeyPress(key);
    if (character != 0)
        m_context.PushKeyChar(character);
    if (key != 0)
        m_context.PushKeyRelease(key);
}

void GuiAutomation::i_SetModifiers(unsigned modifiers)
{
    for (const auto& [bit, key] : kModifierKeys)
    {
        if ((modifiers & bit) != 0 && (m_modifiers & bit) == 0)
            m_context.PushKeyPress(key);
        else if ((modifiers & bit) == 0 && (m_modifiers & bit) != 0)
            m_context.PushKeyRelease(key);
    }
    m_modifiers = modifiers;
}
} // namespace gui
