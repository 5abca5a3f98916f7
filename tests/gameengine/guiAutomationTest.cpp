#include "gameengine/gui/guiWidget/guiAutomation.h"

#include "gameengine/gui/guiWidget/guiButton.h"
#include "gameengine/gui/guiWidget/guiStream.h"
#include "gameengine/gui/guiWidget/guiWidgetFile.h"
#include "support/expectations.h"
#include "support/guiFixture.h"

namespace
{
constexpr const char* kWidgets = "GWT_GROUPBOX \"Settings\" \"settings\" 0 0 200 200 LEFT|TOP NONE 0 0 0\n"
                                 "\tGWT_LIST_V \"list\" 0 0 10 10 LEFT|TOP NONE 7 7 0\n"
                                 "\t\tGWT_LABEL \"Gr\xF6\xDF\x65\" 0 1 -1 \"size\" 0 0 10 20 LEFT|TOP NONE 7 0 0\n"
                                 "\t\tGWT_CHECKBOX \"Freeze\" 0 \"freeze\" 0 0 10 20 LEFT|TOP NONE 7 0 0\n"
                                 "\t\tGWT_RADIOBUTTON \"Tree\" 1 5 0 \"tree\" 0 0 10 20 LEFT|TOP NONE 7 0 0\n"
                                 "\t\tGWT_SCROLLBAR_H 1000 0.0 \"bar\" 0 0 100 20 LEFT|TOP NONE 7 0 0\n"
                                 "\t\tGWT_BUTTON \"Apply\" \"apply\" 0 0 10 20 LEFT|TOP NONE 7 0 0\n"
                                 "GWT_GROUPBOX \"Other\" \"other\" 200 0 200 200 LEFT|TOP NONE 0 0 0\n"
                                 "\tGWT_BUTTON \"Go\" \"apply\" 0 0 10 20 LEFT|TOP NONE 7 0 0\n"
                                 "GWT_TEXTEDIT_LINE \"old\" 0 0 \"edit\" 0 210 150 24 LEFT|TOP NONE 0 0 0\n"
                                 "GWT_SPINNER 0.0 10.0 5.0 0.5 0 \"number\" 160 210 100 24 LEFT|TOP NONE 0 0 0\n"
                                 "GWT_DROPLIST 2 \"one\" \"two\" -1 \"choice\" 270 210 90 24 LEFT|TOP NONE 0 0 0\n";

class GuiAutomationTest : public test::GuiTest<>
{
protected:
    GuiAutomationTest()
    {
        gui::GuiStream stream((std::string(kWidgets)));
        EXPECT_TRUE(gui::ReadWidgets(m_root, stream));
        m_context->Render(400, 300);
    }
    bool OnGuiEvent(const char* name, const gui::GuiEvent& event) override
    {
        GuiTest::OnGuiEvent(name, event);
        if (m_isDestroying && event.source)
            event.source->DestroySelf();
        return true;
    }
    std::string Tell(const char* name, const gui::GuiEvent& event) const override
    {
        return name + std::to_string(event.type);
    }

    gui::GuiAutomation m_user{*m_context};
    bool m_isDestroying = false;
};

TEST_F(GuiAutomationTest, FindsAndReads)
{
    EXPECT_EQ(m_user.Find("apply"), m_user.FindByPath("settings/list/apply"));
    EXPECT_EQ(m_user.FindByText("Go"), m_user.FindByPath("other/apply"));
    EXPECT_EQ(m_user.Find("Größe"), m_user.FindById("size"));
    EXPECT_EQ(m_user.FindByPath("settings/apply"), m_user.Find("Apply")) << "levels may be left out";
    EXPECT_EQ(m_user.FindByPath("other/list/apply"), nullptr);
    m_user.Find("other")->SetVisible(false);
    EXPECT_EQ(m_user.FindByText("Go"), nullptr);

    std::string text;
    float value = -1.0F;
    std::vector<std::string> fields;
    EXPECT_TRUE(m_user.GetText("settings", text) && text == "Settings");
    EXPECT_TRUE(m_user.GetValue("freeze", value) && value == 0.0F);
    EXPECT_TRUE(m_user.GetFields("tree", fields));
    EXPECT_EQ(fields, (std::vector<std::string>{"Tree", "1", "5", "0"}));
    const test::ExpectLog expected{"cannot find \"nobody\": there is no such widget",
                                   "cannot read \"list\": it has no text", "cannot read \"size\": it has no value",
                                   "cannot read \"x/y\""};
    EXPECT_EQ(m_user.Find("nobody"), nullptr);
    EXPECT_FALSE(m_user.GetText("list", text) || m_user.GetValue("size", value) || m_user.GetFields("x/y", fields));
}

TEST_F(GuiAutomationTest, UsesWhatAUserCouldUse)
{
    float value = 0.0F;
    EXPECT_TRUE(m_user.Click("Apply") && m_user.Click("other/apply"));
    EXPECT_EQ(Take(), "apply3 apply4 apply3 apply4");
    EXPECT_TRUE(m_user.Click("freeze") && m_user.GetValue("freeze", value) && value == 1.0F);
    EXPECT_TRUE(m_user.Press(gui::kGuiKeySpace) && m_user.GetValue("freeze", value) && value == 0.0F);
    EXPECT_TRUE(m_user.Drag("bar", *m_user.Find("other")) && m_user.GetValue("bar", value) && value > 700.0F) << value;

    Take();
    m_isDestroying = true;
    EXPECT_TRUE(m_user.Click("settings/apply"));
    EXPECT_EQ(Take(), "apply3") << "gone before it was let go";
    EXPECT_EQ(m_user.FindByPath("settings/apply"), nullptr);
}

TEST_F(GuiAutomationTest, TypesAndChooses)
{
    std::string text;
    float value = 0.0F;
    EXPECT_TRUE(m_user.Fill("edit", "Größe 5!") && m_user.GetText("edit", text));
    EXPECT_EQ(text, "Gr\xF6\xDF\x65 5!");
    EXPECT_TRUE(m_user.Fill("number", "7.5\n") && m_user.Wheel("number", -2) && m_user.GetValue("number", value));
    EXPECT_EQ(value, 6.5F);
    EXPECT_TRUE(m_user.GetText("choice", text) && text.empty());
    EXPECT_TRUE(m_user.Click("choice") && m_user.Press(gui::kGuiKeyEnd) && m_user.Type("\n"));
    EXPECT_TRUE(m_user.GetText("choice", text) && text == "two" && m_user.GetValue("choice", value) && value == 1.0F);
    EXPECT_TRUE(m_user.Click("edit", gui::kGuiMouseLeft, 2) && m_user.Press('X', gui::kGuiControl));
    EXPECT_EQ(m_context->GetClipboard(), "!") << "the last word, in the middle of the line";
    m_user.Hold(gui::kGuiShift);
    EXPECT_TRUE(m_user.Press(gui::kGuiKeyHome));
    m_user.Hold(0);
    EXPECT_TRUE(m_user.Fill("edit", "") && m_user.GetText("edit", text) && text.empty()) << text;
}

TEST_F(GuiAutomationTest, SaysWhatStandsInTheWay)
{
    auto* cover = Add<gui::GuiButton>(m_root, "", {250, 0, 100, 300});
    gui::GuiButton stray(*m_context);
    m_user.Find("freeze")->SetLocked(true);
    m_user.Find("size")->SetVisible(false);
    const test::ExpectLog expected{
        "cannot click \"other/apply\": it is covered by a GWT_BUTTON",
        "cannot click \"freeze\": it is locked",
        "cannot reach \"size\": it is hidden",
        "cannot click \"away\": nothing of it is seen at its middle",
        "cannot click the widget: there is no such widget",
        "cannot press a key in the widget in focus: there is none",
        "cannot type into \"bar\": it takes no text",
        "cannot press a key in \"bar\": it is locked",
        "cannot click \"settings/apply\": a GWT_BUTTON has all input",
        "cannot click \"apply\": it lies in \"settings\", which is hidden",
    };
    Add<gui::GuiButton>(m_root, "away", {1000, 0, 10, 10});
    EXPECT_FALSE(m_user.Click("other/apply"));
    EXPECT_FALSE(m_user.Click("freeze"));
    EXPECT_TRUE(m_user.MoveTo("freeze"));
    EXPECT_FALSE(m_user.MoveTo("size"));
    EXPECT_FALSE(m_user.Click("away"));
    EXPECT_FALSE(m_user.Click(stray));
    EXPECT_FALSE(m_user.Press(gui::kGuiKeyEnter));
    EXPECT_TRUE(m_user.Click("bar"));
    EXPECT_FALSE(m_user.Type("x"));
    m_user.Find("bar")->SetLocked(true);
    EXPECT_FALSE(m_user.Press(gui::kGuiKeyEnd));
    m_context->GrabInput(cover);
    EXPECT_FALSE(m_user.Click("settings/apply"));
    m_context->GrabInput(nullptr);
    m_user.Find("settings")->SetVisible(false);
    EXPECT_FALSE(m_user.Click("apply"));
    EXPECT_EQ(Take(), "bar10 bar12 bar11");
}
} // namespace
