#include "tamraengine/renderer/texture.h"

#include "tamraengine/renderer/deviceInternal.h"
#include "tamraengine/renderer/image.h"
#include "tamraengine/renderer/renderer.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <string>

namespace renderer
{
namespace
{
struct Layout
{
    GLenum storage;
    GLenum format;
    GLenum type;
    std::size_t size; // bytes a texel
};

Layout GetLayout(TextureFormat format)
{
    switch (format)
    {
    case TextureFormat::R8: return {GL_R8, GL_RED, GL_UNSIGNED_BYTE, 1};
    case TextureFormat::RGBA16F: return {GL_RGBA16F, GL_RGBA, GL_HALF_FLOAT, 8};
    case TextureFormat::R32F: return {GL_R32F, GL_RED, GL_FLOAT, 4};
    case TextureFormat::Depth32F: return {GL_DEPTH_COMPONENT32F, GL_DEPTH_COMPONENT, GL_FLOAT, 4};
    case TextureFormat::RGBA8: break;
    }
    return {GL_RGBA8, GL_RGBA, GL_UNSIGNED_BYTE, 4};
}

int CountLevels(int width, int height)
{
    return static_cast<int>(std::bit_width(static_cast<unsigned>(std::max(width, height))));
}

std::string Describe(int width, int height)
{
    return "a texture of " + std::to_string(width) + " x " + std::to_string(height);
}

void SetSampling(GLuint texture, TextureFilter filter, TextureWrap wrap)
{
    const bool isNearest = filter == TextureFilter::Nearest;
    GLint minify = isNearest ? GL_NEAREST_MIPMAP_NEAREST : GL_LINEAR;
    if (filter == TextureFilter::Trilinear)
        minify = GL_LINEAR_MIPMAP_LINEAR;
    const GLint border = wrap == TextureWrap::Repeat ? GL_REPEAT : GL_CLAMP_TO_EDGE;
    glTextureParameteri(texture, GL_TEXTURE_MIN_FILTER, minify);
    glTextureParameteri(texture, GL_TEXTURE_MAG_FILTER, isNearest ? GL_NEAREST : GL_LINEAR);
    glTextureParameteri(texture, GL_TEXTURE_WRAP_S, border);
    glTextureParameteri(texture, GL_TEXTURE_WRAP_T, border);
}
} // namespace

RefPtr<CTexture> CTexture::Create(CRenderer& renderer, const TextureDesc& desc)
{
    const std::string what = Describe(desc.width, desc.height);
    if (!renderer.HasDevice())
    {
        LogDeviceFailure(what, "the renderer has no device");
        return nullptr;
    }
    GLint maxSide = 0;
    glGetIntegerv(GL_MAX_TEXTURE_SIZE, &maxSide);
    maxSide = std::min(maxSide, kMaxSide);
    if (desc.width < 1 || desc.height < 1 || desc.width > maxSide || desc.height > maxSide)
    {
        LogDeviceFailure(what, "sides must be from 1 to " + std::to_string(maxSide));
        return nullptr;
    }
    TextureDesc checked = desc;
    const int allLevels = CountLevels(desc.width, desc.height);
    checked.levels = desc.levels < 1 ? allLevels : std::min(desc.levels, allLevels);

    RefPtr<CTexture> texture(new CTexture(renderer, checked));
    glCreateTextures(GL_TEXTURE_2D, 1, &texture->m_handle);
    {
        const CExpectOutOfMemory expect;
        glTextureStorage2D(texture->m_handle, checked.levels, GetLayout(desc.format).storage, desc.width, desc.height);
        if (expect.HasFailed())
        {
            LogDeviceFailure(what, "too little memory");
            return nullptr;
        }
    }
    SetSampling(texture->m_handle, checked.filter, checked.wrap);
    return texture;
}

RefPtr<CTexture> CTexture::CreateFromImage(CRenderer& renderer, const Image& image, TextureFilter filter,
                                           TextureWrap wrap)
{
    const bool hasPixels = image.width > 0 && image.height > 0 && image.pixels.size() >= image.GetPixelCount() * 4;
    if (!hasPixels)
    {
        LogDeviceFailure(Describe(image.width, image.height), "its picture is incomplete");
        return nullptr;
    }
    TextureDesc desc;
    desc.width = image.width;
    desc.height = image.height;
    desc.filter = filter;
    desc.wrap = wrap;
    desc.levels = filter == TextureFilter::Trilinear ? 0 : 1;
    RefPtr<CTexture> texture = Create(renderer, desc);
    if (!texture)
        return nullptr;
    const std::size_t rowSize = static_cast<std::size_t>(image.width) * 4;
    std::vector<std::byte> rows(rowSize * static_cast<std::size_t>(image.height));
    for (int y = 0; y < image.height; ++y)
        std::memcpy(&rows[rowSize * static_cast<std::size_t>(image.height - 1 - y)], image.GetPixel(0, y), rowSize);
    texture->Upload(0, 0, 0, image.width, image.height, rows);
    if (texture->m_desc.levels > 1)
        texture->GenerateMips();
    return texture;
}

CTexture::~CTexture()
{
    if (CRenderer* renderer = i_GetRenderer())
    {
        renderer->GetState().ForgetTexture(m_handle);
        glDeleteTextures(1, &m_handle);
    }
}

const char* CTexture::GetTypeString()
{
    return "CTexture";
}

int CTexture::GetLevelSize(int size, int level) noexcept
{
    return std::max(size >> std::clamp(level, 0, 30), 1);
}

bool CTexture::Upload(int level, int x, int y, int width, int height, std::span<const std::byte> bytes)
{
    if (!IsAlive() || level < 0 || level >= m_desc.levels || x < 0 || y < 0 || width < 1 || height < 1 ||
        width > GetLevelSize(m_desc.width, level) - x || height > GetLevelSize(m_desc.height, level) - y)
        return false;
    const Layout layout = GetLayout(m_desc.format);
    if (bytes.size() < static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * layout.size)
        return false;
    glTextureSubImage2D(m_handle, level, x, y, width, height, layout.format, layout.type, bytes.data());
    return true;
}

void CTexture::GenerateMips()
{
    if (IsAlive())
        glGenerateTextureMipmap(m_handle);
}

std::vector<std::byte> CTexture::Read(int level) const
{
    if (!IsAlive() || level < 0 || level >= m_desc.levels)
        return {};
    const Layout layout = GetLayout(m_desc.format);
    const auto width = static_cast<std::size_t>(GetLevelSize(m_desc.width, level));
    const auto height = static_cast<std::size_t>(GetLevelSize(m_desc.height, level));
    std::vector<std::byte> bytes(width * height * layout.size);
    glGetTextureImage(m_handle, level, layout.format, layout.type, static_cast<GLsizei>(bytes.size()), bytes.data());
    return bytes;
}

void CTexture::Bind(std::uint32_t unit) const
{
    if (CRenderer* renderer = i_GetRenderer())
        renderer->GetState().SetTexture(unit, m_handle);
}
} // namespace renderer
