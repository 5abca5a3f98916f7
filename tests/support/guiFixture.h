#pragma once

#include "gameengine/gui/guiWidget/guiContext.h"
#include "gameengine/gui/guiWidget/guiKey.h"
#include "gameengine/gui/guiWidget/guiLayout.h"
#include "support/recordingDraw.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace test
{
/// A screen of widgets without a device, with somebody at its mouse and keyboard. What widgets tell is written down.
template <class Recorder = RecordingDraw>
class GuiTest : public testing::Test, protected gui::GuiCallback
{
protected:
    explicit GuiTest(int width = 400, int height = 300)
    {
        m_root.SetCallback(this);
        m_context->Render(width, height);
    }

    bool OnGuiEvent(const char* name, const gui::GuiEvent& event) override
    {
        m_heard.append(m_heard.empty() ? "" : " ").append(Tell(name, event));
        return true;
    }
    /// What is written down of an event.
    virtual std::string Tell(const char* name, const gui::GuiEvent& event) const
    {
        return name + std::to_string(event.type) + ":" + std::to_string(event.GetInt(0));
    }
    /// What was written down since the last call.
    std::string Take() { return std::exchange(m_heard, {}); }

    template <class Widget, class... Arguments>
    Widget* Add(gui::GuiLayout& layout, const char* id, const gui::GuiRecti& rect, Arguments... arguments)
    {
        auto widget = std::make_unique<Widget>(*m_context, arguments...);
        widget->SetId(id);
        widget->SetRect(rect);
        return static_cast<Widget*>(layout.AddChild(std::move(widget)));
    }

    void Update(float seconds = 0.01F) { m_context->Update(seconds); }
    void Move(gui::Vec2<int> to)
    {
        m_context->SetMousePos(to.x, to.y);
        Update();
    }
    void Press(gui::Vec2<int> at, unsigned button = gui::kGuiMouseLeft)
    {
        m_context->SetMousePos(at.x, at.y);
        m_context->PushMouseClick(button);
        Update();
    }
    /// Down and up in one pass.
    void Tap(gui::Vec2<int> at, float seconds = 0.01F)
    {
        m_context->SetMousePos(at.x, at.y);
        m_context->PushMouseClick(gui::kGuiMouseLeft);
        m_context->PushMouseRelease(gui::kGuiMouseLeft);
        Update(seconds);
    }
    /// Answers what came of it, in this pass and in one after some time.
    std::string Release(float rest = 1.0F)
    {
        m_context->PushMouseRelease(gui::kGuiMouseLeft);
        Update();
        Update(rest);
        return Take();
    }
    std::string Click(gui::Vec2<int> at, float rest = 1.0F)
    {
        Press(at);
        return Release(rest);
    }
    void Hold(unsigned key, bool isDown = true)
    {
        if (key != 0)
            isDown ? m_context->PushKeyPress(key) : m_context->PushKeyRelease(key);
    }
    /// A key, with another one held meanwhile if that is not 0.
    std::string Key(unsigned key, unsigned held = 0)
    {
        Hold(held);
        Hold(key);
        Hold(key, false);
        Hold(held, false);
        Update();
        Update();
        return Take();
    }
    /// The calls of one kind that draw the screen.
    std::vector<RecordingDraw::Call> Draw(const std::string& what)
    {
        const gui::GuiRecti screen = m_root.GetRect();
        m_draw.calls.clear();
        m_context->Render(screen.w, screen.h);
        std::vector<RecordingDraw::Call> calls = m_draw.calls;
        std::erase_if(calls, [&](const auto& call) { return call.what != what; });
        return calls;
    }

    Recorder m_draw;
    std::string m_heard;
    std::unique_ptr<gui::GuiContext> m_context = gui::GuiContext::Create(m_draw);
    gui::GuiFreeLayout& m_root = m_context->GetRoot();
};
} // namespace test
