#include "gameengine/gui/draw2D/image.h"

#include "tamradeps/core/log.h"
#include "tamraengine/renderer/image.h"
#include "tamraengine/renderer/renderer.h"
#include "tamraengine/renderer/textureManagerLightImage.h"

namespace gui
{
namespace
{
CTextureManager_LightImage* g_manager = nullptr;

renderer::CRenderer* GetRenderer()
{
    renderer::CRenderer* const renderer = renderer::CRenderer::GetActive();
    return renderer && renderer->HasDevice() ? renderer : nullptr;
}

// Null for a file that cannot be loaded: a widget without its picture is better than one with a checker.
RefPtr<renderer::CTexture> Load(CTextureManager_LightImage& manager, const std::string& name, bool smooth)
{
    RefPtr<renderer::CTexture> texture =
        manager.Load(name, smooth ? renderer::TextureFilter::Linear : renderer::TextureFilter::Nearest);
    return texture == manager.GetPlaceholder() ? nullptr : texture;
}
} // namespace

Image::Image() = default;
Image::Image(const Image& other) = default;
Image& Image::operator=(const Image& other) = default;
Image::~Image() = default;

void Image::SetTextureManager(CTextureManager_LightImage* manager) noexcept
{
    g_manager = manager;
}

bool Image::Create(const std::string& fileName, bool smooth)
{
    Destroy();
    renderer::CRenderer* const renderer = GetRenderer();
    if (!renderer)
        return false;
    if (g_manager)
        return Create(Load(*g_manager, fileName, smooth));
    CTextureManager_LightImage manager(*renderer);
    return Create(Load(manager, fileName, smooth));
}

bool Image::Create(int width, int height, const std::uint32_t* pixels, bool smooth)
{
    Destroy();
    renderer::CRenderer* const renderer = GetRenderer();
    constexpr int kMaxSide = renderer::CTexture::kMaxSide;
    if (!renderer)
        return false;
    if (!pixels || width < 1 || height < 1 || width > kMaxSide || height > kMaxSide)
    {
        tamra::log::Error("cannot make an image of " + std::to_string(width) + " x " + std::to_string(height) +
                          " pixels");
        return false;
    }
    renderer::Image image{width, height, {}};
    image.pixels.reserve(image.GetPixelCount() * 4);
    for (std::size_t i = 0; i < image.GetPixelCount(); ++i)
    {
        for (const int shift : {0, 8, 16, 24})
            image.pixels.push_back(static_cast<std::uint8_t>(pixels[i] >> shift));
    }
    return Create(renderer::CTexture::CreateFromImage(
        *renderer, image, smooth ? renderer::TextureFilter::Linear : renderer::TextureFilter::Nearest));
}

bool Image::Create(const RefPtr<renderer::CTexture>& texture)
{
    const RefPtr<renderer::CTexture> kept = texture; // it may be our own
    Destroy();
    if (!kept || !kept->IsAlive())
        return false;
    m_texture = kept;
    m_size = {kept->GetWidth(), kept->GetHeight()};
    m_uvs = {0.0F, 0.0F, 1.0F, 1.0F};
    return true;
}

void Image::Destroy()
{
    *this = Image();
}

void Image::SetOrigin(Vec2<int> origin)
{
    m_origin = origin;
    i_UpdateUVs();
}

void Image::SetSize(Vec2<int> size)
{
    m_size = size;
    i_UpdateUVs();
}

void Image::i_UpdateUVs()
{
    if (!m_texture)
        return;
    const auto width = static_cast<float>(m_texture->GetWidth());
    const auto height = static_cast<float>(m_texture->GetHeight());
    m_uvs = {static_cast<float>(m_origin.x) / width, static_cast<float>(m_origin.y) / height,
             static_cast<float>(m_size.x) / width, static_cast<float>(m_size.y) / height};
}
} // namespace gui
