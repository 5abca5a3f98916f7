// Edits in the editor: each kind of row, the mouse in the view, undo and redo, and the keyboard alone.

#include "apps/sandbox/editorProperties.h"
#include "tests/tools/editorFixture.h"

#include <cmath>
#include <functional>
#include <set>
#include <tuple>

namespace
{
class EditorEdits : public test::EditorTest
{
protected:
    using Values = std::map<std::string, std::string>;

    CEditorTown& Town() { return m_editor->GetTown(); }
    static int LightType() { return CEntityComponentTypeDatabase::Instance().FindByName("ComponentLight"); }
    CMatrix PlaceOf(int number) { return Town().Get(number)->Find<ComponentTransform>()->GetTransform(); }

    static Values GetValues(const CEntity& entity)
    {
        Values values;
        for (const EditorProperty& property : CollectProperties(entity))
            values[property.componentName + "." + property.record.name] = FormatProperty(property.record);
        return values;
    }

    // Of the entity that stands there, from the file alone.
    Values ReadValues(CVector3 place)
    {
        CScene scene;
        CEntityArray_SaveLoad_SqliteDB store(m_path.c_str(), scene.GetInterfaces());
        EXPECT_TRUE(store.Load(nullptr, nullptr));
        for (int i = 0; i < store.GetEntityCount(); ++i)
        {
            if (store.Get(i)->Find<ComponentTransform>()->GetTransform().Translation() == place)
                return GetValues(*store.Get(i));
        }
        return {};
    }

    // Until the property's row is seen.
    void ScrollTo(const std::string& id)
    {
        for (int i = 0; i < 9 && !m_user->FindById(id)->GetParent()->IsVisible(); ++i)
        {
            m_user->Wheel(*m_user->FindById("propertiesBar"), -1);
            Draw();
        }
    }

    void Drag(int fromX, int fromY, int toX, int toY, int held = 0, bool isKept = true)
    {
        if (held != 0)
            m_input.KeyDown(held);
        m_input.MouseMove(fromX, fromY);
        m_input.MouseDown(renderer::kMouseLeft);
        Draw();
        for (int i = 1; i <= 4; ++i)
        {
            m_input.MouseMove(fromX + (toX - fromX) * i / 4, fromY + (toY - fromY) * i / 4);
            Draw();
        }
        if (!isKept)
            m_input.KeyDown(renderer::kKeyEscape);
        m_input.MouseUp(renderer::kMouseLeft);
        if (held != 0)
            m_input.KeyUp(held);
        Draw();
    }
};

TEST_F(EditorEdits, EachKindOfRowGoesFromTheWidgetToTheFileAndBack)
{
    ASSERT_TRUE(m_user->Fill("filter", "house 3\n"));
    Draw();
    EXPECT_EQ(GetText("count"), "1 of 5");
    ASSERT_TRUE(m_user->Click("componentType") && m_user->Type("ComponentL\n") && m_user->Click("addComponent"));
    Draw();
    const auto fill = [this](const std::string& text)
    { return [this, text](const char* id) { return m_user->Fill(id, text + "\n"); }; };
    const auto click = [this](const char* id) { return m_user->Click(id); };
    const auto choose = [this](const char* id) { return m_user->Click(id) && m_user->Type("Dir\n"); };
    const auto color = [this](const char* id)
    {
        return m_user->Click(id) && m_user->Fill("colorpicker/hex", "FF0000FF\n") &&
               m_user->Fill("colorpicker/green", "51\n") && m_user->Click("colorpicker/ok");
    };
    // A property, the part of its row that is edited, and what becomes of it.
    const std::tuple<const char*, const char*, std::function<bool(const char*)>, const char*> kRows[] = {
        {"ComponentEditorData.Editor Name", "", fill("building Caf\xC3\xA9 Nord"), "building Caf\xC3\xA9 Nord"},
        {"ComponentTransformDirect.Translation", ".y", fill("-12.25"), "150 -12.25 15"},
        {"ComponentTransformDirect.Scale", "", fill("40"), "40"},
        {"ComponentLight.Light Type", "", choose, "Directional Light"},
        {"ComponentLight.Shadowed", "", click, "Active"},
        {"ComponentLight.Range", "", fill("47.5"), "47.5"},
        {"ComponentLight.Color", "", color, "1 0.2 0 1"},
        {"ComponentLight.Shadow Resolution", ".x", fill("512"), "512 256 0"},
    };
    const Values before = GetValues(*Town().GetSelected());
    Values expected = before;
    for (const auto& [property, part, edit, value] : kRows)
    {
        const std::string id = std::string(property) + part;
        ScrollTo(id);
        ASSERT_TRUE(edit(id.c_str())) << id;
        Draw();
        EXPECT_EQ(GetValues(*Town().GetSelected())[property], value) << property;
        expected[property] = value;
    }
    const CVector3 place(150, -12.25F, 15);
    EXPECT_EQ(ReadValues(place), Values()) << "not yet in the file";
    ASSERT_TRUE(m_user->Click("menu/save"));
    Draw();
    EXPECT_EQ(GetText("status"), "Saved: 1 entities");
    EXPECT_EQ(ReadValues(place), expected);

    // Each was one edit; taking back all of them leaves nothing of it, in the file neither.
    for (std::size_t i = 0; i < std::size(kRows); ++i)
        Press('Z', renderer::kKeyLeftControl);
    EXPECT_EQ(GetValues(*Town().GetSelected()), before);
    Run("save");
    EXPECT_EQ(ReadValues({150, 0, 15}), before);
    while (Town().CanRedo())
        Press('Y', renderer::kKeyLeftControl);
    EXPECT_EQ(GetValues(*Town().GetSelected()), expected);
}

TEST_F(EditorEdits, DragsWhatIsSelectedAsOneEdit)
{
    Town().GoTo(*Town().Get(2));
    Town().Select(Town().Get(2));
    Draw();
    const CMatrix start = PlaceOf(2);
    const auto place = [&] { return PlaceOf(2).Translation(); };
    // Over the ground: what was gripped stays under the mouse.
    Drag(645, 360, 700, 330);
    EXPECT_EQ(place().z, 15.0F);
    EXPECT_GT((place() - start.Translation()).Length(), 2.0F);
    EXPECT_EQ(Town().Pick(700, 330), Town().Get(2));
    float shown = 0.0F;
    ASSERT_TRUE(m_user->GetValue("ComponentTransformDirect.Translation.x", shown));
    EXPECT_NEAR(shown, place().x, 1e-3F);
    const CMatrix moved = PlaceOf(2);
    // Taken back while it goes on: no edit.
    Drag(700, 330, 600, 400, 0, false);
    EXPECT_EQ(PlaceOf(2), moved);
    // Up, by whole steps.
    ASSERT_TRUE(m_user->Fill("snap", "5\n"));
    Drag(700, 330, 700, 230, renderer::kKeyLeftShift);
    EXPECT_GT(place().z, 15.0F);
    EXPECT_EQ(std::fmod(place().z, 5.0F), 0.0F);
    EXPECT_EQ(place().x, moved.Translation().x);
    // A side: the one that was gripped goes, the opposite one stays.
    const CMatrix lifted = PlaceOf(2);
    int y = 360;
    float distance = 0.0F;
    for (; y > 60; --y) // the highest point that still shows it lies on the roof
    {
        const CEditorTown::Ray ray = Town().GetRay(700, y - 4);
        if (Town().Cast(ray.origin, ray.direction, distance) == Town().Get(2) &&
            (ray.origin + ray.direction * distance).z > place().z + 14.99F)
            break;
    }
    Drag(700, y - 4, 700, y - 64, renderer::kKeyLeftControl);
    const float height = PlaceOf(2).GetLocalZ().Length();
    EXPECT_GT(height, 32.0F);
    EXPECT_NEAR(place().z - height * 0.5F, lifted.Translation().z - 15.0F, 1e-3F);
    EXPECT_EQ(PlaceOf(2).GetLocalX(), start.GetLocalX());

    const CMatrix pulled = PlaceOf(2);
    for (const CMatrix& expected : {lifted, moved, start})
    {
        EXPECT_TRUE(Town().IsModified());
        Press('Z', renderer::kKeyLeftControl);
        EXPECT_EQ(PlaceOf(2), expected);
    }
    EXPECT_FALSE(Town().IsModified() || Town().CanUndo());
    for (int i = 0; i < 3; ++i)
        Press('Y', renderer::kKeyLeftControl);
    EXPECT_EQ(PlaceOf(2), pulled);
    // Beside it the mouse selects.
    Drag(400, 690, 400, 650);
    EXPECT_EQ(PlaceOf(2), pulled);
    EXPECT_EQ(Town().GetSelected(), nullptr);
}

TEST_F(EditorEdits, TakesBackWhatCameAndWentInItsOldPlace)
{
    std::vector<std::string> states = {Run("ent.list")};
    std::vector<Values> values = {GetValues(*Town().Get(1))};
    std::string fault;
    const std::vector<std::function<void()>> kEdits = {
        [&] { Run("spawn 10 12 40 New Tower"); },
        [&] { Run("delete 0"); },
        [&] { Run("ent.set 0 Editor Name building Hall"); },
        [&]
        {
            Run("goto hall");
            Run("resize 8 9 10");
        },
        [&] { Town().AddComponent(*Town().Get(0), LightType(), fault); },
        [&] { Run("ent.set 0 Translation 1 2 3"); },
        [&] { Town().RemoveComponent(*Town().Get(0), LightType(), fault); },
        [&] { Run("delete 3"); },
    };
    for (const auto& edit : kEdits)
    {
        edit();
        states.push_back(Run("ent.list"));
        values.push_back(GetValues(*Town().Get(0)));
    }
    EXPECT_EQ(fault, "");
    for (int round = 0; round < 2; ++round)
    {
        for (std::size_t i = kEdits.size(); i-- > 0;)
        {
            EXPECT_EQ(Run("undo"), "Undone.\n");
            EXPECT_EQ(Run("ent.list"), states[i]);
            EXPECT_TRUE(i < 2 || GetValues(*Town().Get(0)) == values[i]) << i;
        }
        EXPECT_FALSE(Town().IsModified());
        EXPECT_EQ(Run("undo"), "There is nothing to undo.\n");
        for (std::size_t i = 1; i <= kEdits.size(); ++i)
        {
            EXPECT_EQ(Run("redo"), "Redone.\n");
            EXPECT_EQ(Run("ent.list"), states[i]);
        }
        EXPECT_EQ(Run("redo"), "There is nothing to redo.\n");
    }
    // The file gets an entity again that was deleted in it meanwhile.
    Run("save");
    while (Town().Undo())
        Draw();
    Run("save");
    Run("load");
    EXPECT_EQ(Town().GetModel().GetEntities().size(), 5U);
    EXPECT_FALSE(Town().CanUndo()) << "of a town that is gone";
    EXPECT_TRUE(Town().FindPlace("house 0"));
}

TEST_F(EditorEdits, ForgetsOldEditsAndAfterANewOneWhatWasTakenBack)
{
    for (std::size_t i = 0; i < CEditorHistory::kMaxEdits + 20; ++i)
        m_engine->GetConsole().Execute("ent.set 2 Scale " + std::to_string(i + 1));
    std::size_t count = 0;
    for (; Town().Undo(); ++count)
        EXPECT_TRUE(Town().CanRedo());
    EXPECT_EQ(count, CEditorHistory::kMaxEdits);
    Run("ent.set 2 Scale 7");
    EXPECT_FALSE(Town().CanRedo());
}

TEST_F(EditorEdits, ReachesEveryRowByTheKeyboardAndScrollsByTheWheel)
{
    const auto type = [&](const std::string& text)
    {
        for (const char c : text)
            m_input.KeyChar(c);
        Draw();
    };
    std::string fault;
    ASSERT_TRUE(Town().AddComponent(*Town().Get(1), LightType(), fault));
    Press(renderer::kKeyF1 + 1);
    type("house 1");
    Press(renderer::kKeyEnter);
    ASSERT_EQ(Town().GetSelected(), Town().Get(1));
    Press(renderer::kKeyF1 + 2);
    std::set<std::string> reached;
    for (int i = 0; i < 22; ++i) // as many controls as there are
    {
        if (const gui::GuiWidget* focus = m_editor->GetContext().GetFocusWidget())
        {
            reached.insert(focus->GetId());
            EXPECT_TRUE(focus->IsVisible() && focus->GetParent()->IsVisible());
            if (focus->GetId() == "ComponentLight.Range")
                type("99");
            if (focus->GetId() == "ComponentLight.Shadowed")
                Press(renderer::kKeySpace);
        }
        Press(renderer::kKeyTab);
    }
    for (const char* id : {"ComponentTransformDirect.Rotation.z", "ComponentLight.Light Type", "ComponentLight.Color",
                           "ComponentLight.Shadow Resolution.z", "componentType", "removeComponent"})
        EXPECT_TRUE(reached.contains(id)) << id;
    const Values values = GetValues(*Town().Get(1));
    EXPECT_EQ(values.at("ComponentLight.Range"), "99");
    EXPECT_EQ(values.at("ComponentLight.Shadowed"), "Active");

    // Over a spinner that is not in focus the wheel scrolls the rows.
    Press(renderer::kKeyF1 + 5);
    m_user->Wheel(*m_user->FindById("propertiesBar"), 20);
    Draw();
    gui::GuiWidget* number = m_user->FindById("ComponentTransformDirect.Translation.y");
    ASSERT_TRUE(number->GetParent()->IsVisible() && m_user->Wheel(*number, -1));
    Draw();
    EXPECT_FALSE(m_user->FindById("ComponentTransformDirect")->IsVisible());
    EXPECT_EQ(GetValues(*Town().Get(1)), values);
}

TEST_F(EditorEdits, ShowsWhatHasNoKindAfterLoadingToo)
{
    Run("ent.set 1 Editor Name Town Hall");
    Run("save");
    EXPECT_EQ(Run("load"), "Loaded: 5 entities.\n");
    EXPECT_EQ(Run("goto town hall"), "1  Town Hall\n");
    Draw();
    EXPECT_EQ(Town().Pick(640, 360), Town().Get(1));
}
} // namespace
