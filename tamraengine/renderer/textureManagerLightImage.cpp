#include "tamraengine/renderer/textureManagerLightImage.h"

#include "tamradeps/core/log.h"
#include "tamradeps/io/fileSystem.h"
#include "tamraengine/renderer/imageDecoder.h"
#include "tamraengine/renderer/renderer.h"

#include <vector>

using namespace renderer;

namespace
{
constexpr std::size_t kMaxFileSize = std::size_t{1} << 28;

Image MakeChecker()
{
    constexpr int kSide = 8;
    Image image{kSide, kSide, {}};
    for (int i = 0; i < kSide * kSide; ++i)
    {
        const std::uint8_t light = (i + i / kSide) % 2 == 0 ? 255 : 0;
        image.pixels.insert(image.pixels.end(), {light, 0, light, 255});
    }
    return image;
}
} // namespace

RefPtr<CTexture> CTextureManager_LightImage::Load(const std::string& name, TextureFilter filter, TextureWrap wrap)
{
    const Key key{name, filter, wrap};
    const auto known = m_textures.find(key);
    if (known != m_textures.end() && known->second->IsAlive())
        return known->second;
    if (!m_renderer.HasDevice())
    {
        tamra::log::Error("cannot load \"" + tamra::log::Quoted(name) + "\": the renderer has no device");
        return nullptr;
    }
    RefPtr<CTexture> texture = i_LoadFile(key);
    if (!texture)
        texture = GetPlaceholder();
    if (texture)
        m_textures.insert_or_assign(key, texture);
    return texture;
}

RefPtr<CTexture> CTextureManager_LightImage::i_LoadFile(const Key& key)
{
    std::vector<std::byte> file;
    if (!GetFileSystem().FileIn(key.name, file, kMaxFileSize))
        return nullptr;
    std::string fault;
    const auto image = DecodeImage(file, &fault);
    if (!image)
    {
        tamra::log::Error("cannot load \"" + tamra::log::Quoted(key.name) + "\": " + tamra::log::Quoted(fault));
        return nullptr;
    }
    return CTexture::CreateFromImage(m_renderer, *image, key.filter, key.wrap);
}

RefPtr<CTexture> CTextureManager_LightImage::GetPlaceholder()
{
    if (!m_placeholder || !m_placeholder->IsAlive())
        m_placeholder =
            CTexture::CreateFromImage(m_renderer, MakeChecker(), TextureFilter::Nearest, TextureWrap::Repeat);
    return m_placeholder;
}

void CTextureManager_LightImage::ReleaseUnused()
{
    std::erase_if(m_textures, [this](const auto& entry)
                  { return entry.second == m_placeholder || entry.second->GetReferenceCount() == 1; });
}

void CTextureManager_LightImage::Clear()
{
    m_textures.clear();
    m_placeholder = nullptr;
}
