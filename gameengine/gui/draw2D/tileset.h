#pragma once

#include "gameengine/gui/draw2D/image.h"

#include <cstdint>
#include <vector>

namespace gui
{
/// An image cut into tiles of equal size, counted from left to right and top to bottom.
///
///     gui::Tileset icons;
///     if (icons.Create("textures/icons.png") && icons.CreateTiles(16, 16, 0, 0))
///         draw->DrawImage(*icons.GetTile(3), rect);
class TAMRAGAMEENGINE_API Tileset
{
public:
    static constexpr std::uint32_t kMaxTiles = 1U << 20;

    /// The same as of `Image`. There are no tiles until `CreateTiles`.
    bool Create(const std::string& fileName, bool smooth = true);
    bool Create(int width, int height, const std::uint32_t* pixels, bool smooth = true);
    bool Create(const RefPtr<renderer::CTexture>& texture);
    void Destroy();

    /// Cuts the image: tiles of so many pixels, with so many between them; what is left at the right and below is not
    /// used. False, one log line and no tiles, when a size is not possible or not even one tile fits, or there would be
    /// more than `kMaxTiles`.
    bool CreateTiles(int tileWidth, int tileHeight, int spacingX, int spacingY);

    const Image& GetImage() const noexcept { return m_image; }
    /// Null when there is no such tile. Valid until tiles are made again.
    const Image* GetTile(std::uint32_t index) const noexcept;
    /// Null only when row * tiles across + column is no tile: a column past the right edge is one of a later row.
    const Image* GetTile(std::uint32_t column, std::uint32_t row) const noexcept;

    std::uint32_t GetTileCount() const noexcept { return m_across * m_down; }
    std::uint32_t GetTilesInW() const noexcept { return m_across; }
    std::uint32_t GetTilesInH() const noexcept { return m_down; }
    Vec2<int> GetTileSize() const noexcept { return m_tileSize; }
    Vec2<int> GetTileSpacing() const noexcept { return m_tileSpacing; }

private:
    void i_DestroyTiles();

    Image m_image;
    Vec2<int> m_tileSize;
    Vec2<int> m_tileSpacing;
    std::uint32_t m_across = 0;
    std::uint32_t m_down = 0;
    std::vector<Image> m_tiles;
};
} // namespace gui
