#include "gameengine/gui/guiWidget/guiImage.h"

#include "gameengine/gui/guiWidget/guiStream.h"
#include "tamradeps/core/log.h"
#include "tamradeps/io/assetName.h"
#include "tamraengine/renderer/renderer.h"

#include <algorithm>

namespace gui
{
void GuiImage::SetName(std::string_view name)
{
    m_name = name;
    m_image.Destroy();
    m_isMissing = false;
    Redraw();
}

void GuiImage::SetImage(const Image& image)
{
    m_image = image;
    m_name.clear();
    Redraw();
}

void GuiImage::SetTexture(const RefPtr<renderer::CTexture>& texture)
{
    m_image.Create(texture);
    m_name.clear();
    Redraw();
}

void GuiImage::SetKeepsAspect(bool keepsAspect)
{
    m_keepsAspect = keepsAspect;
    Redraw();
}

void GuiImage::SetBorder(const Vec4<int>& border)
{
    m_border = border;
    Redraw();
}

void GuiImage::SetTint(Color tint)
{
    m_tint = tint;
    Redraw();
}

// Also anew, when the device of the texture is gone and there is another one.
void GuiImage::i_Load()
{
    if (m_name.empty() || m_isMissing || m_image.IsValid())
        return;
    if (!tamra::IsAssetName(m_name))
    {
        tamra::log::Error("an image has a name that is not one of a file below the assets: \"" +
                          tamra::log::Quoted(m_name) + "\"");
        m_isMissing = true;
        return;
    }
    const renderer::CRenderer* const renderer = renderer::CRenderer::GetActive();
    m_isMissing = !m_image.Create(m_name) && renderer && renderer->HasDevice();
}

GuiRecti GuiImage::i_GetPlace() const
{
    const GuiRecti rect = GetRect();
    const Vec2<int> size = m_image.GetSize();
    if (!m_keepsAspect || size.x < 1 || size.y < 1 || rect.w < 1 || rect.h < 1)
        return rect;
    const double scale = std::min(static_cast<double>(rect.w) / size.x, static_cast<double>(rect.h) / size.y);
    const int w = std::max(static_cast<int>(size.x * scale + 0.5), 1);
    const int h = std::max(static_cast<int>(size.y * scale + 0.5), 1);
    return {rect.x + (rect.w - w) / 2, rect.y + (rect.h - h) / 2, w, h};
}

void GuiImage::Render()
{
    i_Load();
    Draw& draw = myGetDraw();
    const GuiRecti rect = GetRect();
    if (!m_image.IsValid())
    {
        const Color color = myGetStyle().border;
        if (m_name.empty() || rect.w < 1 || rect.h < 1)
            return;
        draw.FrameRect(rect, color);
        draw.Line({rect.x, rect.y}, {rect.BR().x - 1, rect.BR().y - 1}, color);
        draw.Line({rect.x, rect.BR().y - 1}, {rect.BR().x - 1, rect.y}, color);
    }
    else if (m_border != Vec4<int>())
        draw.DrawNinePatch(m_image, rect, m_border, m_tint);
    else
        draw.DrawImage(m_image, i_GetPlace(), m_tint);
}

void GuiImage::mySave(GuiStream& stream) const
{
    stream.WriteOptionalQuotedString(m_name);
}

void GuiImage::myLoad(GuiStream& stream)
{
    std::string name;
    stream.ReadOptionalQuotedString(name);
    SetName(name);
}
} // namespace gui
