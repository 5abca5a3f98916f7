#pragma once

#include "gameengine/gui/draw2D/draw.h"

#include <algorithm>
#include <string>
#include <vector>

namespace test
{
/// Draws nothing and remembers what it was asked for. Every character is 8 pixels wide and 16 high.
class RecordingDraw : public gui::Draw
{
public:
    struct Call
    {
        std::string what;
        gui::GuiRecti rect;
        std::string text;
        gui::Color color = 0;

        friend bool operator==(const Call&, const Call&) = default;
    };

    void Line(gui::Vec2<int> from, gui::Vec2<int> to, gui::Color color, float) override
    {
        Add("line", {from.x, from.y, to.x - from.x, to.y - from.y}, {}, color);
    }
    void FillRect(const gui::GuiRecti& rect, gui::Color color) override { Add("fill", rect, {}, color); }
    void FrameRect(const gui::GuiRecti& rect, gui::Color color, int) override { Add("frame", rect, {}, color); }
    void FillRoundRect(const gui::GuiRecti& rect, int, gui::Color color) override { Add("round", rect, {}, color); }
    void FrameRoundRect(const gui::GuiRecti& rect, int, gui::Color color) override
    {
        Add("roundframe", rect, {}, color);
    }
    void FillTriangle(gui::Vec2<float>, gui::Vec2<float>, gui::Vec2<float>, gui::Color color) override
    {
        Add("triangle", {}, {}, color);
    }
    void Gradient(const gui::GuiRecti& rect, gui::Color color, gui::Color, gui::Color, gui::Color) override
    {
        Add("gradient", rect, {}, color);
    }
    void DrawImage(const gui::Image&, const gui::GuiRecti& rect, gui::Color tint) override
    {
        Add("image", rect, {}, tint);
    }
    void DrawNinePatch(const gui::Image&, const gui::GuiRecti& rect, const gui::Vec4<int>&, gui::Color tint) override
    {
        Add("ninepatch", rect, {}, tint);
    }
    void Text(int x, int y, std::string_view text, gui::Color color, int) override
    {
        Add("text", {x, y, GetTextWidth(text, 0), 16}, std::string(text), color);
    }
    void Text3D(std::string_view text, int, int, CVector3, gui::Color color) override
    {
        Add("text3d", {}, std::string(text), color);
    }
    int GetTextWidth(std::string_view text, int) const override { return static_cast<int>(text.size()) * 8; }
    int GetLineHeight(int) const override { return 16; }
    std::size_t FindCharacter(std::string_view text, int x, int) const override
    {
        return static_cast<std::size_t>(std::clamp((x + 4) / 8, 0, static_cast<int>(text.size())));
    }
    void PushClip(const gui::GuiRecti& rect) override
    {
        ++clips;
        Add("clip", rect, {}, 0);
    }
    void PopClip() override { --clips; }
    void RenderAll(int, int) override { calls.clear(); }

    std::vector<Call> calls;
    int clips = 0; ///< Pushed and not popped.

private:
    void Add(const char* what, const gui::GuiRecti& rect, std::string text, gui::Color color)
    {
        calls.push_back({what, rect, std::move(text), color});
    }
};
} // namespace test
