#include "gameengine/gui/draw2D/font.h"
#include "gameengine/gui/draw2D/latin1.h"
#include "gameengine/gui/guiConsole/guiConsole.h"

#include <algorithm>
#include <array>
#include <cstdio>

using gui::Color;
using gui::Draw;
using gui::GuiRecti;

namespace
{
constexpr int kFont = gui::TFB_CONSOLAS;
constexpr int kPadding = 6;
constexpr std::size_t kMaxShown = 4096; // bytes of one message
constexpr std::size_t kPromptLength = 2;

constexpr Color kBackground = 0xFF201A16;
constexpr Color kInputBackground = 0xFF302822;
constexpr Color kEdge = 0xFFD68A3C;
constexpr Color kText = 0xFFDCD8D4;
constexpr Color kDimText = 0xFF908880;
constexpr Color kCommandText = 0xFFFFC890;
constexpr Color kWarningText = 0xFF50C8FF;
constexpr Color kErrorText = 0xFF6868FF;

Color GetColor(std::string_view message)
{
    if (message.starts_with("[ERROR]"))
        return kErrorText;
    if (message.starts_with("[WARNING]"))
        return kWarningText;
    return message.starts_with("> ") ? kCommandText : kText;
}

/// The text as fonts have it; it stays in `buffer` where it is another.
std::string_view ToShown(std::string_view text, std::string& buffer)
{
    text = text.substr(0, kMaxShown);
    const auto isPlain = [](char c) { return (c >= ' ' && c < 127) || c == '\n'; };
    if (std::all_of(text.begin(), text.end(), isPlain))
        return text;
    gui::ToLatin1(text, buffer);
    for (char& c : buffer)
    {
        if (static_cast<unsigned char>(c) < ' ' && c != '\n')
            c = ' ';
    }
    return buffer;
}

/// Cuts the next row off a text: up to its line end, at most so many characters.
std::string_view TakeRow(std::string_view& text, std::size_t columns)
{
    const std::size_t end = std::min(text.substr(0, columns + 1).find('\n'), std::min(columns, text.size()));
    const std::string_view row = text.substr(0, end);
    text.remove_prefix(end);
    if (text.starts_with('\n'))
        text.remove_prefix(1);
    return row;
}

int CountRows(std::string_view text, std::size_t columns)
{
    int count = 1;
    for (TakeRow(text, columns); !text.empty(); TakeRow(text, columns))
        ++count;
    return count;
}
} // namespace

void CGuiConsole::RenderGUI(Draw& draw, int width, int height)
{
    const GuiRecti pane(0, 0, width, height / 2);
    const int lineHeight = draw.GetLineHeight(kFont);
    if (!m_isVisible || pane.w <= 0 || pane.h <= 0)
        return;
    // Every character is as wide as this one.
    const int columns = std::max((width - 2 * kPadding) / std::max(draw.GetTextWidth("0", kFont), 1), 4);
    const int inputTop = pane.h - 2 * kPadding - lineHeight;
    draw.PushClip(pane);
    draw.FillRect({0, 0, width, inputTop}, kBackground);
    draw.FillRect({0, inputTop, width, pane.h - inputTop}, kInputBackground);
    draw.FillRect({0, pane.h - 1, width, 1}, kEdge);
    draw.PushClip({0, 0, width, std::max(inputTop, 0)});
    i_DrawMessages(draw, columns, inputTop - kPadding / 2);
    draw.PopClip();
    i_DrawInput(draw, static_cast<std::size_t>(columns), inputTop + kPadding);
    draw.PopClip();
}

// The messages from the view line on, as many as there are at the bottom, stand lowest; those before them fill the room
// above.
void CGuiConsole::i_DrawMessages(Draw& draw, int columns, int bottom)
{
    const int lineHeight = draw.GetLineHeight(kFont);
    const std::size_t end = std::min(m_viewLine + kBottomMessages, m_messages.size());
    int y = bottom;
    for (std::size_t i = end; i-- > 0 && y > 0;)
    {
        const std::string& message = m_messages[i];
        std::string_view text = ToShown(message, m_shown);
        y -= CountRows(text, static_cast<std::size_t>(columns)) * lineHeight;
        int rowY = y;
        do
        {
            const std::string_view row = TakeRow(text, static_cast<std::size_t>(columns));
            if (rowY > -lineHeight)
                draw.Text(kPadding, rowY, row, GetColor(message), kFont);
            rowY += lineHeight;
        } while (!text.empty());
    }
    if (end == m_messages.size())
        return;
    std::array<char, 48> hint;
    std::snprintf(hint.data(), hint.size(), "%zu more below", m_messages.size() - end);
    const int hintWidth = draw.GetTextWidth(hint.data(), kFont) + 2 * kPadding;
    const GuiRecti hintRect(draw.GetTextWidth("0", kFont) * columns + 2 * kPadding - hintWidth, bottom - lineHeight,
                            hintWidth, lineHeight);
    draw.FillRect(hintRect, kEdge);
    draw.Text(hintRect.x + kPadding, hintRect.y, hint.data(), kInputBackground, kFont);
}

void CGuiConsole::i_DrawInput(Draw& draw, std::size_t columns, int y)
{
    // The end is where the cursor is.
    std::string_view text = m_input;
    text = ToShown(text.substr(text.size() - std::min(text.size(), kMaxShown)), m_shown);
    const std::size_t room = columns - kPromptLength - 1;
    if (text.size() > room)
        text.remove_prefix(text.size() - room);
    const int left = kPadding + draw.GetTextWidth("> ", kFont);
    draw.Text(kPadding, y, "> ", m_isInputActive ? kEdge : kDimText, kFont);
    draw.Text(left, y, text, m_isInputActive ? kText : kDimText, kFont);
    if (m_isInputActive && m_isCursorShown)
        draw.FillRect({left + draw.GetTextWidth(text, kFont), y, 2, draw.GetLineHeight(kFont)}, kEdge);
}
