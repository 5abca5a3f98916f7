#pragma once

#include "tamradeps/core/refPtr.h"
#include "tamraengine/renderer/texture.h"

#include <cstddef>
#include <map>
#include <string>

/// Loads images as textures, each once. It must be destroyed or cleared before its renderer.
///
///     CTextureManager_LightImage textures(renderer);
///     RefPtr<renderer::CTexture> corners = textures.Load("textures/roundcorners.png");
class TAMRAENGINE_API CTextureManager_LightImage
{
public:
    explicit CTextureManager_LightImage(renderer::CRenderer& renderer) : m_renderer(renderer) {}
    CTextureManager_LightImage(const CTextureManager_LightImage&) = delete;
    CTextureManager_LightImage& operator=(const CTextureManager_LightImage&) = delete;

    /// The texture of an image file (PNG, JPEG, TGA, BMP) that the file system finds. The first call for a name, filter
    /// and wrap loads it; it is kept until `Clear` or, unused, until `ReleaseUnused`.
    ///
    /// An image that is missing or broken gives one log line and the placeholder, and is not tried again until then.
    /// Null, with a log line, only without a device or when the device has no memory left for the placeholder.
    RefPtr<renderer::CTexture> Load(const std::string& name,
                                    renderer::TextureFilter filter = renderer::TextureFilter::Linear,
                                    renderer::TextureWrap wrap = renderer::TextureWrap::Clamp);

    /// What stands for images that cannot be loaded: a checker in magenta and black.
    RefPtr<renderer::CTexture> GetPlaceholder();

    /// Forgets the textures that nobody else holds, and the images that could not be loaded.
    void ReleaseUnused();
    /// Forgets all textures; whoever holds one keeps it.
    void Clear();
    /// Textures that are kept, counting images that could not be loaded.
    std::size_t GetCount() const noexcept { return m_textures.size(); }

private:
    struct Key
    {
        std::string name;
        renderer::TextureFilter filter;
        renderer::TextureWrap wrap;
        auto operator<=>(const Key&) const = default;
    };

    RefPtr<renderer::CTexture> i_LoadFile(const Key& key);

    renderer::CRenderer& m_renderer;
    RefPtr<renderer::CTexture> m_placeholder;
    std::map<Key, RefPtr<renderer::CTexture>> m_textures;
};
