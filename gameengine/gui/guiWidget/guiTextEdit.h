#pragma once

#include "gameengine/gui/guiWidget/guiContext.h"
#include "gameengine/gui/guiWidget/guiTextBuffer.h"
#include "gameengine/gui/guiWidget/guiWidget.h"

#include <string>
#include <string_view>
#include <vector>

namespace gui
{
/// How an edit behaves; a set of bits.
enum GuiTextFlag : unsigned
{
    kTextReadOnly = 1, ///< Can be selected and copied only.
    kTextNumber = 2,   ///< A line that takes what a number can start with.
    kTextPassword = 4, ///< A line that shows asterisks, and is not copied.
    kTextTabs = 8,     ///< A box in which Tab is a character; Control and Tab then move the focus.
};

/// Text that is typed, selected and edited by mouse and keyboard, as users know it: Shift selects, Control moves by
/// words; Control and A, C, X, V, Z, Y; two clicks take a word, three the line. Ignores all of it while it is locked or
/// invisible.
///
/// Text is Latin-1, a byte for a character; what is typed beyond that becomes `Font::kBox`. Calls emit no events.
class TAMRAGAMEENGINE_API GuiTextEdit : public GuiWidget, public GuiTextReceiver
{
public:
    void OnKeyPress(unsigned key) override;
    void OnKeyChar(unsigned character) override;
    void OnMouseClick(unsigned button) override;
    void OnMouseRelease(unsigned button) override;
    /// Also chooses what the mouse shows: over the text something else than beside it.
    GuiWidget* GetHoverWidget(int x, int y) override;
    void Tick(float seconds) override;
    void Render() override;
    void SetVisible(bool visible) override;
    void SetLocked(bool locked) override;

    /// Valid until the next edit.
    const std::string& GetText() const noexcept { return m_buffer.GetText(); }
    GuiTextBuffer::Range GetSelection() const noexcept { return m_buffer.GetSelection(); }
    std::size_t GetCursorPlace() const noexcept { return m_buffer.GetCursor(); }
    /// Whether there is an edit by hand to take back, or to do again.
    bool CanUndo() const noexcept { return m_buffer.CanUndo(); }
    bool CanRedo() const noexcept { return m_buffer.CanRedo(); }

protected:
    /// `knownFlags`: bits of `GuiTextFlag` that can be set.
    GuiTextEdit(GuiContext& context, GuiStyle style, const GuiRecti& rect, GuiSizePolicy sizePolicy, bool hasLines,
                unsigned knownFlags);

    // For the classes below that show them.

    /// Nothing happens when it is the same; otherwise undo starts anew. Control characters are left out.
    void SetText(std::string_view text);
    /// Characters from 1 to `GuiTextBuffer::kMaxLength`, which is also meant by 0. Longer texts are cut.
    void SetMaxLength(std::size_t length);
    std::size_t GetMaxLength() const noexcept { return m_buffer.GetMaxLength(); }
    /// Bits of `GuiTextFlag`; those that the class does not know are left out.
    void SetFlags(unsigned flags);
    unsigned GetFlags() const noexcept { return m_flags; }
    /// From `anchor` to `cursor`, which comes into view.
    void Select(std::size_t anchor, std::size_t cursor);
    /// Puts text in place of the selection, in a step that can be undone, as far as it fits.
    void InsertText(std::string_view text);

    /// Where text is seen.
    virtual GuiRecti myGetTextRect() const;
    /// Whether text may take the place of the selection by hand.
    virtual bool myAccepts(std::string_view text) const;
    /// A key that does not move or edit. False when it is of no use.
    virtual bool myOnKey(unsigned key);
    /// The mouse went down, the input is grabbed. False for the text.
    virtual bool myOnPressed();
    /// One notch up (-1) or down (1). False when it is of no use.
    virtual bool myOnWheel(int direction);
    /// The text was changed by hand.
    virtual void myOnEdited() = 0;
    /// The focus went elsewhere, and the text had been changed by hand; maybe the edit is locked by now.
    virtual void myOnLeft() = 0;
    /// Ends what the mouse does.
    virtual void myStopDragging();

    /// The text length in word 0. Nothing while it is locked or invisible.
    void myEmitText(GuiEventType type, unsigned word1 = 0);
    /// Text, maximum length or 0, flags.
    void mySave(GuiStream& stream) const override;
    void myLoad(GuiStream& stream) override;

    /// Changed by hand since this was cleared.
    bool myIsChanged() const noexcept { return m_isChanged; }
    void myClearChanged() noexcept { m_isChanged = false; }
    bool myMakesNumber(std::string_view text) const;
    bool myIsActive() const noexcept { return IsVisible() && !IsLocked(); }
    bool myType(char character);
    void myMoveLines(int lines);
    /// The whole text in pixels, as of the last measurement.
    Vec2<int> myGetContentSize() const;
    Vec2<int> myGetScroll() const noexcept { return m_scroll; }
    /// Pixels of the text before what is seen, kept within it. True when that changed.
    bool myScrollTo(Vec2<int> scroll);
    int myGetLineHeight() const;
    void myMeasure();

private:
    enum class Follow
    {
        No,
        Place,
        Word,
        All
    };

    Vec2<int> i_LimitScroll(Vec2<int> scroll) const;
    void i_UpdateTab();
    GuiTextBuffer::Move i_FindStep(bool isLeft) const;
    bool i_OnMoveKey(unsigned key);
    bool i_OnEraseKey(unsigned key);
    bool i_OnShortcut(unsigned key);
    void i_Copy(bool cut);
    void i_Paste();
    bool i_Apply(bool isEdited);
    void i_ShowCursor();
    void i_NoticeFocus();
    void i_LoseFocus();
    void i_StartSelecting();
    void i_FollowMouse();
    void i_ScrollWhileSelecting(float seconds);
    GuiTextBuffer::Range i_FindUnit(std::size_t place) const;
    std::size_t i_FindPlace(Vec2<int> point);
    Vec2<int> i_GetOrigin(const GuiRecti& area) const;
    std::string_view i_GetShown(std::size_t line) const;
    void i_RenderLine(std::size_t line, const GuiRecti& area, Vec2<int> origin);
    void i_RenderCursor(Vec2<int> origin);

    GuiTextBuffer m_buffer;
    std::string m_mask;        // as long as the text, of a password
    std::vector<int> m_widths; // of lines, in pixels
    int m_widest = 0;
    int m_measuredFont = -1;
    Vec2<int> m_scroll;
    GuiTextBuffer::Range m_grip; // what the first click took, while the mouse selects
    Follow m_follow = Follow::No;
    unsigned m_flags = 0;
    unsigned m_knownFlags;
    float m_blinkTime = 0.0F;
    float m_scrollTime = 0.0F;
    bool m_isCursorShown = true;
    bool m_hasLines;
    bool m_hasFocus = false; // as far as it has noticed
    bool m_isChanged = false;
};

/// One line. When the focus comes by a key or a call everything is selected.
///
/// Emits, with the length of the text in word 0: GET_TEXTEDIT_CHANGED for each change by hand,
/// GET_TEXTEDIT_RETURNPRESSED for Enter, and GET_TEXTEDIT_FINALIZED for Enter (word 1 is 1) or when the focus leaves
/// after a change (word 1 is 0).
class TAMRAGAMEENGINE_API GuiTextEditLine final : public GuiTextEdit
{
public:
    explicit GuiTextEditLine(GuiContext& context, GuiStyle style = 0, const GuiRecti& rect = {},
                             GuiSizePolicy sizePolicy = GuiSizePolicy::ResizeH())
        : GuiTextEdit(context, style, rect, sizePolicy, false, kTextReadOnly | kTextNumber | kTextPassword)
    {
    }

    GuiWidgetType GetType() const override { return GuiWidgetType::TextEditLine; }
    const char* GetTypeString() const override { return "GWT_TEXTEDIT_LINE"; }

    using GuiTextEdit::GetFlags;
    using GuiTextEdit::GetMaxLength;
    using GuiTextEdit::InsertText;
    using GuiTextEdit::Select;
    using GuiTextEdit::SetFlags;
    using GuiTextEdit::SetMaxLength;
    using GuiTextEdit::SetText;

protected:
    bool myAccepts(std::string_view text) const override;
    bool myOnKey(unsigned key) override;
    void myOnEdited() override { myEmitText(GET_TEXTEDIT_CHANGED); }
    void myOnLeft() override { myEmitText(GET_TEXTEDIT_FINALIZED); }
};

/// Any number of lines, with scroll bars where it is too small. Draws only lines that are seen.
///
/// Emits, with the length of the text in word 0: GET_TEXTEDIT_CHANGED for each change by hand, and
/// GET_TEXTEDIT_FINALIZED when the focus leaves after a change.
class TAMRAGAMEENGINE_API GuiTextEditBox final : public GuiTextEdit
{
public:
    explicit GuiTextEditBox(GuiContext& context, GuiStyle style = 0, const GuiRecti& rect = {},
                            GuiSizePolicy sizePolicy = GuiSizePolicy::Expand())
        : GuiTextEdit(context, style, rect, sizePolicy, true, kTextReadOnly | kTextTabs)
    {
    }

    GuiWidgetType GetType() const override { return GuiWidgetType::TextEditBox; }
    const char* GetTypeString() const override { return "GWT_TEXTEDIT_BOX"; }
    void OnMouseRelease(unsigned button) override;
    void Tick(float seconds) override;
    void Render() override;

    using GuiTextEdit::GetFlags;
    using GuiTextEdit::GetMaxLength;
    using GuiTextEdit::InsertText;
    using GuiTextEdit::Select;
    using GuiTextEdit::SetFlags;
    using GuiTextEdit::SetMaxLength;
    using GuiTextEdit::SetText;

protected:
    GuiRecti myGetTextRect() const override;
    bool myOnKey(unsigned key) override;
    bool myOnPressed() override;
    bool myOnWheel(int direction) override;
    void myOnEdited() override { myEmitText(GET_TEXTEDIT_CHANGED); }
    void myOnLeft() override { myEmitText(GET_TEXTEDIT_FINALIZED); }
    void myStopDragging() override;

private:
    static constexpr std::size_t kNone = 2;

    /// The text, and the bars below (0) and beside it (1), which are empty when all is seen.
    struct Panes
    {
        GuiRecti text;
        GuiRecti bars[2];
    };
    Panes i_GetPanes() const;
    GuiRecti i_GetHandle(std::size_t axis, const Panes& panes) const;
    void i_FollowHandle();

    std::size_t m_dragged = kNone; // the bar
    int m_barGrip = 0;             // from the handle's start to the mouse
};
} // namespace gui
