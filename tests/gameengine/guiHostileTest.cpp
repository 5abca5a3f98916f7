#include "gameengine/gui/guiInputAdapter.h"
#include "gameengine/gui/guiWidget/guiButton.h"
#include "gameengine/gui/guiWidget/guiStream.h"
#include "gameengine/gui/guiWidget/guiWidgetFile.h"
#include "gameengine/gui/guiWidget/guiWindow.h"
#include "support/guiFixture.h"
#include "tamraengine/renderer/input.h"

#include <chrono>
#include <string>

using namespace gui;

// Widgets in numbers and in states that nobody makes by hand.

namespace
{
using GuiHostileTest = test::GuiTest<>;

TEST_F(GuiHostileTest, ALayoutLetsGoOfAChildThatWasGivenAnotherParent)
{
    auto* const box = Add<GuiFreeLayout>(m_root, "box", {0, 0, 100, 100});
    for (int way = 0; way < 3; ++way)
    {
        auto* const button = Add<GuiButton>(*box, "b", {1, 2, 30, 40});
        GuiStream stream;
        button->Save(stream);
        stream.SetDataPosition(0);
        if (way == 0)
            EXPECT_TRUE(button->Load(stream)); // the stream knows nobody above
        else
            button->SetParent(way == 1 ? nullptr : &m_root);
        EXPECT_EQ(button->GetParent(), way == 2 ? &m_root : nullptr);
        EXPECT_EQ(button->GetOwner(), box);
        button->DestroySelf();
        EXPECT_EQ(box->GetChildCount(), 0U);
    }
    // What moves still tells the layout that looks for it.
    for (int i = 0; i < 40; ++i)
        Add<GuiButton>(*box, "", {0, i, 1, 1});
    GuiWidget* const last = box->GetChild(39);
    Update();
    EXPECT_EQ(box->GetHoverWidget(0, 39), last);
    last->SetParent(nullptr);
    last->SetPos(50, 50);
    EXPECT_EQ(box->GetHoverWidget(50, 50), last);
}
} // namespace
