#include "apps/sandbox/editorColorPicker.h"

#include "apps/sandbox/editorWidgets.h"
#include "gameengine/gui/guiWidget/guiLayout.h"
#include "gameengine/gui/guiWidget/guiWidgetFile.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <utility>

namespace
{
constexpr const char* kChannels[] = {"red", "green", "blue", "alpha"};
constexpr const char* kHsv[] = {"hue", "saturation", "value"};
constexpr float kHsvScale[] = {1.0F, 100.0F, 100.0F};

int ToByte(float value)
{
    return static_cast<int>(std::lround(std::clamp(value, 0.0F, 1.0F) * 255.0F));
}
} // namespace

std::array<float, 3> GetHsv(const EditorColor& color)
{
    const auto [red, green, blue, alpha] = color;
    const float most = std::max({red, green, blue});
    const float spread = most - std::min({red, green, blue});
    float hue = 0.0F;
    if (spread > 0.0F)
    {
        if (most == red)
            hue = (green - blue) / spread;
        else if (most == green)
            hue = 2.0F + (blue - red) / spread;
        else
            hue = 4.0F + (red - green) / spread;
    }
    return {hue < 0.0F ? hue * 60.0F + 360.0F : hue * 60.0F, most > 0.0F ? spread / most : 0.0F, most};
}

EditorColor WithHsv(const EditorColor& color, const std::array<float, 3>& hsv)
{
    EditorColor result = color;
    for (std::size_t i = 0; i < 3; ++i)
    {
        // How far the hue is from where this channel is whole.
        const float place = std::fmod(hsv[0] / 60.0F + 6.0F - 2.0F * static_cast<float>(i), 6.0F);
        const float part = std::clamp(std::abs(place - 3.0F) - 1.0F, 0.0F, 1.0F);
        result[i] = hsv[2] * (1.0F - hsv[1] * (1.0F - part));
    }
    return result;
}

bool ParseHex(std::string_view text, EditorColor& color)
{
    std::uint32_t bits = 0;
    const auto end = std::from_chars(text.data(), text.data() + text.size(), bits, 16).ptr;
    if ((text.size() != 6 && text.size() != 8) || end != text.data() + text.size())
        return false;
    const int count = static_cast<int>(text.size() / 2);
    for (int i = 0; i < count; ++i)
        color[static_cast<std::size_t>(i)] = static_cast<float>(bits >> 8 * (count - 1 - i) & 0xFFU) / 255.0F;
    return true;
}

std::string FormatHex(const EditorColor& color)
{
    char text[16];
    std::snprintf(text, sizeof text, "%02X%02X%02X%02X", ToByte(color[0]), ToByte(color[1]), ToByte(color[2]),
                  ToByte(color[3]));
    return text;
}

gui::Color ToGuiColor(const EditorColor& color)
{
    gui::Color bits = 0xFF000000;
    for (std::size_t i = 0; i < 3; ++i)
        bits |= static_cast<gui::Color>(ToByte(color[i])) << 8 * i;
    return bits;
}

CEditorColorPicker::CEditorColorPicker(gui::GuiContext& context)
{
    gui::GuiFreeLayout& root = context.GetRoot();
    if (!gui::LoadWidgetFile(root, "gui/colorpicker.gui"))
        return;
    m_window = FindWidget<gui::GuiWindow>(root, "colorpicker");
    if (!m_window)
        return;
    m_before = FindWidget<gui::GuiImage>(*m_window, "before");
    m_preview = FindWidget<gui::GuiImage>(*m_window, "preview");
    m_hex = FindWidget<gui::GuiTextEditLine>(*m_window, "hex");
    for (std::size_t i = 0; i < 4; ++i)
        m_channels[i] = FindWidget<gui::GuiSpinner>(*m_window, kChannels[i]);
    for (std::size_t i = 0; i < 3; ++i)
        m_hsv[i] = FindWidget<gui::GuiSpinner>(*m_window, kHsv[i]);
    const auto isMissing = [](const auto* widget) { return !widget; };
    if (std::ranges::any_of(m_channels, isMissing) || std::ranges::any_of(m_hsv, isMissing) || !m_before || !m_preview)
    {
        m_window = nullptr;
        return;
    }
    m_before->SetKeepsAspect(false);
    m_preview->SetKeepsAspect(false);
    m_window->SetCallback(this);
    m_window->SetVisible(false);
}

void CEditorColorPicker::Open(const std::string& title, const EditorColor& color, Changed changed)
{
    m_old = color;
    m_color = color;
    m_shownHsv = GetHsv(color);
    m_changed = std::move(changed);
    m_before->SetTint(ToGuiColor(color));
    m_window->SetTitle(title);
    if (const gui::GuiRecti room = m_window->GetParent()->GetRect(); !m_wasOpen)
        m_window->SetPos((room.w - m_window->GetRect().w) / 2, (room.h - m_window->GetRect().h) / 2);
    m_wasOpen = true;
    m_window->SetVisible(true);
    m_window->Activate();
    m_window->GetContext().GrabFocus(m_channels[0]);
    i_Show();
}

void CEditorColorPicker::Close()
{
    m_changed = nullptr;
    m_window->SetVisible(false);
}

void CEditorColorPicker::i_Change(const EditorColor& color)
{
    m_color = color;
    i_Show();
    if (m_changed)
        m_changed(color);
}

void CEditorColorPicker::i_Cancel()
{
    if (m_changed && m_color != m_old)
        m_changed(m_old);
    Close();
}

void CEditorColorPicker::i_Show()
{
    for (std::size_t i = 0; i < 4; ++i)
        m_channels[i]->SetValue(static_cast<float>(ToByte(m_color[i])));
    for (std::size_t i = 0; i < 3; ++i)
        m_hsv[i]->SetValue(m_shownHsv[i] * kHsvScale[i]);
    m_hex->SetText(FormatHex(m_color));
    m_preview->SetTint(ToGuiColor(m_color));
}

bool CEditorColorPicker::OnGuiEvent(const char* name, const gui::GuiEvent& event)
{
    EditorColor color = m_color;
    if (event.type == gui::GET_SPINNER_CHANGED)
    {
        for (std::size_t i = 0; i < 4; ++i)
        {
            if (event.source != m_channels[i])
                continue;
            color[i] = event.GetFloat(0) / 255.0F;
            if (i < 3)
                m_shownHsv = GetHsv(color);
        }
        for (std::size_t i = 0; i < 3; ++i)
        {
            if (event.source != m_hsv[i])
                continue;
            m_shownHsv[i] = event.GetFloat(0) / kHsvScale[i];
            color = WithHsv(color, m_shownHsv);
        }
        i_Change(color);
    }
    else if (event.type == gui::GET_TEXTEDIT_FINALIZED && event.source == m_hex)
    {
        if (ParseHex(m_hex->GetText(), color))
        {
            m_shownHsv = GetHsv(color);
            i_Change(color);
        }
        else
            i_Show();
    }
    else if (event.type == gui::GET_BUTTON_RELEASED && event.GetInt(0) == 1 && std::strcmp(name, "ok") == 0)
        Close();
    else if (event.type == gui::GET_WINDOW_CLOSE || (event.type == gui::GET_BUTTON_RELEASED && event.GetInt(0) == 1))
        i_Cancel();
    return true;
}
