// The editor, used as a person would: by mouse, keyboard and console, from a scene file to the changed one.

#include "support/system.h"
#include "tests/tools/editorFixture.h"

#include <filesystem>

namespace
{
using Editor = test::EditorTest;

TEST_F(Editor, CancelBringsTheColourBackAndAPlaceStays)
{
    Run("goto house 1");
    ASSERT_TRUE(m_user->Click("componentType") && m_user->Type("ComponentL\n") && m_user->Click("addComponent"));
    Draw();
    ASSERT_TRUE(m_user->Drag("propertiesBar", gui::Vec2<int>(1260, 700)));
    Draw();
    ASSERT_TRUE(m_user->Click("ComponentLight.Color") && m_user->Fill("colorpicker/red", "7\n"));
    EXPECT_NE(Run("ent.get Color").find("0.02745"), std::string::npos);
    ASSERT_TRUE(m_user->Click("colorpicker/cancel"));
    EXPECT_NE(Run("ent.get Color").find("Color: 1 1 1"), std::string::npos);
    const test::ExpectLog expected{"ComponentTransformDirect not removed"};
    ASSERT_TRUE(m_user->Click("componentType") && m_user->Type("ComponentTransformD\n") &&
                m_user->Click("removeComponent"));
}

TEST_F(Editor, TakesInputOfTheWindowToTheWidgetsOrTheView)
{
    const auto click = [&](int x, int y)
    {
        m_input.MouseMove(x, y);
        m_input.MouseDown(renderer::kMouseLeft);
        m_input.MouseUp(renderer::kMouseLeft);
        Draw();
    };
    // In the middle of the view, where nothing covers it.
    m_editor->GetTown().GoTo(*m_editor->GetTown().FindPlace("caf\xC3\xA9"));
    m_editor->GetTown().Select(nullptr);
    Draw();
    click(640, 360);
    EXPECT_EQ(m_editor->GetTown().GetSelected(), m_editor->GetTown().Get(2));
    // One on a window leaves the selection as it is.
    click(100, 430);
    EXPECT_EQ(m_editor->GetTown().GetSelected(), m_editor->GetTown().Get(2));

    // Keys fly while no widget is in focus, and only then.
    const auto getEye = [&] { return m_editor->GetTown().GetViewpoint().eye; };
    const CVector3 start = getEye();
    m_input.KeyDown(renderer::kKeyF1 + 5); // the window that was clicked has it
    m_input.KeyDown('W');
    Draw();
    m_input.KeyUp('W');
    const CVector3 ahead = getEye();
    EXPECT_GT((ahead - start).Length(), 0.5F);
    m_user->Click("filter");
    m_input.KeyDown('W');
    m_input.KeyChar('w');
    Draw();
    m_input.KeyUp('W');
    EXPECT_EQ(getEye(), ahead);
    EXPECT_EQ(GetText("filter"), "w");

    // A press takes the keyboard into a window, another one hides it, however often the key is repeated.
    for (const bool isVisible : {true, false, true})
    {
        m_input.KeyDown(renderer::kKeyF1 + 2);
        m_input.KeyDown(renderer::kKeyF1 + 2);
        m_input.KeyUp(renderer::kKeyF1 + 2);
        EXPECT_EQ(m_user->FindById("propertiesWindow")->IsVisible(), isVisible);
    }
}

// A key that came up meanwhile does not go on.
TEST_F(Editor, GivesAllInputToTheConsoleUntilEscape)
{
    m_user->Click("filter");
    m_input.KeyDown('X');
    m_input.KeyChar('x');
    m_input.KeyDown(renderer::kKeyF1);
    for (const char c : std::string("culler tree"))
        m_input.KeyChar(c);
    m_input.KeyUp('X');
    m_input.KeyChar(13);
    Draw();
    EXPECT_EQ(m_editor->GetTown().GetViewer().GetCuller(), TownCuller::Tree);
    EXPECT_EQ(GetText("culler"), "tree");
    m_input.KeyDown(renderer::kKeyEscape);
    Draw();
    EXPECT_FALSE(m_engine->GetConsole().GetVisible());
    m_user->Wait(1.0F);
    EXPECT_EQ(GetText("filter"), "x");
}

TEST_F(Editor, HasCommandsThatSayWhatIsWrong)
{
    const auto has = [&](const std::string& command, const std::string& answer)
    {
        const std::string said = Run(command);
        EXPECT_NE(said.find(answer), std::string::npos) << command << ": " << said;
    };
    has("ent.list house", "0  building House 0\n1  building House 1\n3  building House 3\n");
    has("ent.list castle", "There is none.");
    has("ent.get", "No entity is selected.");
    has("ent.get 99", "There is no entity 99.");
    has("ent.get 1 Translation", "Translation: 50 0 15");
    has("ent.set 1 Translation 51 2", "That is no value of it.");
    has("ent.set 1 Translation 51 2 nan", "That is no value of it.");
    has("ent.set 1 Colour 1", "It has no such property.");
    has("ent.set 1 translation 51 2 15.5", "Translation: 51 2 15.5");
    has("culler best", "There is no such culler.");
    has("goto nowhere", "There is no such place.");
    has("spawn 10 10 -5 Hole", "Sides are more than 0");
    has("spawn 10 12 40 New Tower", "New: 5  building New Tower");
    has("delete 0", "Deleted: 0  building House 0");
    has("save", "Saved: 3 entities.");
    has("load", "Loaded: 5 entities.");
    has("ent.list new", "4  building New Tower");
    has("stat", "visible");
    // Elsewhere a file cannot be removed while its database is open.
    if (!test::kIsUnix)
        return;
    std::filesystem::remove(m_path);
    const test::ExpectLog expected{"holds no town"};
    has("load", "Not loaded.");
    has("ent.list new", "4  building New Tower");
}
// When it saves, and what it asks before it closes.
class EditorSaving : public test::EditorTest
{
protected:
    void PressSave() { Press('S', renderer::kKeyLeftControl); }

    // Whether it asks.
    bool Close()
    {
        m_editor->Close();
        Draw();
        return m_user->FindById("closing")->IsVisible();
    }

    // From the file alone.
    float ReadX(const std::string& name) { return test::ReadPlaces(m_path).at(name).Translation().x; }
};

TEST_F(EditorSaving, TakesWhatIsBeingTypedAndLeavesTheTyping)
{
    m_editor->GetTown().Select(m_editor->GetTown().Get(3));
    Draw();
    ASSERT_TRUE(m_user->Fill("ComponentEditorData.Editor Name", "building Tow"));
    PressSave();
    ASSERT_TRUE(m_user->Type("er"));
    ASSERT_TRUE(m_user->Fill("ComponentTransformDirect.Translation.x", "180"));
    PressSave();
    ASSERT_TRUE(test::ReadPlaces(m_path).contains("building Tower"));
    EXPECT_EQ(ReadX("building Tower"), 180.0F);
}

TEST_F(EditorSaving, IsAskedAboutBeforeTheEditorCloses)
{
    m_editor->GetTown().Select(m_editor->GetTown().Get(3));
    Draw();
    ASSERT_TRUE(m_user->Fill("ComponentTransformDirect.Translation.x", "172.5"));
    ASSERT_TRUE(Close()) << "a number that is still being typed is a change";
    EXPECT_FALSE(m_editor->IsClosed());

    // It is modal, also for the keys that work everywhere.
    for (const int key : {0 + renderer::kKeyF1, renderer::kKeyF1 + 2})
        Press(key);
    PressSave();
    EXPECT_FALSE(m_engine->GetConsole().GetVisible());
    EXPECT_TRUE(m_user->FindById("propertiesWindow")->IsVisible());
    EXPECT_TRUE(m_editor->GetTown().IsModified());
    ASSERT_TRUE(m_user->Press(gui::kGuiKeyEscape));
    EXPECT_FALSE(m_user->FindById("closing")->IsVisible() || m_editor->IsClosed());

    ASSERT_TRUE(Close() && m_user->Click("closingDiscard"));
    EXPECT_TRUE(m_editor->IsClosed());
    EXPECT_EQ(ReadX("building House 3"), 150.0F);
    ASSERT_TRUE(Close() && m_user->Press(gui::kGuiKeyEnter)) << "\"Save\" has the keyboard";
    EXPECT_TRUE(m_editor->IsClosed());
    EXPECT_EQ(ReadX("building House 3"), 172.5F);
    EXPECT_FALSE(Close()) << "there is nothing to ask about";

    // It stays where that cannot be saved. Elsewhere a file cannot be removed while its database is open.
    if (!test::kIsUnix)
        return;
    Run("delete 3");
    std::filesystem::remove(m_path);
    const test::ExpectLog expected{"readonly"};
    ASSERT_TRUE(Close() && m_user->Click("closingSave"));
    Draw();
    EXPECT_FALSE(m_editor->IsClosed());
    EXPECT_EQ(GetText("status"), "Not saved, see the console");
}
} // namespace
