#include "support/deviceFixture.h"
#include "support/expectations.h"
#include "support/files.h"
#include "tamradeps/io/fileSystem.h"
#include "tamraengine/renderer/imageEncoder.h"
#include "tamraengine/renderer/programmableMaterial.h"
#include "tamraengine/renderer/textureManagerLightImage.h"

using namespace renderer;

namespace
{
// A folder of assets of its own, with shaders that draw in one colour.
class Material : public test::DeviceTest
{
protected:
    void Prepare() override
    {
        GetFileSystem().SetUserFolder(m_folder.Path(""));
        Write("a.vert", "layout(location = 0) in vec3 position;\nvoid main() { gl_Position = vec4(position, 1.0); }\n");
        Write("a.frag", "out vec4 result;\nvoid main() { result = COLOR; }\n");
    }
    void TearDown() override { GetFileSystem().SetUserFolder(""); }

    void Write(const std::string& name, const std::string& text) { test::WriteFile(m_folder.Path(name), text); }
    static std::string MakePass(const std::string& name, const std::string& color, const std::string& more = "")
    {
        return "pass { name = '" + name + "', vertex = 'a.vert', fragment = 'a.frag', defines = { 'COLOR vec4(" +
               color + ")' }, " + more + " }\n";
    }

    Pixel Draw(const CProgrammableMaterial& material, int pass)
    {
        const auto target = CRenderTarget::Create(m_renderer, 2, 2);
        target->Bind();
        m_renderer.Clear({0, 0, 1});
        EXPECT_TRUE(material.Bind(pass));
        DrawRectangle(-1, -1, 1, 1, 0, 0);
        return GetPixel(target->ReadPixels(), 0, 0);
    }

    test::TemporaryFolder m_folder;
};
using LightImage = Material;
} // namespace

TEST_F(Material, PassesDrawWithTheirProgramAndState)
{
    Write("m.lua", MakePass("RED", "1, 0, 0, 1") + MakePass("ADD", "0, 1, 0, 0.5", "blend = 'additive'") +
                       MakePass("BACK", "1, 1, 1, 1", "cull = 'front'") +
                       MakePass("DEPTH", "1, 1, 1, 1", "colorWrite = false, depthTest = 'always', depthWrite = false"));
    const RefPtr<CProgrammableMaterial> material(new CProgrammableMaterial(m_renderer));
    EXPECT_FALSE(material->Bind(0));
    EXPECT_EQ(material->GetPass("RED"), -1);
    ASSERT_TRUE(material->Load("m.lua"));
    EXPECT_EQ(Draw(*material, material->GetPass("RED")), (Pixel{255, 0, 0, 255}));
    EXPECT_EQ(Draw(*material, material->GetPass("ADD")), (Pixel{0, 128, 255, 255}));
    EXPECT_EQ(Draw(*material, material->GetPass("BACK")), (Pixel{0, 0, 255, 255}));
    EXPECT_EQ(Draw(*material, material->GetPass("DEPTH")), (Pixel{0, 0, 255, 255}));
    EXPECT_EQ(m_renderer.GetState().GetValues().depthTest, DepthTest::Always);
    EXPECT_FALSE(m_renderer.GetState().GetValues().depthWrite);
    EXPECT_FALSE(material->Bind(4));
    EXPECT_FALSE(material->Bind(-1));
    EXPECT_EQ(material->GetProgram(4), nullptr);

    m_renderer.ShutdownDevice();
    EXPECT_FALSE(material->Bind(0));
}

TEST_F(Material, KeepsTheLastGoodPassesUntilTheFilesAreRightAgain)
{
    CProgrammableMaterial material(m_renderer);
    {
        const test::ExpectLog expected{"\"m.lua\": there is no such file"};
        EXPECT_FALSE(material.Load("m.lua"));
        EXPECT_FALSE(material.ReloadIfChanged());
    }
    Write("m.lua", MakePass("A", "1, 0, 0, 1") + MakePass("B", "0, 1, 0, 1"));
    EXPECT_TRUE(material.ReloadIfChanged());
    EXPECT_FALSE(material.ReloadIfChanged());
    const int a = material.GetPass("A");
    const int b = material.GetPass("B");

    const std::pair<std::string, std::string> kMistakes[] = {
        {"pass", "m.lua:1: "}, {MakePass("A", "1, 2"), "a.frag:2: "}, {"pass { speed = 1 }", "speed"}};
    for (const auto& [text, fault] : kMistakes)
    {
        const test::ExpectLog expected{fault}; // once, not each frame
        Write("m.lua", text);
        EXPECT_FALSE(material.ReloadIfChanged());
        EXPECT_FALSE(material.ReloadIfChanged());
        EXPECT_EQ(Draw(material, b), (Pixel{0, 255, 0, 255}));
    }

    // Passes keep their numbers, whatever their order and company.
    Write("m.lua", MakePass("C", "1, 1, 1, 1") + MakePass("B", "0, 0.5, 0, 1"));
    EXPECT_TRUE(material.ReloadIfChanged());
    EXPECT_EQ(Draw(material, b), (Pixel{0, 128, 0, 255}));
    EXPECT_EQ(Draw(material, material.GetPass("C")), (Pixel{255, 255, 255, 255}));
    EXPECT_FALSE(material.HasPass(a) || material.Bind(a));

    // So do shaders count.
    Write("a.frag", "out vec4 result;\nvoid main() { result = COLOR.bgra + 0.0; result.r = 1.0; }\n");
    EXPECT_TRUE(material.ReloadIfChanged());
    EXPECT_EQ(Draw(material, b), (Pixel{255, 128, 0, 255}));
}

TEST_F(LightImage, TexturesAreSharedAndFaultyImagesVisible)
{
    const Image image{2, 1, {1, 2, 3, 4, 5, 6, 7, 8}};
    ASSERT_TRUE(WritePng(m_folder.Path("good.png"), image));
    Write("broken.png", "\x89PNG");
    CTextureManager_LightImage textures(m_renderer);
    const auto good = textures.Load("good.png");
    ASSERT_TRUE(good);
    EXPECT_EQ(good->Read()[5], std::byte{6});
    EXPECT_EQ(textures.Load("good.png"), good);
    EXPECT_FALSE(textures.Load("good.png", TextureFilter::Nearest) == good);
    {
        const test::ExpectLog expected{"broken.png\": the file ends", "\"none.png\": there is no such file"};
        for (int i = 0; i < 2; ++i)
        {
            EXPECT_EQ(textures.Load("broken.png"), textures.GetPlaceholder());
            EXPECT_EQ(textures.Load("none.png"), textures.GetPlaceholder());
        }
    }
    EXPECT_EQ(textures.GetPlaceholder()->Read()[0], std::byte{0});
    EXPECT_EQ(textures.GetPlaceholder()->Read()[4], std::byte{255});
    EXPECT_EQ(textures.GetCount(), 4U);
    textures.ReleaseUnused();
    EXPECT_EQ(textures.GetCount(), 1U);
    ASSERT_TRUE(WritePng(m_folder.Path("broken.png"), image));
    EXPECT_FALSE(textures.Load("broken.png") == textures.GetPlaceholder());

    m_renderer.ShutdownDevice();
    EXPECT_FALSE(good->IsAlive());
    const test::ExpectLog expected{"no device"};
    EXPECT_FALSE(textures.Load("good.png"));
    textures.Clear();
    EXPECT_EQ(textures.GetCount(), 0U);
}
