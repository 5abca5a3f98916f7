// The files of tests/samples were written on one system. Every system writes the same bytes for the same scene, and
// reads them. With TAMRA_WRITE_SAMPLES in the environment the files are written anew.

#include "gameengine/engine/componentAlwaysVisible.h"
#include "gameengine/engine/componentCamera.h"
#include "gameengine/engine/componentLight.h"
#include "gameengine/engine/componentRenderSettings.h"
#include "gameengine/engine/componentShadowCaster.h"
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
                ChangeProperties(*entity->GetComponent(k), random);
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
