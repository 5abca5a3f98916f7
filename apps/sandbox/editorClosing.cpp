#include "apps/sandbox/editorClosing.h"

#include "apps/sandbox/editorWidgets.h"
#include "gameengine/gui/guiWidget/guiLayout.h"
#include "gameengine/gui/guiWidget/guiWidgetFile.h"

#include <string_view>
#include <utility>

CEditorClosing::CEditorClosing(gui::GuiContext& context, Answered answered) : m_answered(std::move(answered))
{
    gui::GuiFreeLayout& root = context.GetRoot();
    if (!gui::LoadWidgetFile(root, "gui/editor_closing.gui"))
        return;
    m_window = FindWidget<gui::GuiWindow>(root, "closing");
    if (!m_window)
        return;
    m_save = FindWidget<gui::GuiButton>(*m_window, "closingSave");
    m_window->SetCallback(this);
    m_window->SetVisible(false);
}

void CEditorClosing::Open()
{
    if (IsOpen())
        return;
    const gui::GuiRecti room = m_window->GetParent()->GetRect();
    m_window->SetPos((room.w - m_window->GetRect().w) / 2, (room.h - m_window->GetRect().h) / 2);
    m_window->SetVisible(true);
    m_window->GetContext().GrabFocus(m_save);
}

bool CEditorClosing::OnGuiEvent(const char* name, const gui::GuiEvent& event)
{
    const std::string_view id = name;
    const bool isClicked = event.type == gui::GET_BUTTON_RELEASED && event.GetInt(0) == 1;
    if (!isClicked && event.type != gui::GET_WINDOW_CLOSE)
        return true;
    m_window->SetVisible(false);
    if (isClicked && id == "closingSave")
        m_answered(Answer::Save);
    else if (isClicked && id == "closingDiscard")
        m_answered(Answer::Discard);
    else
        m_answered(Answer::Cancel);
    return true;
}
