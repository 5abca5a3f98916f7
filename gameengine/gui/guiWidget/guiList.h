#pragma once

#include "gameengine/gui/guiWidget/guiLayout.h"

namespace gui
{
/// Places its visible children one after the other, with the style's spacing between them and its padding around.
///
/// Along the list each child gets its preferred size. What is left over goes to those whose size policy expands, in
/// proportion to their preferred sizes, or to those that may grow if nobody expands. When there is too little, those
/// that may shrink lose in proportion to what they have above their minimum sizes, and never go below. Across the list
/// those that may grow get all of it, the others their preferred size, cut to what there is if they may shrink.
class TAMRAGAMEENGINE_API GuiList : public GuiLayoutMulti
{
public:
    void AdjustLayout() override;
    GuiRecti GetContainingRect() const override;

protected:
    GuiList(GuiContext& context, GuiStyle style, const GuiRecti& rect, GuiSizePolicy sizePolicy, bool isVertical)
        : GuiLayoutMulti(context, style, rect, sizePolicy),
          m_axis(isVertical ? 1 : 0)
    {
    }

private:
    struct Part
    {
        GuiWidget* child;
        float size;
        std::int32_t policy; // along the axis
    };

    void i_Distribute(float spare);
    void i_Shrink(float missing);

    std::size_t m_axis; // 0: from left to right, 1: from top to bottom
    std::vector<Part> m_parts;
};

/// From left to right.
class TAMRAGAMEENGINE_API GuiListH final : public GuiList
{
public:
    explicit GuiListH(GuiContext& context, GuiStyle style = 0, const GuiRecti& rect = {},
                      GuiSizePolicy sizePolicy = GuiSizePolicy::Expand())
        : GuiList(context, style, rect, sizePolicy, false)
    {
    }
    GuiWidgetType GetType() const override { return GuiWidgetType::ListH; }
    const char* GetTypeString() const override { return "GWT_LIST_H"; }
};

/// From top to bottom.
class TAMRAGAMEENGINE_API GuiListV final : public GuiList
{
public:
    explicit GuiListV(GuiContext& context, GuiStyle style = 0, const GuiRecti& rect = {},
                      GuiSizePolicy sizePolicy = GuiSizePolicy::Expand())
        : GuiList(context, style, rect, sizePolicy, true)
    {
    }
    GuiWidgetType GetType() const override { return GuiWidgetType::ListV; }
    const char* GetTypeString() const override { return "GWT_LIST_V"; }
};
} // namespace gui
