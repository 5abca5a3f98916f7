#include "support/deviceFixture.h"
#include "support/expectations.h"
#include "support/files.h"
#include "tamradeps/io/fileSystem.h"
#include "tamraengine/renderer/buffer.h"

using namespace renderer;

namespace
{
constexpr std::uint32_t kRed = 0xFF0000FF;
constexpr std::uint32_t kGreen = 0xFF00FF00;
constexpr std::uint32_t kHalfBlue = 0x80FF0000;

class Device : public test::DeviceTest
{
protected:
    void Prepare() override
    {
        m_target = CRenderTarget::Create(m_renderer, 4, 4);
        m_program = MakeColorProgram();
        ASSERT_TRUE(m_target && m_program);
        m_target->Bind();
    }
    void Draw(CProgram& program, float left, float bottom, float right, float top, float z, std::uint32_t color)
    {
        program.Use();
        DrawRectangle(left, bottom, right, top, z, color);
    }

    RefPtr<CRenderTarget> m_target;
    RefPtr<CProgram> m_program;
};
} // namespace

TEST_F(Device, DrawsTheRightWayUp)
{
    const auto target = CRenderTarget::Create(m_renderer, 8, 4);
    ASSERT_TRUE(target);
    target->Bind();
    m_renderer.Clear({0, 0, 1});
    Draw(*m_program, -1, 0, 0, 1, 0, kRed); // the upper left quarter
    const Image image = target->ReadPixels();
    ASSERT_EQ(image.pixels.size(), 8U * 4U * 4U);
    EXPECT_EQ(GetPixel(image, 0, 0), (Pixel{255, 0, 0, 255}));
    EXPECT_EQ(GetPixel(image, 3, 1), (Pixel{255, 0, 0, 255}));
    EXPECT_EQ(GetPixel(image, 4, 0), (Pixel{0, 0, 255, 255}));
    EXPECT_EQ(GetPixel(image, 0, 2), (Pixel{0, 0, 255, 255}));

    // The same target in another size.
    ASSERT_TRUE(target->Resize(3, 5));
    target->Bind();
    m_renderer.Clear({1, 1, 1}, 0.0F);
    EXPECT_EQ(GetPixel(target->ReadPixels(), 2, 4), (Pixel{255, 255, 255, 0}));
}

TEST_F(Device, StateDoesWhatItSays)
{
    CRenderState& state = m_renderer.GetState();
    const auto drawAndGet = [&](float z, std::uint32_t color)
    {
        Draw(*m_program, -1, -1, 1, 1, z, color);
        return GetPixel(m_target->ReadPixels(), 1, 1);
    };
    const Pixel red{255, 0, 0, 255};
    const Pixel green{0, 255, 0, 255};
    m_renderer.Clear({0, 0, 0});

    state.SetDepthTest(DepthTest::Less);
    EXPECT_EQ(drawAndGet(0.0F, kRed), red);
    EXPECT_EQ(drawAndGet(0.5F, kGreen), red);
    EXPECT_EQ(drawAndGet(0.0F, kGreen), red);
    state.SetDepthTest(DepthTest::LessEqual);
    EXPECT_EQ(drawAndGet(0.0F, kGreen), green);
    state.SetDepthWrite(false);
    EXPECT_EQ(drawAndGet(-0.5F, kRed), red);
    EXPECT_EQ(drawAndGet(-0.25F, kGreen), green);
    state.SetDepthTest(DepthTest::Off);
    EXPECT_EQ(drawAndGet(0.9F, kRed), red);

    state.SetColorWrite(false);
    EXPECT_EQ(drawAndGet(0.0F, kGreen), red);
    state.SetColorWrite(true);
    state.SetCull(Cull::Back);
    EXPECT_EQ(drawAndGet(0.0F, kGreen), green);
    state.SetCull(Cull::Front);
    EXPECT_EQ(drawAndGet(0.0F, kRed), green);
    state.SetCull(Cull::Off);

    for (const auto& [blend, pixel] : {std::pair{Blend::Alpha, Pixel{127, 0, 128, 255}},
                                       {Blend::Additive, Pixel{255, 0, 128, 255}},
                                       {Blend::Premultiplied, Pixel{127, 0, 255, 255}}})
    {
        m_renderer.Clear({1, 0, 0});
        state.SetBlend(blend);
        EXPECT_EQ(drawAndGet(0.0F, kHalfBlue), pixel);
    }
    state.SetBlend(Blend::Off);

    state.SetScissorBox(0, 0, 1, 4);
    EXPECT_EQ(drawAndGet(0.0F, kGreen), (Pixel{127, 0, 255, 255}));
    EXPECT_EQ(GetPixel(m_target->ReadPixels(), 0, 1), green);
    state.SetScissorBox(2, 2, -5, -5); // nothing at all
    Draw(*m_program, -1, -1, 1, 1, 0, kRed);
    EXPECT_EQ(GetPixel(m_target->ReadPixels(), 0, 1), green);
    // Clearing takes no notice of it, and leaves it as it is.
    m_renderer.Clear({1, 0, 0});
    EXPECT_EQ(GetPixel(m_target->ReadPixels(), 0, 1), red);
    EXPECT_TRUE(state.GetValues().scissor);
}

TEST_F(Device, GuardsRestoreTheDeviceNotOnlyTheMemory)
{
    const auto other = CRenderTarget::Create(m_renderer, 2, 2);
    const auto texture = CTexture::Create(m_renderer, {.width = 2, .height = 2});
    const auto buffer = CBuffer::Create(m_renderer, 64);
    const auto passing = CBuffer::Create(m_renderer, 64);
    CRenderState& state = m_renderer.GetState();
    m_renderer.Clear({0, 0, 0});
    m_program->Use();
    m_renderer.GetVertexCache()->Bind();
    buffer->BindStorage(1);
    buffer->BindUniform(2);
    state.SetDepthTest(DepthTest::LessEqual);
    state.SetScissorBox(0, 0, 4, 2);
    const CRenderState::Values before = state.GetValues();
    {
        const CPreservedState outer(state);
        other->Bind();
        {
            const CPreservedState inner(state);
            state.SetColorWrite(false);
            state.SetDepthWrite(false);
            state.SetDepthTest(DepthTest::Off);
            state.SetBlend(Blend::Additive);
            state.SetCull(Cull::Front);
            state.DisableScissor();
            state.SetProgram(0);
            state.SetVertexArray(0);
            texture->Bind(3);
            passing->BindStorage(1);
            passing->BindUniform(2);
            passing->BindUniform(CRenderState::kBufferIndices); // ignored
        }
        EXPECT_EQ(state.GetValues().framebuffer, other->GetHandle());
    }
    EXPECT_EQ(state.GetValues(), before);
    DrawRectangle(-1, -1, 1, 1, 0, kGreen);
    const Image image = m_target->ReadPixels();
    EXPECT_EQ(GetPixel(image, 1, 3), (Pixel{0, 255, 0, 255}));
    EXPECT_EQ(GetPixel(image, 1, 0), (Pixel{0, 0, 0, 255}));
}

TEST_F(Device, GuardsForgetWhatWasDeletedMeanwhile)
{
    auto texture = CTexture::Create(m_renderer, {.width = 2, .height = 2});
    const auto buffer = CBuffer::Create(m_renderer, 64);
    auto cache = CVertexCache::Create(m_renderer, 6);
    m_program->Use();
    texture->Bind(1);
    buffer->BindStorage(3);
    cache->Bind();
    {
        const CPreservedState outer(m_renderer.GetState());
        {
            const CPreservedState inner(m_renderer.GetState());
            m_program = nullptr;
            texture = nullptr;
            cache = nullptr;
            EXPECT_TRUE(buffer->Reserve(100000)); // which makes another one
        }
    }
    // No line of the device in the log, and nothing bound but the target.
    CRenderState::Values expected;
    expected.framebuffer = m_target->GetHandle();
    expected.viewport = {0, 0, 4, 4};
    EXPECT_EQ(m_renderer.GetState().GetValues(), expected);
}

TEST_F(Device, TexturesKeepTheirTexels)
{
    Image image{3, 2, {}};
    for (int i = 0; i < 3 * 2 * 4; ++i)
        image.pixels.push_back(static_cast<std::uint8_t>(i * 10));
    const auto texture = CTexture::CreateFromImage(m_renderer, image, TextureFilter::Trilinear);
    ASSERT_TRUE(texture);
    EXPECT_EQ(texture->GetDesc().levels, 2);
    // Rows are turned over: the image's last row is the texture's first.
    EXPECT_EQ(texture->Read()[0], std::byte{120});
    EXPECT_EQ(texture->Read(1).size(), 4U);
    EXPECT_TRUE(texture->Read(2).empty());

    const std::byte texel[4] = {std::byte{1}, std::byte{2}, std::byte{3}, std::byte{4}};
    EXPECT_TRUE(texture->Upload(0, 2, 1, 1, 1, texel));
    EXPECT_EQ(texture->Read()[20], std::byte{1});
    for (const auto& [level, x, width] : {std::array{0, 3, 1}, {0, 1, 2}, {2, 0, 1}, {0, 2147483647, 1}})
        EXPECT_FALSE(texture->Upload(level, x, 0, width, 1, texel)) << level << ' ' << x;

    const test::ExpectLog expected{"texture of 0 x 4", "texture of 20000 x 1", "texture of 4 x 4: its picture",
                                   "texture of 16384 x -1"};
    EXPECT_FALSE(CTexture::Create(m_renderer, {.width = 0, .height = 4}));
    EXPECT_FALSE(CTexture::Create(m_renderer, {.width = 20000, .height = 1}));
    EXPECT_FALSE(CTexture::CreateFromImage(m_renderer, Image{4, 4, std::vector<std::uint8_t>(63)}));
    EXPECT_FALSE(CRenderTarget::Create(m_renderer, 16384, -1));
}

TEST_F(Device, VerticesOutliveTheGrowthOfTheirCache)
{
    const auto cache = CVertexCache::Create(m_renderer, 6);
    m_program->Use();
    ASSERT_TRUE(cache->Write(0, MakeRectangle(-1, -1, 0, 1, 0, kRed)));
    EXPECT_FALSE(cache->Write(1, MakeRectangle(-1, -1, 0, 1, 0, kGreen)));
    ASSERT_TRUE(cache->Reserve(12));
    ASSERT_TRUE(cache->Write(6, MakeRectangle(0, -1, 1, 1, 0, kGreen)));
    m_renderer.Clear({0, 0, 0});
    cache->Draw(Primitive::Triangles, 0, 1000000); // more than there is
    const Image image = m_target->ReadPixels();
    EXPECT_EQ(GetPixel(image, 0, 0), (Pixel{255, 0, 0, 255}));
    EXPECT_EQ(GetPixel(image, 3, 0), (Pixel{0, 255, 0, 255}));

    // A million vertices a frame for some frames, of which the last are drawn.
    const std::vector<Vertex> many(100000);
    for (int frame = 0; frame < 3; ++frame)
    {
        m_renderer.BeginFrame(0.1F);
        for (int i = 0; i < 10; ++i)
            EXPECT_EQ(m_renderer.GetVertexCache()->Append(many), static_cast<std::size_t>(i) * many.size());
        Draw(*m_program, -1, -1, 1, 1, 0, frame == 1 ? kRed : kGreen);
        EXPECT_EQ(GetPixel(m_target->ReadPixels(), 2, 2)[0], frame == 1 ? 255 : 0);
    }
    const test::ExpectLog expected{"too little memory"};
    EXPECT_EQ(CVertexCache::Create(m_renderer, std::size_t{1} << 60), nullptr);
}

TEST_F(Device, ProgramsReportFileAndLineAndKeepTheLastGoodOne)
{
    const test::TemporaryFolder folder;
    const auto write = [&](const char* name, const char* text) { test::WriteFile(folder.Path(name), text); };
    GetFileSystem().AddRoot(folder.Path(""));
    write("a.vert", "layout(location = 0) in vec3 position;\nvoid main() { gl_Position = vec4(position, 1.0); }\n");
    write("a.frag", "uniform vec4 color;\nout vec4 result;\nvoid main() { result = color * SCALE; }\n");
    const ProgramSource source{.vertex = "a.vert", .fragment = "a.frag", .compute = {}, .defines = {"SCALE 0.5"}};
    const auto program = CProgram::Create(m_renderer, source);
    ASSERT_TRUE(program);
    const float white[4] = {1, 1, 1, 2};
    const auto draw = [&]
    {
        m_renderer.Clear({0, 0, 0});
        program->SetVector4("color", white);
        program->SetInt("notThere", 1);
        Draw(*program, -1, -1, 1, 1, 0, kRed);
        return GetPixel(m_target->ReadPixels(), 1, 1);
    };
    EXPECT_EQ(draw(), (Pixel{128, 128, 128, 255}));
    for (const auto& [text, fault] :
         {std::pair{"out vec4 result;\n\nvoid main() { result = nonsense; }\n", "a.frag:3: "},
          {"in vec4 unset;\nout vec4 result;\nvoid main() { result = unset; }\n", "a.vert + a.frag"}})
    {
        const test::ExpectLog expected{fault};
        write("a.frag", text);
        EXPECT_FALSE(program->Reload());
        EXPECT_EQ(draw(), (Pixel{128, 128, 128, 255}));
    }
    write("a.frag", "uniform vec4 color;\nout vec4 result;\nvoid main() { result = color.rgba; result.r = 0.0; }\n");
    program->Use();
    EXPECT_TRUE(program->Reload());
    EXPECT_EQ(draw(), (Pixel{0, 255, 255, 255}));

    const test::ExpectLog expected{"nowhere.vert"};
    EXPECT_FALSE(CProgram::Create(m_renderer, "nowhere"));
}

TEST_F(Device, BuffersGoToShadersAndBack)
{
    const auto buffer = CBuffer::Create(m_renderer, 0);
    ASSERT_TRUE(buffer);
    const auto program =
        CProgram::CreateComputeFromText(m_renderer, "layout(local_size_x = 4) in;\n"
                                                    "layout(std430, binding = 2) buffer Data { uint values[]; };\n"
                                                    "void main() { values[gl_GlobalInvocationID.x] *= 3u; }\n");
    ASSERT_TRUE(program);
    std::vector<std::uint32_t> values(1000, 7);
    EXPECT_FALSE(buffer->WriteRecords<std::uint32_t>(values));
    ASSERT_TRUE(buffer->Reserve(4000));
    ASSERT_TRUE(buffer->WriteRecords<std::uint32_t>(values));
    ASSERT_TRUE(buffer->Reserve(8000, true));
    buffer->BindStorage(2);
    program->Dispatch(250);
    ASSERT_TRUE(buffer->Read(0, std::as_writable_bytes(std::span(values))));
    EXPECT_EQ(values, std::vector<std::uint32_t>(1000, 21));
}

TEST_F(Device, ObjectsOutliveTheDevice)
{
    auto renderer = std::make_unique<CRenderer>();
    ASSERT_TRUE(renderer->InitializeDevice());
    EXPECT_FALSE(renderer->GetDeviceName().empty());
    const auto target = CRenderTarget::Create(*renderer, 4, 4);
    const auto buffer = CBuffer::Create(*renderer, 16);
    const auto cache = CVertexCache::Create(*renderer, 16);
    renderer = nullptr;
    EXPECT_FALSE(target->IsAlive() || target->Resize(8, 8) || buffer->Reserve(1000));
    EXPECT_TRUE(target->ReadPixels().pixels.empty());
    cache->Draw(Primitive::Triangles, 0, 3);

    CRenderer bare;
    bare.Clear({1, 1, 1});
    bare.GetState().SetBlend(Blend::Alpha);
    EXPECT_EQ(bare.GetVertexCache(), nullptr);
    const test::ExpectLog expected{"no device", "no device", "no device"};
    EXPECT_FALSE(CTexture::Create(bare, {.width = 1, .height = 1}));
    EXPECT_FALSE(CProgram::Create(bare, "any"));
    EXPECT_FALSE(CBuffer::Create(bare, 1));
}

TEST_F(Device, MisuseOfTheDeviceIsLogged)
{
    const test::ExpectLog expected{"OpenGL: "};
    m_renderer.GetState().SetVertexArray(4711);
    m_renderer.GetState().SetVertexArray(0);
}
