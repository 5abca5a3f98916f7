#include "apps/sandbox/editorGraph.h"

#include <algorithm>

using namespace gui;

namespace
{
constexpr int kColumn = 2;           // pixels
constexpr float kLeastRange = 0.04F; // seconds from bottom to top
constexpr float kMostRange = 0.15F;  // longer columns are cut
constexpr Color kGood = 0xFF58B060;
constexpr Color kFair = 0xFF30A8E0;
constexpr Color kPoor = 0xFF4848E0;
} // namespace

CEditorGraph::CEditorGraph(GuiContext& context)
    : GuiWidget(context, 0, GuiRecti(0, 0, 100, 60), GuiSizePolicy::Expand())
{
    SetId("frameTimes");
    myKeepPicture();
}

void CEditorGraph::Add(float seconds)
{
    m_times[m_next] = seconds;
    m_next = (m_next + 1) % kFrames;
    m_count = std::min(m_count + 1, kFrames);
    Redraw();
}

float CEditorGraph::GetAverage() const
{
    float sum = 0.0F;
    for (std::size_t i = 0; i < m_count; ++i)
        sum += i_Get(i);
    return m_count == 0 ? 0.0F : sum / static_cast<float>(m_count);
}

float CEditorGraph::GetLongest() const
{
    float longest = 0.0F;
    for (std::size_t i = 0; i < m_count; ++i)
        longest = std::max(longest, i_Get(i));
    return longest;
}

// From the lowest one upwards; one whose text has no room is left out.
void CEditorGraph::i_DrawMarks(float scale)
{
    static constexpr struct
    {
        float seconds;
        const char* text;
    } kMarks[] = {{1.0F / 60.0F, "16.7 ms"}, {1.0F / 30.0F, "33.3 ms"}, {0.1F, "100 ms"}};
    const GuiRecti rect = GetRect();
    const int lineHeight = myGetDraw().GetLineHeight(TFB_PIXEL);
    int below = rect.y + rect.h + lineHeight;
    for (const auto& mark : kMarks)
    {
        const int y = rect.y + rect.h - 1 - static_cast<int>(mark.seconds * scale);
        if (y > below - lineHeight - 3 || y < rect.y + lineHeight + 2)
            continue;
        below = y;
        myGetDraw().FillRect({rect.x + 1, y, rect.w - 2, 1}, myGetStyle().textDisabled);
        const int width = myGetDraw().GetTextWidth(mark.text, TFB_PIXEL);
        myGetDraw().FillRect({rect.x + 2, y - lineHeight - 1, width + 4, lineHeight + 1}, myGetStyle().panel);
        myGetDraw().Text(rect.x + 4, y - lineHeight - 1, mark.text, myGetStyle().text, TFB_PIXEL);
    }
}

void CEditorGraph::Render()
{
    const GuiRecti rect = GetRect();
    const GuiStyleData& style = myGetStyle();
    Draw& draw = myGetDraw();
    if (rect.w < 4 || rect.h < 4)
        return;
    draw.PushClip(rect);
    draw.FillRect(rect, style.panel);
    const float range = std::clamp(GetLongest() * 1.1F, kLeastRange, kMostRange);
    const float scale = static_cast<float>(rect.h - 2) / range;
    const std::size_t columns = std::min(m_count, static_cast<std::size_t>((rect.w - 2) / kColumn));
    for (std::size_t i = 0; i < columns; ++i)
    {
        const float seconds = i_Get(i);
        const int height = std::clamp(static_cast<int>(seconds * scale), 1, rect.h - 2);
        const int x = rect.x + rect.w - 1 - static_cast<int>(i + 1) * kColumn;
        const Color color = seconds < 1.0F / 55.0F ? kGood : (seconds < 1.0F / 28.0F ? kFair : kPoor);
        draw.FillRect({x, rect.y + rect.h - 1 - height, kColumn, height}, color);
    }
    i_DrawMarks(scale);
    draw.FrameRect(rect, style.border);
    draw.PopClip();
}
