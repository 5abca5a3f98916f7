// What the library says to files, for tests/formats/readersTest.py to compare with its own readers.
//
// formatProbe samples FOLDER          writes scenes with every built-in component, and trees with every value
// formatProbe judge KIND FOLDER       reads each file *.in; what is accepted is written again beside it: *.binary and
//                                     *.text for trees, *.dump for the others

#include "gameengine/engine/componentCamera.h"
#include "gameengine/engine/componentEditorData.h"
#include "gameengine/engine/componentLight.h"
#include "gameengine/engine/componentRenderSettings.h"
#include "gameengine/engine/componentShadowCaster.h"
#include "gameengine/engine/componentTransformDirect.h"
#include "gameengine/engine/componentTransformParent.h"
#include "gameengine/engine/entityArraySaveLoadSerialized.h"
#include "gameengine/engine/entityComponentTypeDatabase.h"
#include "gameengine/engine/scene.h"
#include "gameengine/gui/draw2D/draw.h"
#include "gameengine/gui/draw2D/font.h"
#include "gameengine/gui/guiWidget/guiContext.h"
#include "gameengine/gui/guiWidget/guiLayout.h"
#include "gameengine/gui/guiWidget/guiStream.h"
#include "gameengine/gui/guiWidget/guiWidgetFile.h"
#include "tamradeps/core/crc64.h"
#include "tamradeps/core/log.h"
#include "tamradeps/io/fileSystem.h"
#include "tamradeps/udb/udbGroup.h"
#include "tamradeps/udb/udbReadWriteAscii.h"
#include "tamradeps/udb/udbReadWriteBinary.h"
#include "tamraengine/renderer/renderer.h"
#include "tests/support/udbTrees.h"

#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

namespace
{
namespace fs = std::filesystem;

// Texts, and vectors of bytes.
template <class Content>
bool WriteFile(const std::string& path, const Content& content)
{
    return GetFileSystem().FileReplace(path, content.data(), content.size());
}

// Every type that is saved, one entity each with a transform; coordinates from NaN to large.
void FillScene(CScene& scene)
{
    CEntityComponentTypeDatabase& types = CEntityComponentTypeDatabase::Instance();
    const float places[][3] = {{0, 0, 0}, {1.5F, -2, 3e10F}, {NAN, 1, -0.0F}, {1e-40F, 7, 1.0F / 3}};
    for (int type = 0; type < types.GetCount(); ++type)
    {
        RefPtr<CEntity> entity(new CEntity(scene.GetInterfaces()));
        entity->LockComponentList();
        CEntityComponent* const component = types.Create(type, entity.Get());
        auto* transform = entity->Find<ComponentTransform>();
        if (!transform)
            transform = static_cast<ComponentTransform*>(ComponentTransformDirect::CreateComponent(entity.Get()));
        entity->UnlockComponentList();
        CMatrix matrix;
        matrix.RotateEuler(0.1F * static_cast<float>(type), 1, -2);
        const float* place = places[type % 4];
        matrix.SetTranslation({place[0], place[1], place[2]});
        transform->SetTransform(matrix);
        if (auto* name = dynamic_cast<ComponentEditorData*>(component))
            name->SetData("Caf\xC3\xA9 \"No. 1\"\n");
        if (auto* light = dynamic_cast<ComponentLight*>(component))
            light->SetLightType(ComponentLightType::Spot);
        if (auto* settings = dynamic_cast<ComponentRenderSettings*>(component))
            settings->SetFog(true, 10, INFINITY);
        scene.GetArray().Add(entity.Get());
    }
    RefPtr<CEntity> empty(new CEntity(scene.GetInterfaces()));
    scene.GetArray().Add(empty.Get());
}

// Numbers around the limits of each encoding, keys and strings around those of their lengths.
void FillTree(UDBGroup& root)
{
    std::vector<double> numbers = test::SpecialNumbers();
    for (const double number : {-128.0, -129.0, -32768.0, -32769.0, -2147483648.0, -2147483649.0}) // one farther down
        numbers.push_back(number);
    for (const double number : {1e-5, 100000.0, 123456.0, 1e21, 1e22, 0x1p60, 0.0001, 123e-7, 16777217.0}) // as texts
        numbers.push_back(number);
    for (const double number : numbers)
        root.AddNumber("n", number);
    for (const std::size_t length : {0, 1, 13, 14, 15, 16, 254, 255, 256, 65535})
    {
        root.AddString(std::string(length, 'k'), std::string(length, 's'));
        root.AddNumber(std::string(length, ' '), 1);
    }
    root.AddString("bytes", std::string("\0\1\x7f\x80 \"\\\n\r\t\xff", 11));
    root.AddString("utf8", "\xC3\xA9\xE2\x82\xAC");
    UDBGroup* group = &root;
    for (int depth = 0; depth < UDBReadWriteBinary::kMaxDepth; ++depth)
        group = group->AddNewGroup("g");
    for (int i = 0; i < 300; ++i)
        group->AddNumber("many", i);
}

bool WriteSamples(const std::string& folder)
{
    RegisterBuiltInComponents();
    CScene scene;
    FillScene(scene);
    UDBDatabase database;
    UDBGroup* root = database.AllocateGroup();
    FillTree(*root);
    std::vector<std::byte> binary;
    std::string text;
    return CEntityArray_SaveLoad::Save((folder + "/all.mfs").c_str(), scene.GetInterfaces()) &&
           CEntityArray_SaveLoad::Save((folder + "/all.sdb").c_str(), scene.GetInterfaces()) &&
           UDBReadWriteBinary().Write(*root, binary) && UDBReadWriteAscii().Write(*root, text) &&
           WriteFile(folder + "/tree.udb", binary) && WriteFile(folder + "/tree.txt", text);
}

void JudgeTree(const std::string& path, const std::vector<std::byte>& content, bool isText)
{
    UDBDatabase database;
    UDBGroup* root = database.AllocateGroup();
    const std::string_view text(reinterpret_cast<const char*>(content.data()), content.size());
    if (isText ? !UDBReadWriteAscii().Read(text, *root)
               : !UDBReadWriteBinary().Read(content.data(), content.size(), *root))
        return;
    std::vector<std::byte> binary;
    std::string written;
    if (UDBReadWriteBinary().Write(*root, binary) && UDBReadWriteAscii().Write(*root, written))
    {
        WriteFile(path + ".binary", binary);
        WriteFile(path + ".text", written);
    }
}

void JudgeScene(const std::string& path, const std::vector<std::byte>& content)
{
    CScene scene;
    CEntityArray_SaveLoad_Serialized store("unused.mfs", scene.GetInterfaces());
    if (!store.LoadBytes(content, nullptr, nullptr))
        return;
    WriteFile(path + ".dump", std::to_string(scene.GetArray().GetCount()));
}

void JudgeFont(const std::string& path, const std::vector<std::byte>& content)
{
    gui::Font font;
    if (!font.CreateFromAscii(path, {reinterpret_cast<const char*>(content.data()), content.size()}))
        return;
    const gui::FontBody& body = font.GetBody();
    std::string dump;
    char line[64];
    const auto add = [&](const char* format, auto... values)
    {
        std::snprintf(line, sizeof line, format, values...);
        dump += line;
    };
    for (const std::int32_t entry : body.map)
        add("%d ", static_cast<int>(entry));
    for (const gui::Glyph& g : body.glyphs)
    {
        for (const float value : {g.textureX, g.textureY, g.textureWidth, g.textureHeight, g.width, g.height, g.offsetX,
                                  g.offsetY, g.advance})
            add("%a ", static_cast<double>(value));
    }
    add("%d %d %d %016" PRIx64, static_cast<int>(body.bitmapWidth), static_cast<int>(body.bitmapHeight),
        static_cast<int>(body.fontSize), HashCRC64Data(body.bitmap.data(), body.bitmap.size()));
    WriteFile(path + ".dump", dump);
}

// Damaged lines are left out; what is left of the tree is written again.
void JudgeWidgets(const std::string& path, const std::vector<std::byte>& content)
{
    renderer::CRenderer renderer;
    const auto draw = gui::Draw::Create(renderer);
    const auto context = gui::GuiContext::Create(*draw);
    gui::GuiStream stream(std::string(reinterpret_cast<const char*>(content.data()), content.size()));
    gui::ReadWidgets(context->GetRoot(), stream);
    gui::GuiStream written;
    const gui::GuiFreeLayout& root = context->GetRoot();
    for (std::size_t i = 0; i < root.GetChildCount(); ++i)
        gui::WriteWidgets(*root.GetChild(i), written);
    WriteFile(path + ".dump", written.GetData());
}

bool Judge(const std::string& kind, const std::string& folder)
{
    RegisterBuiltInComponents();
    tamra::log::SetStandardErrorEnabled(false);
    for (const auto& entry : fs::directory_iterator(folder))
    {
        if (entry.path().extension() != ".in")
            continue;
        const std::string path = fs::absolute(entry.path()).string();
        std::vector<std::byte> content;
        if (!GetFileSystem().FileIn(path, content))
            return false;
        if (kind == "mfs")
            JudgeScene(path, content);
        else if (kind == "fnt")
            JudgeFont(path, content);
        else if (kind == "gui")
            JudgeWidgets(path, content);
        else
            JudgeTree(path, content, kind == "text");
    }
    return true;
}
} // namespace

int main(int count, char** values)
{
    const std::string command = count > 1 ? values[1] : "";
    if (command == "samples" && count == 3)
        return WriteSamples(fs::absolute(values[2]).string()) ? 0 : 1;
    if (command == "judge" && count == 4)
        return Judge(values[2], values[3]) ? 0 : 1;
    return 2;
}
