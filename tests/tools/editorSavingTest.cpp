// When the editor saves, and what it asks before it closes.

#include "support/system.h"
#include "tests/tools/editorFixture.h"

#include <filesystem>

namespace
{
class EditorSaving : public test::EditorTest
{
protected:
    void PressSave() { Press('S', renderer::kKeyLeftControl); }

    // Whether it asks.
    bool Close()
    {
        m_editor->Close();
        Draw();
        return m_user->FindById("closing")->IsVisible();
    }

    // From the file alone.
    float ReadX(const std::string& name) { return test::ReadPlaces(m_path).at(name).Translation().x; }
};

TEST_F(EditorSaving, TakesWhatIsBeingTypedAndLeavesTheTyping)
{
    m_editor->GetTown().Select(m_editor->GetTown().Get(3));
    Draw();
    ASSERT_TRUE(m_user->Fill("ComponentEditorData.Editor Name", "building Tow"));
    PressSave();
    ASSERT_TRUE(m_user->Type("er"));
    ASSERT_TRUE(m_user->Fill("ComponentTransformDirect.Translation.x", "180"));
    PressSave();
    ASSERT_TRUE(test::ReadPlaces(m_path).contains("building Tower"));
    EXPECT_EQ(ReadX("building Tower"), 180.0F);
}

TEST_F(EditorSaving, IsAskedAboutBeforeTheEditorCloses)
{
    m_editor->GetTown().Select(m_editor->GetTown().Get(3));
    Draw();
    ASSERT_TRUE(m_user->Fill("ComponentTransformDirect.Translation.x", "172.5"));
    ASSERT_TRUE(Close()) << "a number that is still being typed is a change";
    EXPECT_FALSE(m_editor->IsClosed());

    // It is modal, also for the keys that work everywhere.
    for (const int key : {0 + renderer::kKeyF1, renderer::kKeyF1 + 2})
        Press(key);
    PressSave();
    EXPECT_FALSE(m_engine->GetConsole().GetVisible());
    EXPECT_TRUE(m_user->FindById("propertiesWindow")->IsVisible());
    EXPECT_TRUE(m_editor->GetTown().IsModified());
    ASSERT_TRUE(m_user->Press(gui::kGuiKeyEscape));
    EXPECT_FALSE(m_user->FindById("closing")->IsVisible() || m_editor->IsClosed());

    ASSERT_TRUE(Close() && m_user->Click("closingDiscard"));
    EXPECT_TRUE(m_editor->IsClosed());
    EXPECT_EQ(ReadX("building House 3"), 150.0F);
    ASSERT_TRUE(Close() && m_user->Press(gui::kGuiKeyEnter)) << "\"Save\" has the keyboard";
    EXPECT_TRUE(m_editor->IsClosed());
    EXPECT_EQ(ReadX("building House 3"), 172.5F);
    EXPECT_FALSE(Close()) << "there is nothing to ask about";

    // It stays where that cannot be saved. Elsewhere a file cannot be removed while its database is open.
    if (!test::kIsUnix)
        return;
    Run("delete 3");
    std::filesystem::remove(m_path);
    const test::ExpectLog expected{"readonly"};
    ASSERT_TRUE(Close() && m_user->Click("closingSave"));
    Draw();
    EXPECT_FALSE(m_editor->IsClosed());
    EXPECT_EQ(GetText("status"), "Not saved, see the console");
}
} // namespace
