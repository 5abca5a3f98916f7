// Files as the first version of each format wrote them, in tests/corpus, load for ever: with every component, kind of
// value and type of widget, and all that was in them. What is in them stands here. See tests/corpus/README.md.

#include "gameengine/engine/componentAlwaysVisible.h"
#include "gameengine/engine/componentCamera.h"
#include "gameengine/engine/componentLight.h"
#include "gameengine/engine/componentRenderSettings.h"
#include "gameengine/engine/componentRuntimeData.h"
#include "gameengine/engine/componentShadowCaster.h"
#include "gameengine/engine/componentTransformParent.h"
#include "gameengine/gui/draw2D/font.h"
#include "gameengine/gui/guiWidget/guiButton.h"
#include "gameengine/gui/guiWidget/guiContext.h"
#include "gameengine/gui/guiWidget/guiDropList.h"
#include "gameengine/gui/guiWidget/guiGroupBox.h"
#include "gameengine/gui/guiWidget/guiImage.h"
#include "gameengine/gui/guiWidget/guiLabel.h"
#include "gameengine/gui/guiWidget/guiList.h"
#include "gameengine/gui/guiWidget/guiListBox.h"
#include "gameengine/gui/guiWidget/guiNodeWidget.h"
#include "gameengine/gui/guiWidget/guiSlider.h"
#include "gameengine/gui/guiWidget/guiSpinner.h"
#include "gameengine/gui/guiWidget/guiStream.h"
#include "gameengine/gui/guiWidget/guiTextEdit.h"
#include "gameengine/gui/guiWidget/guiWidgetFile.h"
#include "gameengine/gui/guiWidget/guiWindow.h"
#include "support/recordingDraw.h"
#include "support/storageFixture.h"
#include "support/udbTrees.h"
#include "tamradeps/io/fileSystem.h"
#include "tamradeps/udb/udbReadWriteAscii.h"
#include "tamradeps/udb/udbReadWriteBinary.h"
#include "tamraengine/renderer/materialScript.h"

#include <bit>
#include <cstdlib>
#include <filesystem>
#include <limits>
#include <numeric>
#include <set>

using namespace test;
using Property = CEntityComponentProperty;

// A property of each kind.
class ComponentCorpus : public CEntityComponent
{
    TAMRA_COMPONENT(ComponentCorpus, CEntityComponentRepository, 10950);

public:
    explicit ComponentCorpus(CEntity* entity) : CEntityComponent(TYPEID(), entity) {}
    ~ComponentCorpus() override { i_Unregister(REPOSITORY(), this); }

    Property* GetProperty(int index, Property* out) override
    {
        static const char* const kChoices[] = {"none", "one", "two", nullptr};
        switch (index)
        {
        case 0: out->SetInt("int", m_int); return out;
        case 1: out->SetFloat("float", m_float); return out;
        case 2: out->SetVector3("vector", m_vector[0], m_vector[1], m_vector[2]); return out;
        case 3: out->SetText("text", m_text.c_str()); return out;
        case 4: out->SetColor("color", m_color); return out;
        case 5: out->SetText("file", m_file.c_str(), Property::kFile); return out;
        case 6: out->SetChoice("choice", m_choice, kChoices); return out;
        default: return nullptr;
        }
    }
    void SetProperty(int index, Property* in) override
    {
        switch (index)
        {
        case 0: m_int = in->GetInt(); break;
        case 1: m_float = in->GetFloat(); break;
        case 2: in->ReadVector3(m_vector); break;
        case 3: m_text = in->GetText(); break;
        case 4: in->ReadColor(m_color); break;
        case 5: m_file = in->GetText(); break;
        default: m_choice = in->GetInt(); break;
        }
    }
    void SerializerSave(UDBGroup& group) override
    {
        for (int i = 0; i < 7; ++i)
            i_SerializeProperty(i, group);
    }
    void SerializerLoad(UDBGroup& group) override
    {
        for (int i = 0; i < 7; ++i)
            i_DeserializeProperty(i, group);
    }

    std::int32_t m_int = 0;
    float m_float = 0.0F;
    float m_vector[3] = {};
    std::string m_text;
    float m_color[4] = {};
    std::string m_file;
    std::int32_t m_choice = 0;
};

TAMRA_COMPONENT_IMPLEMENT(ComponentCorpus, CEntityComponentRepository);

namespace
{
const std::string kCorpus = TAMRA_SOURCE_FOLDER "/tests/corpus/";

// ---- Scenes

CMatrix MakeMatrix(float first)
{
    CMatrix matrix;
    for (int i = 0; i < 16; ++i)
        matrix.GetElements()[i] = i % 4 == 3 ? (i == 15 ? 1.0F : 0.0F) : first + 0.1F * static_cast<float>(i);
    return matrix;
}

void FillScene(Scene& scene)
{
    const auto name = [](const RefPtr<CEntity>& entity, const char* text)
    { entity->Find<ComponentEditorData>()->SetData(text); };
    const auto house =
        scene.Spawn<ComponentTransformDirect, ComponentEditorData, ComponentShadowCaster, ComponentCorpus>();
    name(house, "House \"Zur Br\xC3\xBC\x63ke\"\n2nd line");
    house->Find<ComponentTransform>()->SetTransform(MakeMatrix(-1.5F));
    house->Find<ComponentShadowCaster>()->SetShadowMode(ShadowMode::Dynamic);
    auto& kinds = *house->Find<ComponentCorpus>();
    kinds.m_int = std::numeric_limits<std::int32_t>::min();
    kinds.m_float = 0.1F;
    std::copy_n(std::array{1e-38F, -3.25F, 3.4e38F}.data(), 3, kinds.m_vector);
    kinds.m_text = std::string(260, 'x') + "\t\\";
    std::copy_n(std::array{0.0F, 0.25F, 0.5F, 1.0F}.data(), 4, kinds.m_color);
    kinds.m_file = "models/house.mfm";
    kinds.m_choice = 2;

    const auto lamp =
        scene.Spawn<ComponentLight, ComponentTransformParent, ComponentEditorData, ComponentAlwaysVisible>();
    name(lamp, "lamp");
    lamp->Find<ComponentTransform>()->SetTransform(MakeMatrix(100.25F));
    auto& light = *lamp->Find<ComponentLight>();
    light.SetLightType(ComponentLightType::Spot);
    light.SetShadowed(true);
    light.SetShadowBias(0.002F);
    light.SetRange(77.5F);
    light.SetSpotConeAngle(33.0F);
    light.SetSpotConeFalloff(0.75F);
    light.SetShadowResolution(512.0F, 1024.0F);
    light.SetLightColor(std::array{1.0F, 0.9F, 0.8F, 0.7F}.data());

    const auto settings = scene.Spawn<ComponentEditorData, ComponentCamera, ComponentRenderSettings>();
    name(settings, "settings");
    auto& camera = *settings->Find<ComponentCamera>();
    camera.SetFov(55.5F);
    camera.SetNear(0.125F);
    camera.SetFar(5000.0F);
    auto& render = *settings->Find<ComponentRenderSettings>();
    render.SetClearColor(std::array{0.1F, 0.2F, 0.3F, 0.4F}.data());
    render.SetAmbientColor(std::array{0.5F, 0.6F, 0.7F, 0.8F}.data());
    render.SetFog(true, 20.0F, 900.0F);
}

// Entities and their components, in whatever order they are.
std::multiset<std::string> Describe(const CScene& scene)
{
    std::multiset<std::string> entities;
    for (int i = 0; i < scene.GetArray().GetCount(); ++i)
    {
        const CEntity& entity = *scene.GetArray().Get(i);
        std::multiset<std::string> components;
        for (int k = 0; k < entity.GetComponentCount(); ++k)
        {
            if (entity.GetComponent(k)->GetType() != ComponentRuntimeData::TYPEID()) // which loading makes
                components.insert(test::Describe(*entity.GetComponent(k)));
        }
        entities.insert(std::accumulate(components.begin(), components.end(), std::string()));
    }
    return entities;
}

// ---- Trees

void FillTree(UDBGroup& root)
{
    for (const double number : {0.0, -0.0, 1.0, -128.0, 128.0, 32767.0, -32769.0, 2147483648.0, 0.5, 0.1, 1e300,
                                -1e-310, std::numeric_limits<double>::infinity(),
                                -std::numeric_limits<double>::infinity(), std::bit_cast<double>(0xFFF8000000001234U)})
        root.AddNumber("number", number);
    root.AddString("text", "");
    root.AddString("text", {"zero\0inside \"\\\n\r\t\x01\xC3\xA9", 19});
    root.AddString("", std::string(300, 'l'));
    root.AddNumber("a key with \"blanks\"", 2.5F);
    root.AddNumber(std::string(70, 'k'), 7.0);
    UDBGroup& large = *root.AddNewGroup("large");
    for (int i = 0; i < 260; ++i)
        large.AddNumber("n", i);
    UDBGroup* deep = &root;
    for (int level = 0; level < UDBReadWriteBinary::kMaxDepth; ++level)
        deep = deep->AddNewGroup("deep");
}

// ---- Widgets

// A new widget below the parent, with values of its own in all the fields that each has.
template <class Widget>
Widget& Add(gui::GuiLayout& parent, const char* id, auto... arguments)
{
    auto made = std::make_unique<Widget>(parent.GetContext(), arguments...);
    made->SetId(id);
    return static_cast<Widget&>(*parent.AddChild(std::move(made)));
}

void FillChoices(gui::GuiLayout& row)
{
    Add<gui::GuiButton>(row, "button").SetText("Press \\ me");
    auto& check = Add<gui::GuiCheckBox>(row, "check");
    check.SetText("Check");
    check.SetChecked(true);
    auto& radio = Add<gui::GuiRadioButton>(row, "radio");
    radio.SetText("Radio");
    radio.SetGroup(3);
    radio.SetValue(-7);
    radio.Select();
    auto& drop = Add<gui::GuiDropList>(row, "drop");
    drop.SetItems({"first", "second one", ""});
    drop.SetSelected(1);
    auto& box = Add<gui::GuiListBox>(row, "listbox");
    box.SetItems({"a", "b", "c"});
    box.SetSelectsSeveral(true);
    box.SetSelected(2);
}

void FillValues(gui::GuiLayout& column)
{
    for (const bool isVertical : {false, true})
    {
        auto& bar = Add<gui::GuiScrollBar>(column, isVertical ? "scrollV" : "scrollH", isVertical);
        bar.SetContentLength(1000);
        bar.SetValue(250.5F);
        Add<gui::GuiSpacer>(column, isVertical ? "spacerV" : "spacerH", isVertical);
    }
    auto& spinner = Add<gui::GuiSpinner>(column, "spinner");
    spinner.SetRange(-10.0F, 10.0F);
    spinner.SetStep(0.25F);
    spinner.SetValue(-2.75F);
    auto& line = Add<gui::GuiTextEditLine>(column, "line");
    line.SetMaxLength(40);
    line.SetFlags(1 | 4);
    line.SetText("a \"line\"");
    auto& box = Add<gui::GuiTextEditBox>(column, "box");
    box.SetFlags(8);
    box.SetText("two\nlines");
    Add<gui::GuiImage>(column, "image").SetName("textures/white.png");
    Add<gui::GuiNodeWidget>(column, "nodes")
        .SetGraphText("v 0 -20 75;a;n 40 60 7 Texture uv,scale colour;n 300 80 0 Mix%20two a,b,t -;l 0 0 1 2");
}

void FillWidgets(gui::GuiLayout& root)
{
    auto& layout = Add<gui::GuiFreeLayout>(root, "all", 5, gui::GuiRecti(10, 20, 800, 600), gui::GuiSizePolicy(3, 7));
    auto& window = Add<gui::GuiWindow>(layout, "window", 2, gui::GuiRecti(30, 40, 300, 200));
    window.SetTitle("Window");
    window.SetMinimumSize({100, 80});
    window.SetMaximumSize({640, 480});
    window.SetFlags(1 | 2 | 32);
    window.SetAnchorMask(gui::kAnchorRight | gui::kAnchorBottom);
    auto& group = Add<gui::GuiGroupBox>(window, "group");
    group.SetTitle("Group");
    auto& label = Add<gui::GuiLabel>(group, "label", 1, gui::GuiRecti(-5, 7, 50, 12));
    label.SetText("L\xC3\xA4\x62\x65l\n2");
    label.SetAlign(gui::GuiAlign::Far, gui::GuiAlign::Near);
    label.SetFont(2);
    auto& row = Add<gui::GuiListH>(layout, "row");
    row.SetDockPosition(gui::GuiDock::Bottom);
    FillChoices(row);
    auto& column = Add<gui::GuiListV>(layout, "column");
    column.SetDockPosition(gui::GuiDock::Right);
    FillValues(column);
}

std::string Write(gui::GuiLayout& root)
{
    gui::GuiStream stream;
    EXPECT_TRUE(gui::WriteWidgets(root, stream));
    return stream.GetData();
}

// ---- Fonts and materials

gui::FontBody MakeFont()
{
    gui::FontBody body;
    body.map['A'] = 0;
    body.map[0xE4] = 1;
    body.map[gui::Font::kBox] = 1;
    body.glyphs = {{0, 0, 2, 3, 2.5F, 3, -99, 998.5F, 3}, {0.333333F, 0.1F, 1, 2, 999, 0, 0.25F, -0.75F, 7}};
    body.bitmapWidth = 3;
    body.bitmapHeight = 2;
    body.fontSize = 13;
    body.bitmap = {0, 10, 13, 255, '\n', ' ', 7, 8, 9, 10, 11, 12, 1, 2, 3, 4, 5, 6, 7, 8, 9, 1, 2, 3};
    return body;
}

// Name, shaders, numbers of the enumerators, depthWrite and colorWrite, defines.
std::string Describe(const renderer::MaterialPass& pass)
{
    std::string text = Label(pass.name, ' ', pass.source.vertex, ' ', pass.source.fragment, " blend ",
                             static_cast<int>(pass.blend), " depth ", static_cast<int>(pass.depthTest), " cull ",
                             static_cast<int>(pass.cull), " write ", pass.depthWrite, pass.colorWrite);
    for (const std::string& define : pass.source.defines)
        text += ", " + define;
    return text;
}

// ---- The test

void WriteScenes(const std::string& folder)
{
    Scene scene;
    FillScene(scene);
    for (const char* file : {"scene.mfs", "scene.sdb"})
        ASSERT_TRUE(CEntityArray_SaveLoad::Save((folder + file).c_str(), scene.GetInterfaces()));
}

void WriteOthers(const std::string& folder)
{
    const auto write = [&](const char* file, const auto& content)
    { ASSERT_TRUE(GetFileSystem().FileReplace(folder + file, content.data(), content.size())) << file; };
    UDBDatabase database;
    UDBGroup& root = *database.AllocateGroup();
    FillTree(root);
    std::vector<std::byte> bytes;
    ASSERT_TRUE(UDBReadWriteBinary(true).Write(root, bytes));
    write("tree.udb", bytes);
    ASSERT_TRUE(UDBReadWriteBinary(false).Write(root, bytes));
    write("uncompressed.udb", bytes);
    std::string text;
    ASSERT_TRUE(UDBReadWriteAscii().Write(root, text));
    write("tree.txt", text);

    RecordingDraw draw;
    const auto context = gui::GuiContext::Create(draw);
    FillWidgets(context->GetRoot());
    ASSERT_TRUE(gui::SaveWidgetFile(*context->GetRoot().GetChild(0), folder + "widgets.gui"));
    gui::Font font;
    ASSERT_TRUE(font.Create(MakeFont()) && font.ConvertFontToAscii(text));
    write("font.fnt", text);
}

void CheckScenes(const std::string& folder)
{
    Scene wanted;
    FillScene(wanted);
    for (const char* file : {"scene.mfs", "scene.sdb"})
    {
        SCOPED_TRACE(file);
        // A copy: opening a database may write to it.
        const TemporaryFolder copies;
        std::filesystem::copy_file(folder + file, copies.Path(file));
        Scene scene;
        EXPECT_TRUE(CEntityArray_SaveLoad::Load(copies.Path(file).c_str(), scene.GetInterfaces(), nullptr, nullptr));
        EXPECT_EQ(Describe(scene), Describe(wanted));
        const float low[] = {100, 100, 100};
        Scene part;
        EXPECT_TRUE(CEntityArray_SaveLoad::Load(copies.Path(file).c_str(), part.GetInterfaces(), low, nullptr));
        ASSERT_EQ(part.GetArray().GetCount(), 1) << "what lies beyond";
        EXPECT_STREQ(GetName(part.GetArray().Get(0)), "lamp");
    }
}

void CheckOthers(const std::string& folder)
{
    const auto read = [&](const char* file)
    {
        std::vector<std::byte> bytes;
        EXPECT_TRUE(GetFileSystem().FileIn(folder + file, bytes)) << file;
        return bytes;
    };
    UDBDatabase database;
    UDBGroup& wanted = *database.AllocateGroup();
    UDBGroup& tree = *database.AllocateGroup();
    FillTree(wanted);
    for (const char* file : {"tree.udb", "uncompressed.udb"})
    {
        const auto bytes = read(file);
        EXPECT_TRUE(UDBReadWriteBinary().Read(bytes.data(), bytes.size(), tree)) << file;
        EXPECT_TRUE(SameTree(wanted, tree)) << file;
    }
    const auto text = read("tree.txt");
    EXPECT_TRUE(UDBReadWriteAscii().Read({reinterpret_cast<const char*>(text.data()), text.size()}, tree));
    EXPECT_TRUE(SameTree(wanted, tree));

    RecordingDraw draw;
    const auto wantedScreen = gui::GuiContext::Create(draw);
    const auto screen = gui::GuiContext::Create(draw);
    FillWidgets(wantedScreen->GetRoot());
    EXPECT_TRUE(gui::LoadWidgetFile(screen->GetRoot(), folder + "widgets.gui"));
    EXPECT_EQ(Write(screen->GetRoot()), Write(wantedScreen->GetRoot()));

    gui::Font font;
    ASSERT_TRUE(font.Create(folder + "font.fnt"));
    const gui::FontBody body = MakeFont();
    EXPECT_EQ(font.GetBody().map, body.map);
    EXPECT_EQ(font.GetBody().bitmap, body.bitmap);
    EXPECT_EQ(font.GetFontSize(), body.fontSize);
    ASSERT_EQ(font.GetBody().glyphs, body.glyphs);
}

class Corpus : public testing::Test
{
protected:
    Corpus()
    {
        RegisterBuiltInComponents();
        auto& types = CEntityComponentTypeDatabase::Instance();
        if (types.FindByName("ComponentCorpus") < 0)
            types.Add("ComponentCorpus", ComponentCorpus::TYPEID(), ComponentCorpus::CreateComponent);
    }
    ~Corpus() override
    {
        auto& types = CEntityComponentTypeDatabase::Instance();
        types.Remove(types.FindByName("ComponentCorpus"));
    }
};

TEST_F(Corpus, FilesOfTheFirstVersionHoldWhatTheyHeld)
{
    CheckScenes(kCorpus + "v1/");
    CheckOthers(kCorpus + "v1/");
}

TEST_F(Corpus, MaterialScriptsOfTheFirstVersionDescribeWhatTheyDid)
{
    const std::string text = ReadFile(kCorpus + "v1/material.lua");
    const auto script = renderer::RunMaterialScript("material.lua", text);
    ASSERT_TRUE(script);
    std::string passes;
    for (const renderer::MaterialPass& pass : script->passes)
        passes += Describe(pass) + '\n';
    EXPECT_EQ(passes, ReadFile(kCorpus + "v1/material.txt"));
}

// TAMRA_CORPUS_FOLDER keeps the files, for the corpus of a new version.
TEST_F(Corpus, FilesWrittenNowHoldTheSame)
{
    const TemporaryFolder temporary;
    const char* kept = std::getenv("TAMRA_CORPUS_FOLDER");
    const std::string folder = kept ? std::string(kept) + "/" : temporary.Path("");
    WriteScenes(folder);
    WriteOthers(folder);
    CheckScenes(folder);
    CheckOthers(folder);
    // The same bytes on every system, until there is another version.
    for (const char* file : {"scene.mfs", "tree.udb", "uncompressed.udb", "tree.txt", "widgets.gui", "font.fnt"})
        EXPECT_EQ(ReadFile(folder + file), ReadFile(kCorpus + "v1/" + file)) << file;
    // Of a database those of the rows: what lies around them depends on who wrote it when.
    constexpr const char* kRows = "SELECT sceneID, quote(pos_x), quote(pos_y), quote(pos_z), hex(componentData) "
                                  "FROM entities ORDER BY componentData";
    const std::string copy = temporary.Path("copy.sdb");
    std::filesystem::copy_file(kCorpus + "v1/scene.sdb", copy);
    EXPECT_EQ(Query(folder + "scene.sdb", kRows), Query(copy, kRows));
}
} // namespace
