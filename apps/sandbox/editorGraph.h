#pragma once

#include "gameengine/gui/guiWidget/guiWidget.h"

#include <array>
#include <cstddef>

/// The times of the last frames as columns, the newest on the right, with lines at a 60th, a 30th and a tenth of a
/// second.
class CEditorGraph : public gui::GuiWidget
{
public:
    explicit CEditorGraph(gui::GuiContext& context);

    gui::GuiWidgetType GetType() const override { return gui::GuiWidgetType::SpacerV; }
    const char* GetTypeString() const override { return "EDITOR_GRAPH"; }
    void Render() override;

    void Add(float seconds);
    /// Of the frames that are kept; 0 without any.
    float GetAverage() const;
    float GetLongest() const;

private:
    static constexpr std::size_t kFrames = 256;

    float i_Get(std::size_t age) const { return m_times[(m_next + kFrames - 1 - age) % kFrames]; }
    void i_DrawMarks(float scale);

    std::array<float, kFrames> m_times{}; // seconds
    std::size_t m_next = 0;
    std::size_t m_count = 0;
};
