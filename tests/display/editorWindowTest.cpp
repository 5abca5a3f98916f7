// The editor in a window of its own, used by the keyboard and the mouse of the display.

#include "apps/sandbox/editor.h"
#include "corvex/window.h"
#include "gameengine/gui/guiWidget/guiLayout.h"
#include "support/expectations.h"
#include "tamradeps/io/fileSystem.h"
#include "tests/display/xUser.h"
#include "tests/tools/townFixture.h"

#include <cmath>
#include <cstdlib>
#include <functional>
#include <optional>

#include <gtest/gtest.h>

namespace
{
using test::XUser;

class EditorWindow : public testing::Test
{
protected:
    static constexpr int kWidth = 1280;
    static constexpr int kHeight = 720;

    void SetUp() override
    {
        // It would move the mouse of whoever sits there.
        if (!std::getenv("TAMRA_OWN_DISPLAY"))
            GTEST_SKIP() << "needs a display of its own: run it by scripts/with-display.sh";
        GetFileSystem().AddRoot(TAMRA_SOURCE_FOLDER "/assets");
        m_path = m_folder.Path("town.sdb");
        ASSERT_TRUE(test::WriteStreet(m_path));
        m_window = CWindow::Create({.title = "Editor", .width = kWidth, .height = kHeight}, &m_renderer.GetInput());
        ASSERT_TRUE(m_window && m_renderer.InitializeDevice());
        m_engine = CTamraGameEngine::Create(m_renderer);
        m_editor.emplace(*m_engine);
        ASSERT_TRUE(m_editor->Initialize(m_path, kWidth, kHeight, TownCuller::Software, m_window.get()));
        Frames(3);
        ASSERT_TRUE(m_user.FindWindow(kWidth, kHeight));
    }

    void Frames(int count)
    {
        for (int i = 0; i < count; ++i)
            ASSERT_TRUE(m_editor->ShowFrame(1.0F / 60.0F));
    }

    // The server hands events on when it likes.
    bool Becomes(const std::function<bool()>& condition)
    {
        for (int i = 0; i < 200; ++i)
        {
            Frames(1);
            if (condition())
                return true;
        }
        return false;
    }

    bool Click(const char* id)
    {
        const gui::GuiWidget* widget = m_editor->GetContext().GetRoot().FindChild(id);
        if (!widget || !widget->IsVisible())
            return false;
        const gui::GuiRecti rect = widget->GetRect();
        m_user.MoveTo(rect.x + rect.w / 3, rect.y + rect.h / 2);
        Frames(2);
        m_user.Click();
        Frames(3);
        return m_editor->GetContext().GetFocusWidget() == widget;
    }

    CEditorTown& Town() { return m_editor->GetTown(); }
    test::TemporaryFolder m_folder;
    std::string m_path;
    renderer::CRenderer m_renderer;
    std::unique_ptr<CWindow> m_window;
    std::unique_ptr<CTamraGameEngine> m_engine;
    std::optional<CEditor> m_editor;
    XUser m_user;
};

TEST_F(EditorWindow, TakesKeysTheMouseAndClosingFromTheDisplay)
{
    // An entity is looked for and chosen, and its name is typed.
    ASSERT_TRUE(Click("filter"));
    m_user.Type("house 3");
    m_user.Press(XUser::kEnter);
    ASSERT_TRUE(Becomes([&] { return Town().GetSelected() && Town().GetSelected() == Town().Get(3); }));
    ASSERT_TRUE(Click("ComponentEditorData.Editor Name"));
    m_user.Press(XUser::kEnd);
    m_user.Type(" (East)!");
    EXPECT_TRUE(Becomes([&] { return Town().GetLabel(3) == "3  building House 3 (East)!"; })) << Town().GetLabel(3);

    // What stands in the middle of the view is clicked.
    Town().GoTo(*Town().Get(2));
    m_user.MoveTo(640, 360);
    Frames(3);
    m_user.Click();
    ASSERT_TRUE(Becomes([&] { return Town().GetSelected() == Town().Get(2); }));
    m_user.Click(3); // the keys are the view's
    Frames(3);
    const auto getEye = [&] { return Town().GetViewpoint().eye; };
    CVector3 eye = getEye();
    m_user.Click(4);
    EXPECT_TRUE(Becomes([&] { return std::abs((getEye() - eye).Length() - 25.0F) < 0.1F; }));
    eye = getEye();
    m_user.Hold('d', true);
    EXPECT_TRUE(Becomes([&] { return (getEye() - eye).Length() > 2.0F; }));
    m_user.Hold('d', false);

    const auto asks = [&] { return m_editor->GetContext().GetRoot().FindChild("closing")->IsVisible(); };
    m_user.CloseWindow();
    EXPECT_TRUE(Becomes(asks));
    m_user.Press(XUser::kEnter); // saves
    bool isOpen = true;
    for (int i = 0; i < 200 && isOpen; ++i)
        isOpen = m_editor->ShowFrame(1.0F / 60.0F);
    EXPECT_FALSE(isOpen);
    EXPECT_TRUE(test::ReadPlaces(m_path).contains("building House 3 (East)!"));
}
} // namespace
