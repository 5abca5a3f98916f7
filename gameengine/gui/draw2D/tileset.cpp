#include "gameengine/gui/draw2D/tileset.h"

#include "tamradeps/core/log.h"

namespace gui
{
bool Tileset::Create(const std::string& fileName, bool smooth)
{
    i_DestroyTiles();
    return m_image.Create(fileName, smooth);
}

bool Tileset::Create(int width, int height, const std::uint32_t* pixels, bool smooth)
{
    i_DestroyTiles();
    return m_image.Create(width, height, pixels, smooth);
}

bool Tileset::Create(const RefPtr<renderer::CTexture>& texture)
{
    const RefPtr<renderer::CTexture> kept = texture; // it may be that of a tile
    i_DestroyTiles();
    return m_image.Create(kept);
}

void Tileset::Destroy()
{
    i_DestroyTiles();
    m_image.Destroy();
}

void Tileset::i_DestroyTiles()
{
    m_tiles.clear();
    m_tileSize = {};
    m_tileSpacing = {};
    m_across = 0;
    m_down = 0;
}

bool Tileset::CreateTiles(int tileWidth, int tileHeight, int spacingX, int spacingY)
{
    i_DestroyTiles();
    // Within these no sum below overflows.
    constexpr int kMaxSide = renderer::CTexture::kMaxSide;
    const auto count = [](int size, int spacing, int whole)
    {
        const bool isPossible = size >= 1 && size <= whole && whole <= kMaxSide && spacing >= 0 && spacing <= kMaxSide;
        return isPossible ? static_cast<std::uint32_t>((whole + spacing) / (size + spacing)) : 0;
    };
    const std::uint32_t across = count(tileWidth, spacingX, m_image.GetW());
    const std::uint32_t down = count(tileHeight, spacingY, m_image.GetH());
    if (across == 0 || down == 0 || across * down > kMaxTiles)
    {
        tamra::log::Error("cannot cut tiles of " + std::to_string(tileWidth) + " x " + std::to_string(tileHeight) +
                          " out of an image of " + std::to_string(m_image.GetW()) + " x " +
                          std::to_string(m_image.GetH()));
        return false;
    }
    m_tileSize = {tileWidth, tileHeight};
    m_tileSpacing = {spacingX, spacingY};
    m_across = across;
    m_down = down;
    m_tiles.reserve(GetTileCount());
    for (std::uint32_t i = 0; i < GetTileCount(); ++i)
    {
        Image& tile = m_tiles.emplace_back(m_image);
        tile.SetSize(m_tileSize);
        tile.SetOrigin({static_cast<int>(i % m_across) * (tileWidth + spacingX),
                        static_cast<int>(i / m_across) * (tileHeight + spacingY)});
    }
    return true;
}

const Image* Tileset::GetTile(std::uint32_t index) const noexcept
{
    return index < m_tiles.size() ? &m_tiles[index] : nullptr;
}

const Image* Tileset::GetTile(std::uint32_t column, std::uint32_t row) const noexcept
{
    const std::uint64_t index = std::uint64_t{row} * m_across + column;
    return index < m_tiles.size() ? &m_tiles[static_cast<std::size_t>(index)] : nullptr;
}
} // namespace gui
