#pragma once

#include "gameengine/gui/guiWidget/guiLayout.h"

namespace gui
{
/// A frame with a title around one widget, which gets all of the room.
class TAMRAGAMEENGINE_API GuiGroupBox final : public GuiLayoutSingle
{
public:
    explicit GuiGroupBox(GuiContext& context, GuiStyle style = 0, const GuiRecti& rect = {},
                         GuiSizePolicy sizePolicy = GuiSizePolicy::Resize())
        : GuiLayoutSingle(context, style, rect, sizePolicy)
    {
    }

    GuiWidgetType GetType() const override { return GuiWidgetType::GroupBox; }
    const char* GetTypeString() const override { return "GWT_GROUPBOX"; }
    void AdjustLayout() override;
    void Render() override;
    GuiRecti GetContainingRect() const override;

    const std::string& GetTitle() const noexcept { return m_title; }
    void SetTitle(std::string_view title);

protected:
    /// Title, if there is one.
    void mySave(GuiStream& stream) const override;
    void myLoad(GuiStream& stream) override;

private:
    std::string m_title;
};

/// Takes room and draws nothing; between others it pushes them apart.
class TAMRAGAMEENGINE_API GuiSpacer final : public GuiWidget
{
public:
    GuiSpacer(GuiContext& context, bool isVertical, GuiStyle style = 0, const GuiRecti& rect = {})
        : GuiWidget(context, style, rect, isVertical ? GuiSizePolicy::ExpandV() : GuiSizePolicy::ExpandH()),
          m_isVertical(isVertical)
    {
        myKeepPicture();
    }

    GuiWidgetType GetType() const override { return m_isVertical ? GuiWidgetType::SpacerV : GuiWidgetType::SpacerH; }
    const char* GetTypeString() const override { return m_isVertical ? "GWT_SPACER_V" : "GWT_SPACER_H"; }

private:
    bool m_isVertical;
};
} // namespace gui
