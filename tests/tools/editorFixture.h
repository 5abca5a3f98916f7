#pragma once

#include "apps/sandbox/editor.h"
#include "gameengine/gui/guiWidget/guiAutomation.h"
#include "support/deviceFixture.h"
#include "support/expectations.h"
#include "tests/tools/townFixture.h"

#include <optional>

namespace test
{
/// The editor without a window, over a town of `WriteStreet`, with somebody at its widgets.
class EditorTest : public DeviceTest
{
protected:
    void Prepare() override
    {
        m_path = m_folder.Path("town.sdb");
        ASSERT_TRUE(WriteStreet(m_path));
        m_engine = CTamraGameEngine::Create(m_renderer);
        m_editor.emplace(*m_engine);
        ASSERT_TRUE(m_editor->Initialize(m_path, 1280, 720, TownCuller::Software, nullptr));
        m_user.emplace(m_editor->GetContext());
        Draw();
    }

    void Draw()
    {
        // The second frame shows what the first one has brought about.
        m_editor->Update(gui::GuiAutomation::kStep);
        m_editor->Update(gui::GuiAutomation::kStep);
    }

    /// A key, as the window sends it, with another one held meanwhile if that is not 0.
    void Press(int key, int held = 0)
    {
        if (held != 0)
            m_input.KeyDown(held);
        m_input.KeyDown(key);
        m_input.KeyUp(key);
        if (held != 0)
            m_input.KeyUp(held);
        Draw();
    }

    std::string Run(const std::string& command)
    {
        m_engine->GetConsole().ClearMessages();
        m_engine->GetConsole().Execute(command);
        Draw();
        std::string answer;
        for (const std::string& message : m_engine->GetConsole().GetMessages())
            answer += message + "\n";
        return answer;
    }

    std::string GetText(const char* target)
    {
        std::string text;
        EXPECT_TRUE(m_user->GetText(target, text)) << target;
        return text;
    }

    renderer::CInput& m_input = m_renderer.GetInput();
    TemporaryFolder m_folder;
    std::string m_path;
    std::unique_ptr<CTamraGameEngine> m_engine;
    std::optional<CEditor> m_editor;
    std::optional<gui::GuiAutomation> m_user;
};
} // namespace test
