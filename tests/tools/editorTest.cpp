// The editor, used as a person would: by mouse, keyboard and console, from a scene file to the changed one.

#include "gameengine/engine/componentEditorData.h"
#include "gameengine/engine/componentLight.h"
#include "gameengine/engine/componentTransform.h"
#include "tests/tools/editorFixture.h"

#include <array>
#include <filesystem>
#include <map>
#include <string>

namespace
{
class Editor : public test::EditorTest
{
protected:
    struct Stored
    {
        CMatrix place;
        bool hasLight = false;
        std::array<float, 4> color{};
        bool isShadowed = false;
    };

    // By name, from the file alone.
    std::map<std::string, Stored> ReadTown()
    {
        CScene scene;
        CEntityArray_SaveLoad_SqliteDB store(m_path.c_str(), scene.GetInterfaces());
        EXPECT_TRUE(store.Load(nullptr, nullptr));
        std::map<std::string, Stored> town;
        for (int i = 0; i < store.GetEntityCount(); ++i)
        {
            const CEntity& entity = *store.Get(i);
            Stored& stored = town[entity.Find<ComponentEditorData>()->GetData()];
            stored.place = entity.Find<ComponentTransform>()->GetTransform();
            if (const auto* light = entity.Find<ComponentLight>())
            {
                stored.hasLight = true;
                std::copy_n(light->GetLightColor(), 4, stored.color.begin());
                stored.isShadowed = light->GetShadowed();
            }
        }
        return town;
    }
};

TEST_F(Editor, EditsWhatWasFoundInTheListAndSavesIt)
{
    ASSERT_TRUE(m_user->Fill("filter", "house 3"));
    ASSERT_TRUE(m_user->Press(gui::kGuiKeyEnter));
    Draw();
    EXPECT_EQ(GetText("count"), "1 of 5");
    ASSERT_TRUE(m_editor->GetTown().GetSelected());
    float value = 0.0F;
    ASSERT_TRUE(m_user->GetValue("properties/ComponentTransformDirect.Translation.x", value));
    EXPECT_EQ(value, 150.0F);

    ASSERT_TRUE(m_user->Fill("ComponentTransformDirect.Translation.x", "172.5"));
    ASSERT_TRUE(m_user->Press(gui::kGuiKeyEnter));
    ASSERT_TRUE(m_user->Fill("ComponentEditorData.Editor Name", "building Mus\xC3\xA9"
                                                                "e"));
    Draw();
    // At once, and in the view too.
    const int number = m_editor->GetTown().GetNumber(*m_editor->GetTown().GetSelected());
    EXPECT_EQ(m_editor->GetTown().GetModel().GetBox(static_cast<std::size_t>(number)).GetCenter().x, 172.5F);
    EXPECT_TRUE(ReadTown().contains("building House 3")) << "not yet in the file";

    ASSERT_TRUE(m_user->Click("menu/save"));
    Draw();
    EXPECT_EQ(GetText("status"), "Saved: 1 entities");
    const auto town = ReadTown();
    ASSERT_TRUE(town.contains("building Mus\xC3\xA9"
                              "e"));
    EXPECT_EQ(town.at("building Mus\xC3\xA9"
                      "e")
                  .place.Translation(),
              CVector3(172.5F, 0, 15));
    EXPECT_EQ(town.size(), 5U);
}

TEST_F(Editor, GivesALightToABuildingAndAColourToTheLight)
{
    Run("goto house 1");
    ASSERT_TRUE(m_user->Click("componentType"));
    ASSERT_TRUE(m_user->Type("ComponentL\n"));
    ASSERT_TRUE(m_user->Click("addComponent"));
    Draw();
    ASSERT_TRUE(m_user->FindById("ComponentLight.Color")) << "rows come from the component alone";
    // Twelve rows are more than there is room for.
    gui::GuiWidget* last = m_user->FindById("ComponentLight.Shadow Resolution.x");
    ASSERT_TRUE(last && !last->GetParent()->IsVisible() && m_user->FindById("propertiesBar")->IsVisible());
    ASSERT_TRUE(m_user->Drag("propertiesBar", gui::Vec2<int>(1260, 700)));
    Draw();
    EXPECT_TRUE(last->GetParent()->IsVisible());
    ASSERT_TRUE(m_user->Click("ComponentLight.Color"));
    ASSERT_TRUE(m_user->Fill("colorpicker/hex", "FF8000FF"));
    ASSERT_TRUE(m_user->Press(gui::kGuiKeyEnter));
    ASSERT_TRUE(m_user->Click("colorpicker/ok"));
    Draw();
    ASSERT_TRUE(m_user->Wheel("propertiesBar", 1));
    Draw();
    ASSERT_TRUE(m_user->Click("ComponentLight.Shadowed"));
    EXPECT_NE(Run("save").find("Saved: 1"), std::string::npos);
    const Stored stored = ReadTown().at("building House 1");
    ASSERT_TRUE(stored.hasLight);
    EXPECT_EQ(stored.color, (std::array<float, 4>{1.0F, 128.0F / 255.0F, 0.0F, 1.0F}));
    EXPECT_TRUE(stored.isShadowed);

    // "Cancel" brings the colour back, and a place cannot be taken away.
    ASSERT_TRUE(m_user->Drag("propertiesBar", gui::Vec2<int>(1260, 700)));
    Draw();
    ASSERT_TRUE(m_user->Click("ComponentLight.Color"));
    ASSERT_TRUE(m_user->Fill("colorpicker/red", "7"));
    ASSERT_TRUE(m_user->Press(gui::kGuiKeyEnter));
    EXPECT_NE(Run("ent.get Color").find("0.02745"), std::string::npos);
    ASSERT_TRUE(m_user->Click("colorpicker/cancel"));
    EXPECT_NE(Run("ent.get Color").find("Color: 1 0.50196"), std::string::npos);
    const test::ExpectLog expected{"ComponentTransformDirect not removed"};
    ASSERT_TRUE(m_user->Click("componentType"));
    ASSERT_TRUE(m_user->Type("ComponentTransformD\n"));
    ASSERT_TRUE(m_user->Click("removeComponent"));
}

TEST_F(Editor, TakesInputOfTheWindowToTheWidgetsOrTheView)
{
    renderer::CInput& input = m_renderer.GetInput();
    const auto click = [&](int x, int y)
    {
        input.MouseMove(x, y);
        input.MouseDown(renderer::kMouseLeft);
        input.MouseUp(renderer::kMouseLeft);
        Draw();
    };
    // In the middle of the view, where nothing covers it.
    m_editor->GetTown().GoTo(*m_editor->GetTown().FindPlace("caf\xC3\xA9"));
    m_editor->GetTown().Select(nullptr);
    Draw();
    click(640, 360);
    ASSERT_TRUE(m_editor->GetTown().GetSelected());
    EXPECT_EQ(m_editor->GetTown().GetSelected(), m_editor->GetTown().Get(2));
    // One on a window leaves the selection as it is.
    click(100, 430);
    EXPECT_EQ(m_editor->GetTown().GetSelected(), m_editor->GetTown().Get(2));

    // Keys fly while no widget is in focus, and only then.
    const auto getEye = [&] { return m_editor->GetTown().GetViewpoint().eye; };
    const CVector3 start = getEye();
    input.KeyDown(renderer::kKeyF1 + 5); // the window that was clicked has it
    input.KeyDown('W');
    Draw();
    input.KeyUp('W');
    const CVector3 ahead = getEye();
    EXPECT_GT((ahead - start).Length(), 0.5F);
    m_user->Click("filter");
    input.KeyDown('W');
    input.KeyChar('w');
    Draw();
    input.KeyUp('W');
    EXPECT_EQ(getEye(), ahead);
    EXPECT_EQ(GetText("filter"), "w");

    // A press takes the keyboard into a window, another one hides it, however often the key is repeated.
    for (const bool isVisible : {true, false, true})
    {
        for (int i = 0; i < 3; ++i)
            input.KeyDown(renderer::kKeyF1 + 2);
        input.KeyUp(renderer::kKeyF1 + 2);
        EXPECT_EQ(m_user->FindById("propertiesWindow")->IsVisible(), isVisible);
    }

    // The console takes all of it until Escape. A key that came up meanwhile does not go on.
    m_user->Click("filter");
    input.KeyDown('X');
    input.KeyChar('x');
    input.KeyDown(renderer::kKeyF1);
    for (const char c : std::string("culler tree"))
        input.KeyChar(c);
    input.KeyUp('X');
    input.KeyChar(13);
    Draw();
    EXPECT_EQ(m_editor->GetTown().GetViewer().GetCuller(), TownCuller::Tree);
    EXPECT_EQ(GetText("culler"), "tree");
    input.KeyDown(renderer::kKeyEscape);
    Draw();
    EXPECT_FALSE(m_engine->GetConsole().GetVisible());
    m_user->Wait(1.0F);
    EXPECT_EQ(GetText("filter"), "wx");
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
    has("ent.set 1 Editor Name building Hall", "Editor Name: building Hall");
    has("culler best", "There is no such culler.");
    has("goto nowhere", "There is no such place.");
    has("spawn 10 10 -5 Hole", "Sides are more than 0");
    has("spawn 10 12 40 New Tower", "New: 5  building New Tower");
    has("delete 0", "Deleted: 0  building House 0");
    has("save", "Saved: 3 entities.");
    auto town = ReadTown();
    EXPECT_EQ(town.size(), 5U);
    EXPECT_EQ(town.at("building Hall").place.Translation(), CVector3(51, 2, 15.5F));
    EXPECT_EQ(town.at("building New Tower").place.GetLocalZ(), CVector3(0, 0, 40));
    EXPECT_FALSE(town.contains("building House 0"));

    has("delete 0", "Deleted: 0  building Hall");
    has("load", "Loaded: 5 entities.");
    has("ent.list hall", "building Hall");
    has("stat", "visible");
    std::filesystem::remove(m_path);
    const test::ExpectLog expected{"holds no town"};
    has("load", "Not loaded.");
    has("ent.list new", "4  building New Tower");
}
} // namespace
