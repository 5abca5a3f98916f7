#include "gameengine/gui/guiWidget/guiTextEdit.h"

#include "gameengine/gui/draw2D/font.h"
#include "gameengine/gui/guiWidget/guiStream.h"
#include "gameengine/gui/guiWidget/guiTextColumnsInternal.h"

#include <algorithm>
#include <cmath>

namespace gui
{
namespace
{
using Move = GuiTextBuffer::Move;

constexpr float kBlinkTime = 0.5F;   // seconds that the cursor is seen, or not
constexpr float kScrollTime = 0.05F; // seconds between steps while the mouse selects beyond the edge
constexpr int kScrollReach = 40;     // pixels of such a step at most

// Whether a number can start like this: sign, digits with one point among them, and an exponent.
bool StartsNumber(std::string_view text)
{
    const auto skip = [&](std::string_view any, std::size_t most)
    {
        std::size_t count = std::min(text.find_first_not_of(any), text.size());
        count = std::min(count, most);
        text.remove_prefix(count);
        return count;
    };
    constexpr std::string_view kDigits = "0123456789";
    skip("+-", 1);
    std::size_t digits = skip(kDigits, text.size());
    skip(".", 1);
    digits += skip(kDigits, text.size());
    if (digits > 0 && skip("eE", 1) > 0)
    {
        skip("+-", 1);
        skip(kDigits, text.size());
    }
    return text.empty();
}

std::string_view Trim(std::string_view text, std::string_view blanks)
{
    text.remove_prefix(std::min(text.find_first_not_of(blanks), text.size()));
    return text.substr(0, text.find_last_not_of(blanks) + 1);
}
} // namespace

GuiTextEdit::GuiTextEdit(GuiContext& context, GuiStyle style, const GuiRecti& rect, GuiSizePolicy sizePolicy,
                         bool hasLines, unsigned knownFlags)
    : GuiWidget(context, style, rect, sizePolicy),
      m_buffer(hasLines),
      m_knownFlags(knownFlags),
      m_hasLines(hasLines)
{
    SetFocusable(true);
    SetCursor(GuiCursor::Text);
    myKeepPicture();
}

void GuiTextEdit::SetText(std::string_view text)
{
    if (text == m_buffer.GetText())
        return;
    m_buffer.SetText(text);
    m_scroll = {};
    m_follow = Follow::No;
    Redraw();
}

void GuiTextEdit::SetMaxLength(std::size_t length)
{
    m_buffer.SetMaxLength(length > 0 ? length : GuiTextBuffer::kMaxLength);
    Redraw();
}

void GuiTextEdit::SetFlags(unsigned flags)
{
    m_flags = flags & m_knownFlags;
    i_UpdateTab();
    m_measuredFont = -1;
    Redraw();
}

// Where Tab is no character it moves the focus.
void GuiTextEdit::i_UpdateTab()
{
    SetTakesTab((m_flags & kTextTabs) != 0 && (m_flags & kTextReadOnly) == 0 && myIsActive());
}

void GuiTextEdit::Select(std::size_t anchor, std::size_t cursor)
{
    m_buffer.Select(anchor, cursor);
    i_ShowCursor();
}

void GuiTextEdit::InsertText(std::string_view text)
{
    if (m_buffer.Insert(text))
        i_ShowCursor();
}

void GuiTextEdit::SetVisible(bool visible)
{
    GuiWidget::SetVisible(visible);
    i_UpdateTab();
    if (!visible)
        myStopDragging();
}

void GuiTextEdit::SetLocked(bool locked)
{
    GuiWidget::SetLocked(locked);
    i_UpdateTab();
    if (locked)
        myStopDragging();
}

GuiWidget* GuiTextEdit::GetHoverWidget(int x, int y)
{
    GuiWidget* const hover = GuiWidget::GetHoverWidget(x, y);
    if (hover)
    {
        const Vec2<int> end = myGetTextRect().BR();
        const int border = myGetStyle().padding;
        SetCursor(x < end.x + border && y < end.y + border ? GuiCursor::Text : GuiCursor::Arrow);
    }
    return hover;
}

GuiRecti GuiTextEdit::myGetTextRect() const
{
    const GuiRecti rect = GetRect();
    const int border = myGetStyle().padding;
    return {rect.x + border, rect.y + 1, std::max(rect.w - 2 * border, 0), std::max(rect.h - 2, 0)};
}

bool GuiTextEdit::myAccepts(std::string_view) const
{
    return true;
}
bool GuiTextEdit::myOnKey(unsigned)
{
    return false;
}
bool GuiTextEdit::myOnPressed()
{
    return false;
}
bool GuiTextEdit::myOnWheel(int)
{
    return false;
}

void GuiTextEdit::myEmitText(GuiEventType type, unsigned word1)
{
    if (!myIsActive())
        return;
    GuiEvent event{type};
    event.SetInt(0, static_cast<int>(m_buffer.GetLength()));
    event.payload[1] = word1;
    myEmitEvent(GetId(), event);
}

void GuiTextEdit::mySave(GuiStream& stream) const
{
    const std::size_t length = m_buffer.GetMaxLength();
    stream.WriteQuotedString(m_buffer.GetText());
    stream.WriteInteger(length == GuiTextBuffer::kMaxLength ? 0 : static_cast<int>(length));
    stream.WriteInteger(static_cast<int>(m_flags));
}

void GuiTextEdit::myLoad(GuiStream& stream)
{
    std::string text = m_buffer.GetText();
    stream.ReadQuotedString(text);
    const std::int32_t place = stream.GetDataPosition();
    if (int length = 0; stream.ReadInteger(length))
    {
        if (length < 0)
            stream.MarkFault(place);
        SetMaxLength(static_cast<std::size_t>(std::max(length, 0)));
    }
    SetText(text);
    if (int flags = 0; stream.ReadInteger(flags))
        SetFlags(static_cast<unsigned>(flags));
}

bool GuiTextEdit::myMakesNumber(std::string_view text) const
{
    const GuiTextBuffer::Range range = m_buffer.GetSelection();
    std::string whole = m_buffer.GetText();
    whole.replace(range.begin, range.end - range.begin, m_buffer.Fit(text));
    return StartsNumber(whole);
}

bool GuiTextEdit::myType(char character)
{
    return (m_flags & kTextReadOnly) == 0 && myAccepts({&character, 1}) && i_Apply(m_buffer.Type(character));
}

void GuiTextEdit::myMoveLines(int lines)
{
    const bool select = (GetContext().GetModifiers() & kGuiShift) != 0;
    m_buffer.MoveLines(lines, select, FontColumns(myGetDraw(), myGetStyle().font));
    i_ShowCursor();
}

void GuiTextEdit::OnKeyChar(unsigned character)
{
    if (!myIsActive())
        return;
    i_NoticeFocus();
    const unsigned modifiers = GetContext().GetModifiers();
    const bool isShortcut = (modifiers & kGuiControl) != 0 && (modifiers & kGuiAlt) == 0;
    if (isShortcut || character < 0x20 || (character >= 0x7F && character < 0xA0))
        return;
    myType(static_cast<char>(character <= 0xFF ? character : Font::kBox));
}

void GuiTextEdit::OnKeyPress(unsigned key)
{
    const unsigned modifiers = GetContext().GetModifiers();
    i_NoticeFocus();
    if (myIsActive() && (i_OnMoveKey(key) || i_OnEraseKey(key) || i_OnShortcut(key) || myOnKey(key)))
        return;
    // What types a character follows as one.
    if (key > 0xFF || (modifiers & (kGuiControl | kGuiAlt)) != 0)
        myPassKey(key);
}

// By a character; by a word with Control, or by all of a password, whose words are no one's business.
GuiTextBuffer::Move GuiTextEdit::i_FindStep(bool isLeft) const
{
    if ((GetContext().GetModifiers() & kGuiControl) == 0)
        return isLeft ? Move::Left : Move::Right;
    if ((m_flags & kTextPassword) != 0)
        return isLeft ? Move::TextStart : Move::TextEnd;
    return isLeft ? Move::WordLeft : Move::WordRight;
}

bool GuiTextEdit::i_OnMoveKey(unsigned key)
{
    const unsigned modifiers = GetContext().GetModifiers();
    const bool isControl = (modifiers & kGuiControl) != 0;
    Move move{};
    switch (key)
    {
    case kGuiKeyLeft:
    case kGuiKeyRight: move = i_FindStep(key == kGuiKeyLeft); break;
    case kGuiKeyHome: move = isControl ? Move::TextStart : Move::LineStart; break;
    case kGuiKeyEnd: move = isControl ? Move::TextEnd : Move::LineEnd; break;
    default: return false;
    }
    m_buffer.MoveCursor(move, (modifiers & kGuiShift) != 0);
    i_ShowCursor();
    return true;
}

bool GuiTextEdit::i_OnEraseKey(unsigned key)
{
    if (key != kGuiKeyBackspace && key != kGuiKeyDelete)
        return false;
    if (key == kGuiKeyDelete && (GetContext().GetModifiers() & kGuiShift) != 0)
        i_Copy(true);
    else if ((m_flags & kTextReadOnly) == 0)
        i_Apply(m_buffer.Erase(i_FindStep(key == kGuiKeyBackspace)));
    return true;
}

bool GuiTextEdit::i_OnShortcut(unsigned key)
{
    const unsigned modifiers = GetContext().GetModifiers();
    const bool isShift = (modifiers & kGuiShift) != 0;
    const bool isWritable = (m_flags & kTextReadOnly) == 0;
    if (key == kGuiKeyInsert && isShift)
    {
        i_Paste();
        return true;
    }
    if ((modifiers & kGuiControl) == 0 || (modifiers & kGuiAlt) != 0)
        return false;
    switch (key)
    {
    case 'A':
        m_buffer.SelectAll();
        Redraw();
        return true;
    case 'C':
    case kGuiKeyInsert: i_Copy(false); return true;
    case 'X': i_Copy(true); return true;
    case 'V': i_Paste(); return true;
    case 'Z':
        if (isWritable)
            i_Apply(isShift ? m_buffer.Redo() : m_buffer.Undo());
        return true;
    case 'Y':
        if (isWritable)
            i_Apply(m_buffer.Redo());
        return true;
    default: return false;
    }
}

void GuiTextEdit::i_Copy(bool cut)
{
    if (!m_buffer.HasSelection() || (m_flags & kTextPassword) != 0)
        return;
    GetContext().SetClipboard(m_buffer.GetSelectedText());
    if (cut && (m_flags & kTextReadOnly) == 0)
        i_Apply(m_buffer.EraseSelection());
}

void GuiTextEdit::i_Paste()
{
    if ((m_flags & kTextReadOnly) != 0)
        return;
    const std::string clipboard = GetContext().GetClipboard();
    std::string_view text = clipboard;
    // A line is often copied with its end, and a number with blanks.
    if (!m_hasLines)
        text = Trim(text, "\r\n");
    if (!myAccepts(text))
        text = Trim(text, " \t\r\n");
    if (!text.empty() && myAccepts(text))
        i_Apply(m_buffer.Insert(text));
}

// What follows an edit by hand.
bool GuiTextEdit::i_Apply(bool isEdited)
{
    if (!isEdited)
        return false;
    m_isChanged = true;
    m_follow = Follow::No;
    i_ShowCursor();
    myOnEdited();
    return true;
}

void GuiTextEdit::i_NoticeFocus()
{
    if (m_hasFocus || !myIsFocusWidget() || !myIsActive())
        return;
    m_hasFocus = true;
    m_isCursorShown = true;
    m_blinkTime = 0.0F;
    SetTicking(true);
    if (!m_hasLines)
        m_buffer.SelectAll();
}

void GuiTextEdit::i_LoseFocus()
{
    m_hasFocus = false;
    SetTicking(false);
    Redraw();
    if (m_isChanged)
        myOnLeft();
    m_isChanged = false;
}

void GuiTextEdit::OnMouseClick(unsigned button)
{
    const bool isWheel = button == kGuiMouseWheelUp || button == kGuiMouseWheelDown;
    if (isWheel && myIsActive())
    {
        myMeasure();
        if (myOnWheel(button == kGuiMouseWheelUp ? -1 : 1))
            return;
    }
    if (button != kGuiMouseLeft)
        return myPassClick(button);
    if (!myIsHoverWidget() || !myIsActive())
        return;
    myGrabInput();
    myGrabFocus();
    m_hasFocus = true; // without selecting everything
    SetTicking(true);
    Redraw();
    myMeasure();
    if (!myOnPressed())
        i_StartSelecting();
}

void GuiTextEdit::OnMouseRelease(unsigned button)
{
    if (button != kGuiMouseLeft)
        return;
    if (m_follow != Follow::No)
        i_FollowMouse();
    myStopDragging();
}

void GuiTextEdit::myStopDragging()
{
    m_follow = Follow::No;
    myReleaseInput();
}

void GuiTextEdit::Tick(float seconds)
{
    if (!myIsFocusWidget())
        return i_LoseFocus();
    if (m_follow != Follow::No && !myIsInputWidget())
        m_follow = Follow::No;
    if (m_follow != Follow::No)
    {
        i_ScrollWhileSelecting(seconds);
        i_FollowMouse();
    }
    m_blinkTime += seconds;
    if (m_blinkTime < kBlinkTime)
        return;
    m_blinkTime = std::fmod(m_blinkTime, kBlinkTime);
    m_isCursorShown = !m_isCursorShown;
    Redraw();
}

void GuiTextEdit::i_StartSelecting()
{
    const std::size_t place = i_FindPlace(myGetMousePos());
    const int clicks = GetContext().GetClickCount();
    const bool isSecret = (m_flags & kTextPassword) != 0;
    m_follow = clicks < 2 ? Follow::Place : clicks == 2 && !isSecret ? Follow::Word : Follow::All;
    m_scrollTime = 0.0F;
    if (clicks < 2 && (GetContext().GetModifiers() & kGuiShift) != 0)
        m_grip = {m_buffer.GetAnchor(), m_buffer.GetAnchor()};
    else
        m_grip = i_FindUnit(place);
    i_FollowMouse();
    m_isCursorShown = true;
    m_blinkTime = 0.0F;
}

GuiTextBuffer::Range GuiTextEdit::i_FindUnit(std::size_t place) const
{
    if (m_follow == Follow::Word)
        return m_buffer.FindWord(place);
    if (m_follow == Follow::All)
        return m_buffer.FindWholeLine(place);
    return {place, place};
}

// The selection goes from what the first click took to what is under the mouse, in whole words or lines.
void GuiTextEdit::i_FollowMouse()
{
    const GuiTextBuffer::Range unit = i_FindUnit(i_FindPlace(myGetMousePos()));
    const bool isBefore = unit.begin < m_grip.begin;
    const std::size_t anchor = isBefore ? m_grip.end : m_grip.begin;
    const std::size_t cursor = isBefore ? unit.begin : std::max(unit.end, m_grip.end);
    if (anchor == m_buffer.GetAnchor() && cursor == m_buffer.GetCursor())
        return;
    m_buffer.Select(anchor, cursor);
    Redraw();
}

void GuiTextEdit::i_ScrollWhileSelecting(float seconds)
{
    m_scrollTime += seconds;
    if (m_scrollTime < kScrollTime)
        return;
    m_scrollTime = std::fmod(m_scrollTime, kScrollTime);
    const GuiRecti area = myGetTextRect();
    const Vec2<int> mouse = myGetMousePos();
    Vec2<int> scroll = m_scroll;
    if (mouse.x < area.x || mouse.x >= area.BR().x)
        scroll.x += mouse.x < area.x ? -kScrollReach : kScrollReach;
    if (m_hasLines && (mouse.y < area.y || mouse.y >= area.BR().y))
        scroll.y += mouse.y < area.y ? -myGetLineHeight() : myGetLineHeight();
    myScrollTo(scroll);
}
} // namespace gui
