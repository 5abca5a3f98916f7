// The database of tests/samples was written on one system. Every system writes the same rows for the same scene, and
// reads them. With TAMRA_WRITE_SAMPLES in the environment it is written anew. Files of other kinds are in the corpus.

#include "gameengine/engine/componentAlwaysVisible.h"
#include "gameengine/engine/componentCamera.h"
#include "gameengine/engine/componentLight.h"
#include "gameengine/engine/componentRenderSettings.h"
#include "gameengine/engine/componentShadowCaster.h"
#include "support/storageFixture.h"

#include <cstdlib>
#include <filesystem>

using namespace test;

// Of a database, the rows: what lies around them depends on who wrote it when.
TEST(Samples, Database)
{
    StorageScene world;
    Random random(20240611);
    for (int i = 0; i < 40; ++i)
    {
        const RefPtr<CEntity> entity = world.Make<ComponentTransformDirect, ComponentEditorData>();
        if (i % 4 == 0)
            AddComponents<ComponentCamera, ComponentRenderSettings>(*entity);
        else
            AddComponents<ComponentLight, ComponentShadowCaster, ComponentAlwaysVisible>(*entity);
        for (int k = 0; k < entity->GetComponentCount(); ++k)
            ChangeProperties(*entity->GetComponent(k), random);
        Rename(entity.Get(), Label("Entity \xC3\xA4\xE2\x82\xAC ", i));
        world.GetArray().Add(entity.Get());
    }
    constexpr const char* kSample = TAMRA_SOURCE_FOLDER "/tests/samples/world.sdb";
    constexpr const char* kRows = "SELECT sceneID, quote(pos_x), quote(pos_y), quote(pos_z), hex(componentData) "
                                  "FROM entities ORDER BY componentData";
    const TemporaryFolder folder;
    const std::string path = folder.Path("world.sdb");
    ASSERT_TRUE(CEntityArray_SaveLoad::Save(path.c_str(), world.GetInterfaces()));
    if (std::getenv("TAMRA_WRITE_SAMPLES"))
        std::filesystem::copy_file(path, kSample, std::filesystem::copy_options::overwrite_existing);
    const std::string sample = folder.Path("sample.sdb"); // a copy: opening a database may write to it
    std::filesystem::copy_file(kSample, sample);
    EXPECT_EQ(Query(path, kRows), Query(sample, kRows));
    EXPECT_EQ(LoadContent(sample), world.GetContent());
}
