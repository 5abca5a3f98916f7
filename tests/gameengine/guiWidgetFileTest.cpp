#include "gameengine/gui/guiWidget/guiWidgetFile.h"

#include "gameengine/gui/guiWidget/guiContext.h"
#include "gameengine/gui/guiWidget/guiLayout.h"
#include "gameengine/gui/guiWidget/guiStream.h"
#include "support/expectations.h"
#include "support/files.h"
#include "support/recordingDraw.h"

#include <tuple>

#include <gtest/gtest.h>

namespace
{
using gui::GuiStream;

class GuiWidgetFile : public testing::Test
{
protected:
    gui::GuiFreeLayout& Root() { return m_context->GetRoot(); }

    /// Everything below the root as text; its lines start with a tab.
    std::string Written()
    {
        GuiStream stream;
        EXPECT_TRUE(gui::WriteWidgets(Root(), stream));
        return stream.GetData().substr(stream.GetData().find('\n') + 1);
    }

    test::RecordingDraw m_draw;
    std::unique_ptr<gui::GuiContext> m_context = gui::GuiContext::Create(m_draw);
};

std::string Line(int depth, const std::string& id, const std::string& rest = "NONE NONE 0 0 0",
                 const std::string& type = "GWT_FREELAYOUT")
{
    return std::string(static_cast<std::size_t>(depth), '\t') + type + " \"" + id + "\" 1 2 30 40 " + rest + "\n";
}

TEST_F(GuiWidgetFile, LeavesOutDamagedLinesAndGoesOn)
{
    const std::string a = Line(0, "a");
    const std::string slider = Line(1, "x", "NONE NONE 0 0 0", "GWT_SLIDER");
    // What is left, and of each fault line, column and word, with a ! for a line that is left out.
    const std::tuple<std::string, std::string, std::string> cases[] = {
        {a + "\r\n\n \t\n" + Line(1, "b") + Line(0, "c"), "a b c", ""},
        {"\xEF\xBB\xBF" + Line(3, "a") + Line(4, "b") + Line(1, "c"), "a b c", ""},
        {a + slider + Line(2, "x") + Line(1, "b"), "a b", "2:2 GWT_SLIDER!"},
        {a + Line(1, "b") + Line(2, "c") + Line(0, "d") + Line(2, "x") + Line(3, "x") + Line(1, "e"), "a b c d e",
         "5:3 GWT_FREELAYOUT!"},
        {Line(16, "x") + Line(40, "x") + Line(15, "a"), "a", "1:17 GWT_FREELAYOUT!"},
        {"  " + Line(0, "x") + a, "a", "1:3 GWT_FREELAYOUT!"},
        {Line(0, "a", "NONE NONE 0 0 0", "GWT_SPACER_H") + Line(1, "x") + Line(0, "b"), "a b", "2:2 GWT_FREELAYOUT!"},
        {Line(0, "a", "NONE NONE 0 0 0", "GWT_GROUPBOX \"\"") + Line(1, "b") + Line(1, "x") + Line(2, "x") +
             Line(0, "c"),
         "a b c", "3:2 GWT_FREELAYOUT!"},
        {"GWT_FREELAYOUT \"x\" 1 2\n" + Line(1, "x") + a, "a", "1:23 !"},
        {"GWT_FREELAYOUT \"open 1 2 3 4 NONE NONE 0 0 0\n" + a, "a", "1:16 \"open!"},
        {Line(0, "x", "NONE NONE 0 0 0 7 8") + a, "a", "1:46 7!"},
        {Line(0, "x", "NONE NONE  0 0 0") + a, "a", "1:45 0!"},
        {Line(0, "a", "LEFT|UP NONE 0 0 0") + Line(0, "b", "NONE MIDDLE 0 zero 0"), "a b", "1:30 LEFT|UP 2:35 MIDDLE"},
        {std::string(2000, 'x') + "\x1b \"\n", "", "1:1 " + std::string(60, 'x') + "...!"},
        {"", "", ""},
        {"GWT_LISTBOX 1 \"a\" 1 0 \"x\" 1 2 30 40 LEFT|TOP NONE 3 3 0\n", "x", "1:19 1"}, // there is no item 1
        {"GWT_DROPLIST 1 \"a\" -2 \"x\" 1 2 30 40 LEFT|TOP NONE 3 3 0\n", "x", "1:20 -2"},
        {"GWT_LISTBOX 1 \"a\" 0 \"x\" 1 2 30 40 LEFT|TOP NONE 3 3 0\n", "", "1:21 \"x\"!"}, // no flag
    };
    for (const auto& [text, left, expected] : cases)
    {
        m_context = gui::GuiContext::Create(m_draw);
        GuiStream stream(text);
        std::vector<gui::GuiReadFault> faults;
        testing::internal::CaptureStdout();
        EXPECT_EQ(gui::ReadWidgets(Root(), stream, &faults), expected.empty()) << text;
        testing::internal::GetCapturedStdout();
        std::string found;
        for (const gui::GuiReadFault& fault : faults)
            found.append(found.empty() ? "" : " ")
                .append(std::to_string(fault.line) + ":" + std::to_string(fault.column) + " ")
                .append(fault.word + (fault.leftOut ? "!" : ""));
        EXPECT_EQ(found, expected) << text;
        std::string ids;
        gui::IterateOverWidgets(
            Root(),
            [](gui::GuiWidget& widget, void* user)
            {
                if (widget.GetId() != "__root")
                    *static_cast<std::string*>(user) +=
                        (static_cast<std::string*>(user)->empty() ? "" : " ") + widget.GetId();
            },
            &ids);
        EXPECT_EQ(ids, left) << text;
    }
}

TEST_F(GuiWidgetFile, AnUnknownTypeIsPrintedAndTheCursorStays)
{
    GuiStream stream(std::string("x\n\tGWT_SLIDER 1 2 3"));
    stream.SetDataPosition(2);
    testing::internal::CaptureStdout();
    EXPECT_EQ(gui::CreateWidgetFromStream(*m_context, stream), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "GUI CreateWidgetFromStream: Unknown type \"GWT_SLIDER\"\n");
    EXPECT_EQ(stream.GetDataPosition(), 2);

    GuiStream blank(std::string("\n\t "));
    EXPECT_EQ(gui::CreateWidgetFromStream(*m_context, blank), nullptr);
    const test::ExpectLog expected{"nested too deeply"};
    GuiStream deep(Line(16, "deep"));
    EXPECT_EQ(gui::CreateWidgetFromStream(*m_context, deep), nullptr);
}

TEST_F(GuiWidgetFile, GivesUpOnWhatIsNoFileOfWidgets)
{
    std::string text;
    for (int i = 0; i < 3000; ++i)
        text += "x\n";
    GuiStream stream(text);
    std::vector<gui::GuiReadFault> faults;
    testing::internal::CaptureStdout();
    EXPECT_FALSE(gui::ReadWidgets(Root(), stream, &faults));
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(faults.size(), 1000U);
}

TEST_F(GuiWidgetFile, LogsFileLineAndWordAndKeepsTheOldFileOnFailure)
{
    const test::TemporaryFolder folder;
    const std::string path = folder.Path("tree.gui");
    test::WriteFile(path, Line(0, "a") + Line(1, "x", "", "GWT_NOTHING") + Line(1, "b", "TOP NONE 0 ? 0"));
    {
        const test::ExpectLog expected{"tree.gui:2:2: \"GWT_NOTHING\"", "tree.gui:3:42: \"?\""};
        testing::internal::CaptureStdout();
        EXPECT_TRUE(gui::LoadWidgetFile(Root(), path));
        testing::internal::GetCapturedStdout();
    }
    const std::string written = Written();
    EXPECT_TRUE(gui::SaveWidgetFile(*Root().FindChild("a"), path));
    m_context = gui::GuiContext::Create(m_draw);
    EXPECT_TRUE(gui::LoadWidgetFile(Root(), path));
    EXPECT_EQ(Written(), written);

    std::string deep;
    for (int depth = 0; depth < GuiStream::kMaxDepth; ++depth)
        deep += Line(depth, "deep");
    GuiStream stream(deep);
    EXPECT_TRUE(gui::ReadWidgets(Root(), stream));
    const test::ExpectLog expected{"nested too deeply", "missing.gui"};
    EXPECT_FALSE(gui::SaveWidgetFile(Root(), path)); // the root is one level more
    EXPECT_EQ(test::ReadFile(path), written);
    EXPECT_FALSE(gui::LoadWidgetFile(Root(), folder.Path("missing.gui")));
}
} // namespace
