#pragma once

#include "gameengine/gui/guiWidget/guiWidget.h"

namespace gui
{
/// Where text stands in its rectangle, on one axis; the numbers are those of files.
enum class GuiAlign : std::int32_t
{
    Near, ///< Left or top.
    Middle,
    Far ///< Right or bottom.
};

/// Text of one or more lines; what does not fit is cut off.
class TAMRAGAMEENGINE_API GuiLabel final : public GuiWidget
{
public:
    explicit GuiLabel(GuiContext& context, GuiStyle style = 0, const GuiRecti& rect = {},
                      GuiSizePolicy sizePolicy = GuiSizePolicy::ResizeH());

    GuiWidgetType GetType() const override { return GuiWidgetType::Label; }
    const char* GetTypeString() const override { return "GWT_LABEL"; }
    void Render() override;

    const std::string& GetText() const noexcept { return m_text; }
    void SetText(std::string_view text);
    void SetAlign(GuiAlign horizontal, GuiAlign vertical);
    /// A number of the font bank, -1 for the style's.
    int GetFont() const noexcept { return m_font; }
    void SetFont(int font);

protected:
    /// Text, horizontal and vertical alignment, font.
    void mySave(GuiStream& stream) const override;
    void myLoad(GuiStream& stream) override;

private:
    std::string m_text;
    GuiAlign m_horizontal = GuiAlign::Near;
    GuiAlign m_vertical = GuiAlign::Middle;
    int m_font = -1;
};
} // namespace gui
