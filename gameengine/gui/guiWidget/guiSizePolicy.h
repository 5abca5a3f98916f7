#pragma once

#include <cstdint>

namespace gui
{
/// Bits that say how a widget's size may change. Only 0, 1, 3 and 7 are used.
enum GuiSizePolicyType : std::int32_t
{
    kSizeFixed = 0,
    kSizeShrink = 1, ///< May be smaller than it would like.
    kSizeGrow = 2,   ///< May be larger.
    kSizeExpand = 4, ///< Takes spare space.
};

/// How a widget's width and height may change when a layout distributes space.
struct GuiSizePolicy
{
    std::int32_t horizontal = kSizeFixed;
    std::int32_t vertical = kSizeFixed;

    constexpr GuiSizePolicy() noexcept = default;
    constexpr GuiSizePolicy(std::int32_t h, std::int32_t v) noexcept : horizontal(h), vertical(v) {}

    static constexpr GuiSizePolicy Fixed() noexcept { return {0, 0}; }
    static constexpr GuiSizePolicy Shrink() noexcept { return {1, 1}; }
    static constexpr GuiSizePolicy ResizeH() noexcept { return {3, 1}; }
    static constexpr GuiSizePolicy ResizeV() noexcept { return {1, 3}; }
    static constexpr GuiSizePolicy Resize() noexcept { return {3, 3}; }
    static constexpr GuiSizePolicy ExpandH() noexcept { return {7, 1}; }
    static constexpr GuiSizePolicy ExpandV() noexcept { return {1, 7}; }
    static constexpr GuiSizePolicy Expand() noexcept { return {7, 7}; }

    friend constexpr bool operator==(const GuiSizePolicy&, const GuiSizePolicy&) noexcept = default;
};
} // namespace gui
