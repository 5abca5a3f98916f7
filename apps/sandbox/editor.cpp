#include "apps/sandbox/editor.h"

#include "apps/sandbox/editorWidgets.h"
#include "corvex/window.h"
#include "gameengine/gui/draw2D/font.h"
#include "gameengine/gui/draw2D/latin1.h"
#include "gameengine/gui/guiWidget/guiWidgetFile.h"

#include <string_view>

using namespace gui;

namespace
{
// The size for which the files of the windows were made.
constexpr GuiRecti kDesign(0, 0, 1280, 720);
constexpr int kKeyDelete = 261;
} // namespace

CEditor::CEditor(CTamraGameEngine& engine) : m_engine(engine), m_town(engine.GetRenderer()) {}

CEditor::~CEditor()
{
    m_engine.GetRenderer().GetInput().RemoveListener(this);
    if (m_adapter)
        m_engine.GetRenderer().GetInput().RemoveListener(m_adapter.get());
    m_engine.GetConsole().SetClipboardWriter({});
}

const char* CEditor::GetHelp()
{
    return "F1: console   F2: entities   F3: properties   F4: view   F5: statistics   F6: keyboard to the view\n"
           "In the view: W A S D Q E, Shift, arrows: fly; right button: look around; left button: select; Delete\n"
           "Dragging what is selected moves it over the ground, with Shift up and down, with Control it pulls a side;\n"
           "Escape takes that back\n"
           "Control and S: save; Control and Z, Y: undo, redo";
}

bool CEditor::Initialize(const std::string& scene, int width, int height, TownCuller culler, CWindow* window)
{
    m_window = window;
    if (!m_town.Load(scene, width, height, culler) || !GuiContext::Create(m_engine.GetDraw(), m_context))
        return false;
    m_context->GetRoot().SetRect(kDesign);
    if (!i_LoadWindows())
        return false;
    CGuiConsole& console = m_engine.GetConsole();
    m_commands = std::make_unique<CEditorCommands>(m_town, console, [this] { return m_statistics->GetFigures(); });
    if (window)
        console.SetClipboardWriter([window](const std::string& text) { window->SetClipboard(text); });
    renderer::CInput& input = m_engine.GetRenderer().GetInput();
    m_adapter = std::make_unique<GuiInputAdapter>(*m_context, window);
    input.AddListener(m_adapter.get());
    input.AddListener(this);
    m_controls = std::make_unique<CEditorControls>(input);
    i_ConnectControls();
    return true;
}

bool CEditor::i_LoadWindows()
{
    m_picker = std::make_unique<CEditorColorPicker>(*m_context);
    m_entities = std::make_unique<CEditorEntities>(m_town, *m_context);
    m_properties = std::make_unique<CEditorProperties>(m_town, *m_context, *m_picker);
    m_view = std::make_unique<CEditorView>(m_town, *m_context, *m_picker);
    m_statistics = std::make_unique<CEditorStatistics>(m_town, *m_context);
    m_closing = std::make_unique<CEditorClosing>(*m_context, [this](CEditorClosing::Answer answer)
                                                 { i_OnClosingAnswered(answer); });
    return i_LoadMenu() && m_picker->IsLoaded() && m_entities->IsLoaded() && m_properties->IsLoaded() &&
           m_view->IsLoaded() && m_statistics->IsLoaded() && m_closing->IsLoaded();
}

void CEditor::i_ConnectControls()
{
    m_controls->onPress = [this](int x, int y) { return i_OnPress(x, y); };
    m_controls->onDrag = [this](int x, int y)
    {
        m_adapter->OnMouseMove(x, y);
        m_drag.Continue(x, y, m_view->GetSnap());
    };
    m_controls->onDrop = [this](bool isKept) { m_drag.End(isKept); };
    m_controls->onKeyMeanwhile = [this](int key, bool isDown)
    {
        if (isDown)
            m_adapter->OnKeyDown(key);
        else
        {
            OnKeyUp(key);
            m_adapter->OnKeyUp(key);
        }
    };
    m_controls->onKey = [this](int key) { i_OnViewKey(key); };
    m_controls->onLooking = [this](bool isLooking)
    {
        if (isLooking)
        {
            m_held.clear();
            m_adapter->Release();
        }
        if (m_window)
            m_window->SetMouseLook(isLooking);
    };
}

// On what is selected it begins a drag, anywhere else it selects.
bool CEditor::i_OnPress(int x, int y)
{
    m_context->GrabFocus(nullptr);
    const unsigned modifiers = m_context->GetModifiers();
    CEditorDrag::Kind kind = CEditorDrag::Kind::Move;
    if ((modifiers & kGuiControl) != 0)
        kind = CEditorDrag::Kind::Pull;
    else if ((modifiers & kGuiShift) != 0)
        kind = CEditorDrag::Kind::Lift;
    if (m_drag.Begin(kind, x, y))
        return true;
    m_town.Select(m_town.Pick(x, y));
    return false;
}

void CEditor::SetStyle(const GuiStyleData& style)
{
    m_context->SetStyleData(0, style);
    m_menuBack->SetTint(style.background);
}

bool CEditor::i_LoadMenu()
{
    GuiFreeLayout& root = m_context->GetRoot();
    if (!LoadWidgetFile(root, "gui/editor_menu.gui"))
        return false;
    auto* menu = FindWidget<GuiLayout>(root, "menu");
    m_menuBack = FindWidget<GuiImage>(root, "menuBack");
    m_status = FindWidget<GuiLabel>(root, "status");
    m_undo = FindWidget<GuiButton>(root, "undo");
    m_redo = FindWidget<GuiButton>(root, "redo");
    if (!menu || !m_menuBack || !m_status || !m_undo || !m_redo)
        return false;
    menu->SetCallback(this);
    m_menuBack->SetKeepsAspect(false);
    m_menuBack->SetTint(m_context->GetStyleData(0).background);
    return true;
}

void CEditor::Update(float seconds)
{
    m_context->Update(seconds);
    i_UpdateConsole();
    if (!i_IsEditing())
        m_town.EndEdit();
    m_controls->Update(m_town.GetViewpoint(), seconds, m_view->GetSpeed());
    m_adapter->UpdateCursor();

    m_town.GetViewer().Draw(m_town.GetViewpoint(), seconds);
    m_town.GetViewer().GetReport().KeepLast();
    m_engine.Update();
    i_UpdateWindows(static_cast<float>(m_frameTime.GetSeconds()));
    m_frameTime.Restart();
    renderer::CRenderTarget& target = GetTarget();
    target.Bind();
    m_context->Render(target.GetWidth(), target.GetHeight());
    m_engine.RenderGUI(target.GetWidth(), target.GetHeight());
}

bool CEditor::ShowFrame(float seconds)
{
    if (!m_window->PollEvents())
    {
        m_window->KeepOpen();
        Close();
    }
    // A window may be shut to nothing, and dragged to any size.
    const int width = m_window->GetWidth();
    const int height = m_window->GetHeight();
    if (width > 0 && height > 0 && m_town.GetViewer().Resize(width, height))
    {
        Update(seconds);
        GetTarget().CopyToWindow(width, height);
    }
    m_window->SwapBuffers();
    return !m_isClosed;
}

void CEditor::Close()
{
    i_LetGo();
    m_engine.GetConsole().SetInputActive(false);
    i_TakeTyped();
    m_town.EndEdit();
    if (m_town.IsModified())
        m_closing->Open();
    else
        m_isClosed = true;
}

void CEditor::i_OnClosingAnswered(CEditorClosing::Answer answer)
{
    if (answer == CEditorClosing::Answer::Save)
        i_Save();
    const bool isSaved = answer == CEditorClosing::Answer::Save && !m_town.IsModified();
    m_isClosed = isSaved || answer == CEditorClosing::Answer::Discard;
}

void CEditor::i_UpdateWindows(float seconds)
{
    m_entities->Update();
    m_properties->Update();
    m_view->Update();
    m_statistics->Update(seconds);
    m_undo->SetLocked(!m_town.CanUndo());
    m_redo->SetLocked(!m_town.CanRedo());
    i_UpdateStatus();
}

void CEditor::i_UpdateStatus()
{
    if (m_messageRevision != m_town.GetValueRevision())
        m_message.clear();
    std::string status = m_message;
    if (status.empty() && m_town.IsModified())
        status = "Not saved   ";
    if (m_message.empty() && m_town.GetSelected())
        status += m_town.GetLabel(m_town.GetNumber(*m_town.GetSelected()));
    const int width = m_status->GetRect().w;
    if (status == m_shownStatus && width == m_shownStatusWidth)
        return;
    m_shownStatus = status;
    m_shownStatusWidth = width;
    const int font = m_context->GetStyleData(0).font;
    const std::string whole = ToLatin1(status);
    std::string shown = whole;
    for (std::size_t kept = whole.size(); kept > 0 && m_engine.GetDraw().GetTextWidth(shown, font) > width; --kept)
        shown = whole.substr(0, kept) + "...";
    m_status->SetText(shown);
}

// The console is seen as long as it has the keyboard.
void CEditor::i_UpdateConsole()
{
    CGuiConsole& console = m_engine.GetConsole();
    if (console.GetVisible() && !console.GetInputActive())
        console.SetVisible(false);
}

// Of every key and button: how they come up, others will hear.
void CEditor::i_LetGo()
{
    m_held.clear();
    m_controls->Release();
    m_adapter->Release();
}

void CEditor::i_OpenConsole()
{
    i_LetGo();
    m_engine.GetConsole().SetVisible(true);
    m_engine.GetConsole().SetInputActive(true);
}

void CEditor::i_Save()
{
    m_message =
        m_town.Save() ? "Saved: " + std::to_string(m_town.GetSavedCount()) + " entities" : "Not saved, see the console";
    m_messageRevision = m_town.GetValueRevision();
}

// A number that is being typed becomes a value when its field loses the focus.
void CEditor::i_TakeTyped()
{
    m_context->Update(0.0F);
    gui::GuiWidget* const focus = m_context->GetFocusWidget();
    m_context->GrabFocus(nullptr);
    m_context->Update(0.0F);
    m_context->GrabFocus(focus);
}

// By a key or a button that is held, the choice of colours, or a text that is being typed.
bool CEditor::i_IsEditing() const
{
    const GuiWidget* focus = m_context->GetFocusWidget();
    const bool isTyping = dynamic_cast<const GuiTextEditLine*>(focus) && focus->IsWithin(m_properties->GetWindow());
    return isTyping || !m_held.empty() || m_context->GetInputWidget() || m_controls->IsDragging() || m_picker->IsOpen();
}

// False where it is about what is being typed. Texts of properties are edits of the town already.
bool CEditor::i_LeavesUndo(bool isUndo) const
{
    const auto* edit = dynamic_cast<const GuiTextEdit*>(m_context->GetFocusWidget());
    if (!edit || (dynamic_cast<const GuiTextEditLine*>(edit) && edit->IsWithin(m_properties->GetWindow())))
        return true;
    return !(isUndo ? edit->CanUndo() : edit->CanRedo());
}

void CEditor::i_Undo(bool isUndo)
{
    m_picker->Close();
    m_town.EndEdit();
    if (isUndo)
        m_town.Undo();
    else
        m_town.Redo();
}

bool CEditor::OnKeyDown(int key)
{
    const bool isNew = m_held.insert(key).second;
    const bool isFunctionKey = key >= renderer::kKeyF1 && key < renderer::kKeyF1 + 6;
    const bool repeats = key == 'Z' || key == 'Y';
    if (m_closing->IsOpen())
        return false;
    return isNew || repeats ? i_OnKey(key) : isFunctionKey;
}

bool CEditor::OnKeyUp(int key)
{
    m_held.erase(key);
    return false;
}

bool CEditor::i_OnKey(int key)
{
    const int functionKey = key - renderer::kKeyF1 + 1;
    CEditorWindow* const windows[] = {m_entities.get(), m_properties.get(), m_view.get(), m_statistics.get()};
    if (functionKey == 1)
        i_OpenConsole();
    else if (functionKey >= 2 && functionKey <= 5)
        windows[functionKey - 2]->Reach();
    else if (functionKey == 6)
        m_context->GrabFocus(nullptr);
    else
        return i_OnShortcut(key);
    return true;
}

bool CEditor::i_OnShortcut(int key)
{
    const unsigned modifiers = m_context->GetModifiers();
    if ((modifiers & kGuiControl) == 0)
        return false;
    const bool isUndo = key == 'Z' && (modifiers & kGuiShift) == 0;
    if (key == 'S')
    {
        // Not from a line of text: it is a value already, and all of it would be chosen.
        if (dynamic_cast<const GuiSpinner*>(m_context->GetFocusWidget()))
            i_TakeTyped();
        i_Save();
    }
    else if ((key == 'Z' || key == 'Y') && i_LeavesUndo(isUndo))
        i_Undo(isUndo);
    else
        return false;
    return true;
}

void CEditor::i_OnViewKey(int key)
{
    if (key == kKeyDelete)
        m_town.Delete(m_town.GetSelected());
    else if (key == renderer::kKeyEnter && m_town.GetSelected())
        m_town.GoTo(*m_town.GetSelected());
    else if (key == renderer::kKeyEscape)
        m_town.Select(nullptr);
}

bool CEditor::OnGuiEvent(const char* name, const GuiEvent& event)
{
    if (event.type != GET_BUTTON_RELEASED || event.GetInt(0) != 1)
        return false;
    const std::string_view id = name;
    if (id == "showEntities")
        m_entities->Toggle();
    else if (id == "showProperties")
        m_properties->Toggle();
    else if (id == "showView")
        m_view->Toggle();
    else if (id == "showStatistics")
        m_statistics->Toggle();
    else if (id == "showConsole")
        i_OpenConsole();
    else if (id == "save")
        i_Save();
    else if (id == "undo" || id == "redo")
        i_Undo(id == "undo");
    return true;
}
