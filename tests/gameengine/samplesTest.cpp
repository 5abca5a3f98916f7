// The files of tests/samples were written on one system. Every system writes the same bytes for the same scene, font
// and widgets, and reads them. With TAMRA_WRITE_SAMPLES in the environment the files are written anew.

#include "gameengine/engine/componentAlwaysVisible.h"
#include "gameengine/engine/componentCamera.h"
#include "gameengine/engine/componentLight.h"
#include "gameengine/engine/componentRenderSettings.h"
#include "gameengine/engine/componentShadowCaster.h"
#include "gameengine/gui/draw2D/font.h"
#include "gameengine/gui/guiWidget/guiContext.h"
#include "gameengine/gui/guiWidget/guiLayout.h"
#include "gameengine/gui/guiWidget/guiStream.h"
#include "gameengine/gui/guiWidget/guiWidgetFile.h"
#include "support/recordingDraw.h"
#include "support/storageFixture.h"
#include "tamradeps/io/fileSystem.h"

#include <cstdlib>
#include <filesystem>
#include <utility>

using namespace test;

namespace
{
std::string GetSample(const std::string& name)
{
    return TAMRA_SOURCE_FOLDER "/tests/samples/" + name;
}

bool IsWriting()
{
    return std::getenv("TAMRA_WRITE_SAMPLES") != nullptr;
}

// Whether the file holds these bytes and no others.
void ExpectSample(const std::string& name, const std::string& bytes)
{
    if (IsWriting())
    {
        ASSERT_TRUE(GetFileSystem().FileReplace(GetSample(name), bytes.data(), bytes.size()));
    }
    const std::string sample = ReadFile(GetSample(name));
    ASSERT_EQ(bytes.size(), sample.size()) << name;
    const auto difference = std::mismatch(bytes.begin(), bytes.end(), sample.begin()).first;
    EXPECT_EQ(difference, bytes.end()) << name << " from byte " << difference - bytes.begin();
}

// Gives every property of the component another value.
void Change(CEntityComponent& component, Random& random)
{
    CEntityComponentProperty property;
    for (int i = 0; component.GetProperty(i, &property); ++i)
    {
        const char* const name = property.name;
        const float color[] = {random.Between(0, 1), random.Between(0, 1), random.Between(0, 1), random.Between(0, 1)};
        switch (property.kind)
        {
        case CEntityComponentProperty::kInt: property.SetInt(name, random.Below(2)); break;
        case CEntityComponentProperty::kFloat: property.SetFloat(name, random.Between(0.1F, 90)); break;
        case CEntityComponentProperty::kVector3:
            property.SetVector3(name, color[0] * 360 - 180, color[1] * 1000 - 500, color[2] * 3000);
            break;
        case CEntityComponentProperty::kColor: property.SetColor(name, color); break;
        case CEntityComponentProperty::kText: property.SetText(name, Label("Wei\xC3\x9F ", i).c_str()); break;
        default: continue;
        }
        component.SetProperty(i, &property);
    }
}

class Samples : public testing::Test
{
protected:
    Samples()
    {
        Random random(20240611);
        for (int i = 0; i < 40; ++i)
        {
            const RefPtr<CEntity> entity =
                i % 4 == 0 ? m_world.Make<ComponentTransformDirect, ComponentEditorData, ComponentCamera,
                                          ComponentRenderSettings>()
                           : m_world.Make<ComponentTransformDirect, ComponentEditorData, ComponentLight,
                                          ComponentShadowCaster, ComponentAlwaysVisible>();
            for (int k = 0; k < entity->GetComponentCount(); ++k)
                Change(*entity->GetComponent(k), random);
            Rename(entity.Get(), Label("Entity \xC3\xA4\xE2\x82\xAC ", i));
            m_world.GetArray().Add(entity.Get());
        }
    }

    TemporaryFolder m_folder;
    StorageScene m_world;
};
} // namespace

TEST_F(Samples, SceneFile)
{
    const std::string path = m_folder.Path("world.mfs");
    ASSERT_TRUE(CEntityArray_SaveLoad::Save(path.c_str(), m_world.GetInterfaces()));
    ExpectSample("world.mfs", ReadFile(path));
    EXPECT_EQ(LoadContent(GetSample("world.mfs")), m_world.GetContent());
}

// Of a database, the rows: what lies around them depends on who wrote it when.
TEST_F(Samples, Database)
{
    constexpr const char* kRows = "SELECT sceneID, quote(pos_x), quote(pos_y), quote(pos_z), hex(componentData) "
                                  "FROM entities ORDER BY componentData";
    const std::string path = m_folder.Path("world.sdb");
    ASSERT_TRUE(CEntityArray_SaveLoad::Save(path.c_str(), m_world.GetInterfaces()));
    const std::string sample = m_folder.Path("sample.sdb");
    if (IsWriting())
        std::filesystem::copy_file(path, GetSample("world.sdb"), std::filesystem::copy_options::overwrite_existing);
    std::filesystem::copy_file(GetSample("world.sdb"), sample);
    EXPECT_EQ(Query(path, kRows), Query(sample, kRows));
    EXPECT_EQ(LoadContent(sample), m_world.GetContent());
}

TEST_F(Samples, Font)
{
    Random random(3);
    gui::FontBody body;
    body.bitmapWidth = 16;
    body.bitmapHeight = 16;
    body.fontSize = 13;
    for (int i = 0; i < 96; ++i)
    {
        body.map[static_cast<std::size_t>(i + 32)] = static_cast<std::uint8_t>(i);
        gui::Glyph glyph = {};
        for (float* value = reinterpret_cast<float*>(&glyph); value != reinterpret_cast<float*>(&glyph + 1); ++value)
            *value = random.Between(-1, 1) * (i % 2 ? 99.0F : 1e-3F);
        body.glyphs.push_back(glyph);
    }
    for (int i = 0; i < body.bitmapWidth * body.bitmapHeight * 4; ++i)
        body.bitmap.push_back(static_cast<std::uint8_t>(random.Bits()));
    gui::Font font;
    std::string text;
    ASSERT_TRUE(font.Create(std::move(body)) && font.ConvertFontToAscii(text));
    ExpectSample("font.fnt", text);
    gui::Font again;
    EXPECT_TRUE(again.CreateFromAscii("font.fnt", ReadFile(GetSample("font.fnt"))));
    EXPECT_EQ(again.GetBody().bitmap, font.GetBody().bitmap);
}

TEST_F(Samples, Widgets)
{
    Random random(4);
    std::string text = "GWT_LIST_V \"list\" 0 0 10 10 NONE CENTER 7 7 0\n";
    for (int i = 0; i < 40; ++i)
    {
        const float numbers[] = {random.Between(-9e5F, 0), random.Between(0, 9e5F), random.Between(-1, 1)};
        text += Label("\tGWT_SPINNER ", numbers[0], " ", numbers[1], " ", numbers[2], " 0.1 0 \"id ", i,
                      "\" 1 2 30 40 LEFT|TOP NONE 3 1 1\n\tGWT_LABEL \"Wei\xC3\x9F\\n ", i, "\" 1 2 -1 \"\" 1 ", i,
                      " 3 4 RIGHT NONE 0 0 0\n");
    }
    RecordingDraw draw;
    const auto context = gui::GuiContext::Create(draw);
    gui::GuiStream stream(text);
    EXPECT_TRUE(gui::ReadWidgets(context->GetRoot(), stream));
    const std::string path = m_folder.Path("widgets.gui");
    ASSERT_TRUE(gui::SaveWidgetFile(context->GetRoot(), path));
    ExpectSample("widgets.gui", ReadFile(path));
    const auto second = gui::GuiContext::Create(draw);
    EXPECT_TRUE(gui::LoadWidgetFile(second->GetRoot(), GetSample("widgets.gui")));
}
