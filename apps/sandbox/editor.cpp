#include "apps/sandbox/editor.h"

#include "apps/sandbox/editorWidgets.h"
#include "corvex/window.h"
#include "gameengine/gui/draw2D/font.h"
#include "gameengine/gui/guiWidget/guiWidgetFile.h"

#include <string_view>

using namespace gui;

namespace
{
// The size for which the files of the windows were made.
constexpr GuiRecti kDesign(0, 0, 1280, 720);
constexpr Color kMenuColor = 0xFF2B2724;
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
           "Control and S: save";
}

bool CEditor::Initialize(const std::string& scene, int width, int height, TownCuller culler, CWindow* window)
{
    m_window = window;
    if (!m_town.Load(scene, width, height, culler) || !GuiContext::Create(m_engine.GetDraw(), m_context))
        return false;
    m_context->GetRoot().SetRect(kDesign);
    m_picker = std::make_unique<CEditorColorPicker>(*m_context);
    m_entities = std::make_unique<CEditorEntities>(m_town, *m_context);
    m_properties = std::make_unique<CEditorProperties>(m_town, *m_context, *m_picker);
    m_view = std::make_unique<CEditorView>(m_town, *m_context, *m_picker);
    m_statistics = std::make_unique<CEditorStatistics>(m_town, *m_context);
    if (!i_LoadMenu() || !m_picker->IsLoaded() || !m_entities->IsLoaded() || !m_properties->IsLoaded() ||
        !m_view->IsLoaded() || !m_statistics->IsLoaded())
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
    m_controls->onPick = [this](int x, int y)
    {
        m_context->GrabFocus(nullptr);
        m_town.Select(m_town.Pick(x, y));
    };
    m_controls->onKey = [this](int key) { i_OnViewKey(key); };
    m_controls->onLooking = [this](bool isLooking)
    {
        if (isLooking)
            m_adapter->Release();
        if (m_window)
            m_window->SetMouseLook(isLooking);
    };
    return true;
}

bool CEditor::i_LoadMenu()
{
    GuiFreeLayout& root = m_context->GetRoot();
    if (!LoadWidgetFile(root, "gui/editor_menu.gui"))
        return false;
    auto* menu = FindWidget<GuiLayout>(root, "menu");
    auto* back = FindWidget<GuiImage>(root, "menuBack");
    m_status = FindWidget<GuiLabel>(root, "status");
    if (!menu || !back || !m_status)
        return false;
    menu->SetCallback(this);
    back->SetKeepsAspect(false);
    back->SetTint(kMenuColor);
    return true;
}

void CEditor::Update(float seconds)
{
    m_context->Update(seconds);
    i_UpdateConsole();
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

void CEditor::i_UpdateWindows(float seconds)
{
    m_entities->Update();
    m_properties->Update();
    m_view->Update();
    m_statistics->Update(seconds);
    if (m_messageRevision != m_town.GetValueRevision())
        m_message.clear();
    std::string status = m_message;
    if (status.empty() && m_town.GetSelected())
        status = m_town.GetLabel(m_town.GetNumber(*m_town.GetSelected()));
    if (m_town.IsModified())
        status += status.empty() ? "Not saved" : "  (not saved)";
    if (const std::string shown = ToLatin1(status); shown != m_status->GetText())
        m_status->SetText(shown);
}

// The console is seen as long as it has the keyboard.
void CEditor::i_UpdateConsole()
{
    CGuiConsole& console = m_engine.GetConsole();
    if (console.GetVisible() && !console.GetInputActive())
        console.SetVisible(false);
}

void CEditor::i_OpenConsole()
{
    m_held.clear();
    m_controls->Release();
    m_adapter->Release();
    m_engine.GetConsole().SetVisible(true);
    m_engine.GetConsole().SetInputActive(true);
}

void CEditor::i_Save()
{
    m_message =
        m_town.Save() ? "Saved: " + std::to_string(m_town.GetSavedCount()) + " entities" : "Not saved, see the console";
    m_messageRevision = m_town.GetValueRevision();
}

bool CEditor::OnKeyDown(int key)
{
    const bool isNew = m_held.insert(key).second;
    const bool isFunctionKey = key >= renderer::kKeyF1 && key < renderer::kKeyF1 + 6;
    return isNew ? i_OnKey(key) : isFunctionKey;
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
        windows[functionKey - 2]->Toggle();
    else if (functionKey == 6)
        m_context->GrabFocus(nullptr);
    else if (key == 'S' && (m_context->GetModifiers() & kGuiControl) != 0)
        i_Save();
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
    return true;
}
