#pragma once

#include "gameengine/gui/draw2D/image.h"
#include "gameengine/gui/guiWidget/guiWidget.h"

namespace gui
{
/// Shows a picture: a file of the assets, or an image that somebody made. A file is loaded when it is first drawn, by
/// `Image`; one that is missing is logged once and shown as a crossed rectangle. Takes no input and emits nothing.
class TAMRAGAMEENGINE_API GuiImage final : public GuiWidget
{
public:
    explicit GuiImage(GuiContext& context, GuiStyle style = 0, const GuiRecti& rect = {},
                      GuiSizePolicy sizePolicy = GuiSizePolicy::Resize())
        : GuiWidget(context, style, rect, sizePolicy)
    {
        myKeepPicture();
    }

    GuiWidgetType GetType() const override { return GuiWidgetType::Image; }
    const char* GetTypeString() const override { return "GWT_IMAGE"; }
    void Render() override;

    /// Empty for none.
    const std::string& GetName() const noexcept { return m_name; }
    /// A file for the program's file system: a relative name, without "..". Replaces the image; the same name again
    /// loads a file that was missing.
    void SetName(std::string_view name);
    /// The picture, not valid before the file was loaded.
    const Image& GetImage() const noexcept { return m_image; }
    /// Shares the texture. The widget has no name then, and stores none.
    void SetImage(const Image& image);
    void SetTexture(const RefPtr<renderer::CTexture>& texture);

    /// As large as there is room and in the middle of it, as at first; otherwise stretched to fill it.
    void SetKeepsAspect(bool keepsAspect);
    bool KeepsAspect() const noexcept { return m_keepsAspect; }
    /// Left, top, right and bottom, in pixels of the image, that are not stretched when the image fills its room. With
    /// any of them the aspect is not kept; 0 each, as at first, for none.
    void SetBorder(const Vec4<int>& border);
    const Vec4<int>& GetBorder() const noexcept { return m_border; }
    /// What its colours are multiplied by, white at first.
    void SetTint(Color tint);
    Color GetTint() const noexcept { return m_tint; }

protected:
    /// The name, if there is one.
    void mySave(GuiStream& stream) const override;
    void myLoad(GuiStream& stream) override;

private:
    void i_Load();
    GuiRecti i_GetPlace() const;

    std::string m_name;
    Image m_image;
    Vec4<int> m_border;
    Color m_tint = 0xFFFFFFFF;
    bool m_keepsAspect = true;
    bool m_isMissing = false; // a file that was tried in vain
};
} // namespace gui
