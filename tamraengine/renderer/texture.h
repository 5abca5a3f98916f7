#pragma once

#include "tamradeps/core/refPtr.h"
#include "tamraengine/renderer/deviceObject.h"

#include <cstddef>
#include <span>
#include <vector>

namespace renderer
{
struct Image;

/// Channels and their bits; the size of a texel is that of `CTexture::Upload`.
enum class TextureFormat : std::uint8_t
{
    RGBA8,
    R8,
    RGBA16F,
    R32F,
    Depth32F,
};

/// How texels are blended when a texture is stretched.
enum class TextureFilter : std::uint8_t
{
    Nearest,   ///< Also between mip levels.
    Linear,    ///< Level 0 only.
    Trilinear, ///< Needs mip levels.
};

/// What lies beyond the edges.
enum class TextureWrap : std::uint8_t
{
    Clamp,
    Repeat,
};

/// What a texture is made by.
struct TextureDesc
{
    int width = 0;
    int height = 0;
    TextureFormat format = TextureFormat::RGBA8;
    TextureFilter filter = TextureFilter::Linear;
    TextureWrap wrap = TextureWrap::Clamp;
    int levels = 1; ///< Mip levels; 0 for all down to 1 x 1.
};

/// A two-dimensional texture. Rows go from bottom to top, as OpenGL has them; those of an `Image` are turned over.
class TAMRAENGINE_API CTexture : public CDeviceObject
{
public:
    /// Neither side may be larger, nor larger than the device allows.
    static constexpr int kMaxSide = 16384;

    /// A texture of undefined content. Null and one log line for a size that cannot be, no memory, or no device.
    static RefPtr<CTexture> Create(CRenderer& renderer, const TextureDesc& desc);
    /// An RGBA8 texture with the image in it, with mip levels if the filter uses them. Null as above, or when the image
    /// has fewer bytes than its size says.
    static RefPtr<CTexture> CreateFromImage(CRenderer& renderer, const Image& image,
                                            TextureFilter filter = TextureFilter::Linear,
                                            TextureWrap wrap = TextureWrap::Clamp);
    ~CTexture() override;

    const char* GetTypeString() override;

    int GetWidth() const noexcept { return m_desc.width; }
    int GetHeight() const noexcept { return m_desc.height; }
    const TextureDesc& GetDesc() const noexcept { return m_desc; }
    /// Width or height of a level: half of the level before, rounded down, at least 1.
    static int GetLevelSize(int size, int level) noexcept;

    /// Replaces a rectangle of a level: rows from the bottom without gaps, 4 bytes a texel of `RGBA8`, 1 of `R8`, 8 of
    /// `RGBA16F`, 4 of the others. False, with nothing changed, when it does not fit or there are fewer bytes.
    bool Upload(int level, int x, int y, int width, int height, std::span<const std::byte> bytes);
    /// Fills the levels above 0 from level 0.
    void GenerateMips();
    /// Reads a level back, in the order in which `Upload` takes it. Waits for the device.
    std::vector<std::byte> Read(int level = 0) const;

    /// Binds it to a texture unit.
    void Bind(std::uint32_t unit) const;

private:
    CTexture(CRenderer& renderer, const TextureDesc& desc) : CDeviceObject(renderer), m_desc(desc) {}

    TextureDesc m_desc;
};
} // namespace renderer
