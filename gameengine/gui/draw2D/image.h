#pragma once

#include "gameengine/export.h"
#include "gameengine/gui/guiWidget/guiTypes.h"
#include "tamradeps/core/refPtr.h"
#include "tamraengine/renderer/texture.h"

#include <cstdint>
#include <string>

class CTextureManager_LightImage;

namespace gui
{
/// A picture for the drawer: a texture, or a part of one. Copies share the texture.
///
/// Textures are made with the active renderer. Where that has no device an image stays invalid, without a log line.
class TAMRAGAMEENGINE_API Image
{
public:
    Image();
    Image(const Image& other);
    Image& operator=(const Image& other);
    ~Image();

    /// Images from files share their textures through the manager, until it is replaced; with null, as at the start,
    /// each file is loaded anew. It must outlive its time here.
    static void SetTextureManager(CTextureManager_LightImage* manager) noexcept;

    /// From an image file that the file system finds. `smooth` blends between texels where the image is stretched.
    /// False for a file that is missing or broken: then the image is not valid. The manager logs that, once.
    bool Create(const std::string& fileName, bool smooth = true);
    /// From colours 0xAABBGGRR, rows from top to bottom.
    bool Create(int width, int height, const std::uint32_t* pixels, bool smooth = true);
    /// All of a texture.
    bool Create(const RefPtr<renderer::CTexture>& texture);
    void Destroy();

    /// Whether there is a texture whose device lives.
    bool IsValid() const noexcept { return m_texture && m_texture->IsAlive(); }

    int GetW() const noexcept { return m_size.x; }
    int GetWidth() const noexcept { return m_size.x; }
    int GetH() const noexcept { return m_size.y; }
    int GetHeight() const noexcept { return m_size.y; }

    /// The part of the texture in pixels, from its upper left corner. Setting it sets the UVs to match.
    Vec2<int> GetOrigin() const noexcept { return m_origin; }
    Vec2<int> GetSize() const noexcept { return m_size; }
    void SetOrigin(Vec2<int> origin);
    void SetSize(Vec2<int> size);
    /// What is drawn, where the whole texture is (0, 0, 1, 1), y down. Negative sizes mirror.
    const GuiRectf& GetUVs() const noexcept { return m_uvs; }
    void SetUVs(const GuiRectf& uvs) { m_uvs = uvs; }

    /// Keeps origin, size and UVs.
    void SetTexture(const RefPtr<renderer::CTexture>& texture) { m_texture = texture; }
    const RefPtr<renderer::CTexture>& GetTexture() const noexcept { return m_texture; }

private:
    void i_UpdateUVs();

    RefPtr<renderer::CTexture> m_texture;
    Vec2<int> m_origin;
    Vec2<int> m_size;
    GuiRectf m_uvs;
};
} // namespace gui
