// The examples of the pages in docs/, which are cut from the parts marked here.

#include "gameengine/engine/aabbGridAdvice.h"
#include "gameengine/engine/componentEditorData.h"
#include "gameengine/engine/componentRuntimeData.h"
#include "gameengine/engine/componentTransformDirect.h"
#include "gameengine/engine/componentTransformParent.h"
#include "gameengine/engine/entityArrayAccelerationTree.h"
#include "gameengine/engine/entityArraySaveLoad.h"
#include "gameengine/engine/entityArraySpatialQuery.h"
#include "gameengine/engine/entityComponentDatabase.h"
#include "gameengine/engine/entityComponentTypeDatabase.h"
#include "gameengine/engine/occlusionAABBSoftwareHierarchicalZ.h"
#include "gameengine/engine/scene.h"
#include "gameengine/engine/sceneStreamer.h"
#include "gameengine/gui/draw2D/draw.h"
#include "gameengine/gui/draw2D/font.h"
#include "gameengine/gui/draw2D/latin1.h"
#include "gameengine/gui/guiConsole/guiConsole.h"
#include "gameengine/gui/guiWidget/guiAutomation.h"
#include "gameengine/gui/guiWidget/guiContext.h"
#include "gameengine/gui/guiWidget/guiLayout.h"
#include "gameengine/gui/guiWidget/guiWidgetFile.h"
#include "support/expectations.h"
#include "tamradeps/core/log.h"
#include "tamradeps/io/fileSystem.h"
#include "tamradeps/sqlite/database.h"
#include "tamradeps/sqlite/query.h"
#include "tamradeps/sqlite/transaction.h"
#include "tamradeps/udb/udbGroup.h"
#include "tamradeps/udb/udbReadWriteAscii.h"
#include "tamradeps/udb/udbReadWriteBinary.h"
#include "tamraengine/renderer/renderer.h"

#include <cmath>

#include <gtest/gtest.h>

namespace
{
// [lock]
RefPtr<CEntity> MakeCrate(CScene& scene, CVector3 place)
{
    RefPtr<CEntity> entity(new CEntity(scene.GetInterfaces()));
    entity->LockComponentList();
    ComponentTransformDirect::CreateComponent(entity.Get());
    ComponentRuntimeData::CreateComponent(entity.Get());
    ComponentEditorData::CreateComponent(entity.Get());
    entity->UnlockComponentList();

    auto* transform = entity->Find<ComponentTransform>();
    const float box[6] = {-1, -1, 0, 1, 1, 2};
    transform->SetUntransformedBoundingBox(box);
    CMatrix matrix;
    matrix.SetTranslation(place);
    transform->SetTransform(matrix);
    entity->Find<ComponentEditorData>()->SetData("Crate");
    scene.GetArray().Add(entity.Get());
    return entity;
}
// [lock end]

// [follow]
/// Counts the entities of a scene. Either of the two may be destroyed first.
class CCensus
{
public:
    explicit CCensus(CEntityArray& array) : m_count(array.GetCount()) { m_changed.Subscribe(array.Events()); }

    int GetCount() const { return m_count; }

private:
    void i_OnChanged(const EventMessage& message)
    {
        const auto* entity = message.first.GetObjectPointer<CEntity>("CEntity");
        if (entity && message.id == CEntityArray::kEntityAdded)
            ++m_count;
        else if (entity && message.id == CEntityArray::kEntityRemoved)
            --m_count;
    }

    int m_count;
    CEventSubscription m_changed{[this](const EventMessage& message) { i_OnChanged(message); }};
};
// [follow end]

class Examples : public testing::Test
{
protected:
    Examples() { RegisterBuiltInComponents(); }

    CScene m_scene;
    test::TemporaryFolder m_folder;
};
} // namespace

TEST_F(Examples, Entities)
{
    CScene& scene = m_scene;
    const CCensus census(scene.GetArray());
    const RefPtr<CEntity> crate = MakeCrate(scene, {1, 2, 3});
    MakeCrate(scene, {4, 5, 6});
    EXPECT_EQ(census.GetCount(), 2);

    // [database]
    float highest = 0.0F;
    CEntityComponentDatabase* transforms = scene.GetArray().CreateComponentDatabase(ComponentTransform::TYPEID());
    for (int i = 0; i < transforms->GetCount(); ++i)
    {
        auto* transform = static_cast<ComponentTransform*>(transforms->Get(static_cast<unsigned int>(i)));
        highest = std::max(highest, transform->GetBoundingBox().GetMax().z);
    }
    // [database end]
    EXPECT_EQ(highest, 8.0F);

    // [parent]
    RefPtr<CEntity> lid(new CEntity(scene.GetInterfaces()));
    lid->LockComponentList();
    auto* transform = static_cast<ComponentTransformParent*>(ComponentTransformParent::CreateComponent(lid.Get()));
    lid->UnlockComponentList();
    CMatrix offset;
    offset.SetTranslation({0, 0, 2});
    transform->SetTransform(offset); // the local matrix
    transform->SetParent(crate->Find<ComponentTransform>());
    // [parent end]
    EXPECT_EQ(transform->GetTransform().Translation(), CVector3(1, 2, 5));
}

TEST_F(Examples, Spatial)
{
    CScene& scene = m_scene;
    for (int i = 0; i < 100; ++i)
        MakeCrate(scene, {static_cast<float>(i) * 5, 0, 0});

    // [tree]
    const AABBGridAdvice advice = AdviseGrid(scene.GetArray());
    RefPtr<CEntityArray_AccelerationTree> tree(new CEntityArray_AccelerationTree);
    tree->InitializeWithDynamicGrid(advice.bounds.GetFloats(), advice.cellSize.x, advice.cellSize.y, advice.cellSize.z);
    tree->AddSource(&scene.GetArray()); // those that come from now on
    for (int i = 0; i < scene.GetArray().GetCount(); ++i)
        tree->Add(scene.GetArray().Get(i)); // those that are there
    // [tree end]

    // [query]
    CEntityArray_SpatialQuery query(tree.Get());
    std::vector<CEntity*> buffer;
    for (CEntity* entity : query.InSphere({50, 0, 1}, 10.0F, buffer))
        entity->Find<ComponentEditorData>()->SetData("Near");
    const auto ahead = query.AlongRay({-10, 0, 1}, {1, 0, 0}, 100.0F, 3, buffer); // the three that are hit first
    // [query end]
    ASSERT_EQ(ahead.size(), 3U);
    EXPECT_EQ(ahead[2]->Find<ComponentTransform>()->GetTransform().Translation().x, 10.0F);
    EXPECT_STREQ(query.Nearest({50, 0, 1}, 1, buffer)[0]->Find<ComponentEditorData>()->GetData(), "Near");

    // [walk]
    struct Counter : CAABBDynamicGrid::walkCallback
    {
        int count = 0;
    } counter;
    counter.function = [](CAABBDynamicGrid::walkCallback* callback, CAABBDynamicGridCell* cell)
    {
        for (const SpatialObjectGrid* link = cell->objects; link; link = link->next)
        {
            // An entity stands in every cell that its box reaches.
            if (CEntityArray_AccelerationTree::GetEntityFromTreeObject_Once(link->object))
                ++static_cast<Counter*>(callback)->count;
        }
    };
    CEntityArray_AccelerationTree::IncrementOnceCounter();
    tree->GetGrid()->WalkAABBOnlyFilled(advice.bounds.GetFloats(), counter);
    // [walk end]
    EXPECT_EQ(counter.count, 100);
}

TEST_F(Examples, Occlusion)
{
    // [cull]
    renderer::CRenderer renderer; // this culler needs no device
    RefPtr<COcclusionAABBSoftwareHierarchicalZ> culler(new COcclusionAABBSoftwareHierarchicalZ(renderer));
    const CVector3 eye(0, 0, 1);
    const CMatrix viewProjection =
        CMatrix::Projection(60.0F, 16.0F / 9.0F, 0.5F, 500.0F) * CMatrix::View(eye, {10, 0, 1}, {0, 0, 1});
    const collision::PrimAABB wall({20, -30, 0}, {21, 30, 20});
    culler->SetOccluderBoxes({&wall, 1});

    const float boxes[3][6] = {{30, -1, 0, 32, 1, 2}, {10, -1, 0, 12, 1, 2}, {-12, -1, 0, -10, 1, 2}};
    culler->SetFrameData(0, collision::PrimFrustum(viewProjection), eye);
    culler->SetViewProjection(viewProjection); // after SetFrameData, which forgets it
    culler->SetBoundingBoxes(3, &boxes[0][0]);
    culler->DoOcclusion();
    // Box 0 is behind the wall, box 2 behind the camera.
    EXPECT_EQ(culler->GetVisibleCount(), 1);
    EXPECT_EQ(culler->GetVisibleID(0), 1);
    // [cull end]
}

TEST_F(Examples, Storage)
{
    CScene& scene = m_scene;
    const RefPtr<CEntity> crate = MakeCrate(scene, {1, 2, 3});
    const std::string file = m_folder.Path("crates.sdb");
    const std::string whole = m_folder.Path("crates.mfs");
    // [whole]
    CEntityArray_SaveLoad::Save(whole.c_str(), scene.GetInterfaces());
    CScene copy;
    CEntityArray_SaveLoad::Load(whole.c_str(), copy.GetInterfaces(), nullptr, nullptr);
    // [whole end]
    EXPECT_EQ(copy.GetArray().GetCount(), 1);

    // [store]
    CEntityArray_SaveLoad_SqliteDB store(file.c_str(), scene.GetInterfaces());
    store.Save(); // an INSERT
    crate->Find<ComponentEditorData>()->SetData("Box");
    store.Save();                         // an UPDATE
    store.Save();                         // nothing
    store.DeleteEntity(crate.Get());      // with the next Save
    scene.GetArray().Remove(crate.Get()); // or it would be stored anew
    store.Save();                         // a DELETE
    // [store end]
    const auto& counters = store.GetCounters();
    EXPECT_EQ(counters.inserted + counters.updated + counters.deleted, 3U);
}

TEST_F(Examples, Drawing)
{
    renderer::CRenderer renderer;
    GetFileSystem().AddRoot(TAMRA_SOURCE_FOLDER "/assets");
    // [text]
    const std::unique_ptr<gui::Draw> draw = gui::Draw::Create(renderer);
    const std::string label = gui::ToLatin1("Caf\xC3\xA9");
    const int width = draw->GetTextWidth(label, gui::TFB_SEGOE_16);
    draw->PushClip({10, 10, 200, 40});
    draw->FillRoundRect({10, 10, width + 16, draw->GetLineHeight(gui::TFB_SEGOE_16) + 8}, 4, 0xFF302820);
    draw->Text(18, 14, label, 0xFFFFFFFF, gui::TFB_SEGOE_16);
    draw->PopClip();
    draw->RenderAll(1280, 720); // once a frame; nothing without a device
    // [text end]
    EXPECT_EQ(label.size(), 4U);
    EXPECT_GT(width, 20);

    const auto context = gui::GuiContext::Create(*draw);
    struct Tool final : gui::GuiCallback
    {
        bool OnGuiEvent(const char* name, const gui::GuiEvent&) override
        {
            last = name;
            return true;
        }
        std::string last;
    } tool;
    const std::string copy = m_folder.Path("copy.gui");
    // [widget-files]
    gui::LoadWidgetFile(context->GetRoot(), "gui/colorpicker.gui"); // from the assets
    gui::GuiWidget* const window = context->GetRoot().FindChildNotNull("colorpicker");
    window->SetCallback(&tool);
    gui::SaveWidgetFile(*window, copy); // a widget and everything below it
    // [widget-files end]
    context->Update(0.0F);
    context->Render(1280, 720);
    // [automate]
    gui::GuiAutomation user(*context);
    user.Fill("colorpicker/hex", "00FF00FF"); // click, choose all, type
    user.Drag("colorpicker", gui::Vec2<int>(600, 300));
    user.Click("OK"); // by id, by path of ids, or by the text that is seen
    float red = 0.0F;
    user.GetValue("colorpicker/red", red);
    // [automate end]
    EXPECT_EQ(tool.last, "ok");
    std::string text;
    EXPECT_TRUE(user.GetText("hex", text) && text == "00FF00FF");
    EXPECT_EQ(red, 255.0F); // nobody listens to the window
}

TEST_F(Examples, Console)
{
    renderer::CRenderer renderer;
    CGuiConsole console(renderer);
    CVector3 camera;
    float angle = 75.0F;
    // [console]
    console.AddHandler(
        "goto", [&](const std::string&, const std::string& place) { std::sscanf(place.c_str(), "%f", &camera.x); },
        "goto X: moves the camera there");
    console.GetVariables().Add("view.angle", {.value = 75.0F,
                                              .low = 30,
                                              .high = 120,
                                              .help = "Degrees from left to right.",
                                              .changed = [&](const std::string&, const GuiConsoleValue& value)
                                              { angle = std::get<float>(value); }});
    console.Execute("goto 12");
    console.Execute("set view.angle 90");
    // [console end]
    EXPECT_EQ(camera.x, 12.0F);
    EXPECT_EQ(angle, 90.0F);
}

TEST_F(Examples, Foundation)
{
    const std::string path = m_folder.Path("tree.udb");
    const std::string database = m_folder.Path("rows.sdb");
    // [udb]
    UDBDatabase memory; // owns all of the tree
    UDBGroup* root = memory.AllocateGroup();
    root->AddString("name", "Crate");
    UDBGroup* size = root->AddNewGroup("size");
    size->AddNumber("x", 2.0);
    std::vector<std::byte> bytes;
    UDBReadWriteBinary().Write(*root, bytes);
    GetFileSystem().FileReplace(path, bytes.data(), bytes.size());

    std::vector<std::byte> content;
    UDBGroup* again = memory.AllocateGroup();
    double x = 0.0;
    if (GetFileSystem().FileIn(path, content) && UDBReadWriteBinary().Read(content.data(), content.size(), *again))
        x = again->GetGroup("size")->GetNumber("x");
    // [udb end]
    EXPECT_EQ(x, 2.0);
    EXPECT_STREQ(again->GetString("name"), "Crate");

    // [sqlite]
    sqlite::database rows;
    sqlite::query insert;
    if (rows.open(database) && rows.execute("CREATE TABLE crates(id INTEGER PRIMARY KEY, data BLOB)"))
    {
        sqlite::transaction saving(rows); // rolls back unless it is committed
        insert.prepare(rows, "INSERT INTO crates(data) VALUES(?1)");
        insert.bind(1, bytes.data(), bytes.size());
        EXPECT_EQ(insert.step(), sqlite::query::Step::Done);
        EXPECT_TRUE(saving.commit());
    }
    // [sqlite end]
    EXPECT_EQ(rows.lastInsertRowID(), 1);
}

TEST_F(Examples, LogAndMathematics)
{
    // [log]
    struct Keeper final : tamra::log::Sink
    {
        // Other threads may log: a sink leaves in the destructor of its own class.
        ~Keeper() override { tamra::log::RemoveSink(*this); }
        void Write(tamra::log::Level level, std::string_view line) override
        {
            if (level != tamra::log::Level::Info)
                lines.emplace_back(line);
        }
        std::vector<std::string> lines;
    } keeper;
    tamra::log::AddSink(keeper);
    tamra::log::Info("loading " + tamra::log::Quoted("a name\nfrom a file"));
    // [log end]
    EXPECT_TRUE(keeper.lines.empty());

    // [matrix]
    CMatrix parent;
    parent.RotateEuler(0, 0, 1.5707963F); // a quarter turn about Z: it looks along +Y now
    parent.SetTranslation({10, 0, 0});
    CMatrix local;
    local.SetTranslation({2, 0, 0}); // two ahead of the parent
    const CVector3 place = (parent * local).Translation();
    // [matrix end]
    EXPECT_NEAR(place.x, 10.0F, 1e-5F);
    EXPECT_NEAR(place.y, 2.0F, 1e-5F);
}
