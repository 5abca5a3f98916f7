// The sandbox as a program of its own: the whole way of a town from the extract to the file and back.

#include "support/expectations.h"
#include "support/program.h"
#include "support/system.h"
#include "tests/tools/townFixture.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <regex>
#include <set>

#include <gtest/gtest.h>

namespace
{
class Sandbox : public testing::Test
{
protected:
    // Whether it ended well.
    bool Run(const std::string& arguments)
    {
        test::ProgramResult result =
            test::RunProgram("sandbox", arguments + " --out " + m_folder.Path("out"), m_current, m_environment);
        m_text = result.output + result.errors;
        return result.exitCode == 0;
    }

    // Assets of the current folder come before those of the installation.
    void WriteAsset(const std::string& name, const std::string& text)
    {
        m_current = m_folder.Path("");
        const std::filesystem::path path = m_folder.Path("assets/" + name);
        std::filesystem::create_directories(path.parent_path());
        test::WriteFile(path.string(), text);
    }

    test::TemporaryFolder m_folder;
    std::string m_current; // the folder that it starts in, empty for ours
    std::vector<std::string> m_environment;
    std::string m_text;
};

TEST_F(Sandbox, ImportsOnceAndFindsEverythingAgain)
{
    for (const bool isFirst : {true, false})
    {
        ASSERT_TRUE(Run(isFirst ? "stream --frames 200 --seed 1" : "stream --frames 200 --seed 77")) << m_text;
        EXPECT_EQ(m_text.find("\nimport ") != std::string::npos, isFirst) << m_text;
        EXPECT_NE(m_text.find("with the content that they should have"), std::string::npos) << m_text;
        EXPECT_GT(std::filesystem::file_size(m_folder.Path("out/manhattan.png")), 100000U);
    }
    const std::string junk = "this is no database, and long enough not to be mistaken for one";
    test::WriteFile(m_folder.Path("out/manhattan.sdb"), junk);
    EXPECT_FALSE(Run(""));
    EXPECT_EQ(test::ReadFile(m_folder.Path("out/manhattan.sdb")), junk);
    EXPECT_FALSE(Run("--world nowhere"));
    EXPECT_NE(m_text.find("nowhere"), std::string::npos);
    EXPECT_EQ(m_text.find('\n'), m_text.size() - 1) << "one line";
}

// Every culler must leave the picture as it is, seen from where the camera stays long enough.
TEST_F(Sandbox, CullersDoNotChangeThePicture)
{
    constexpr int kViewpoints = 24;
    const auto run = [&](const std::string& culler)
    {
        EXPECT_TRUE(
            Run("view --headless --size 240x136 --viewpoints " + std::to_string(kViewpoints) + " --culler " + culler))
            << m_text;
        std::vector<std::string> pictures;
        for (int i = 0; i < kViewpoints; ++i)
        {
            char name[32];
            std::snprintf(name, sizeof name, "out/frame%04d.png", i);
            pictures.push_back(test::ReadFile(m_folder.Path(name)));
        }
        return pictures;
    };
    const auto expected = run("none");
    EXPECT_EQ(std::set<std::string>(expected.begin(), expected.end()).size(), expected.size());
    for (const char* culler : {"bruteforce", "tree", "software", "gpu"})
    {
        SCOPED_TRACE(culler);
        const auto different = std::ranges::mismatch(run(culler), expected).in2;
        EXPECT_TRUE(different == expected.end()) << "picture " << different - expected.begin();
        // And it must be of some use.
        const std::string summary = test::ReadFile(m_folder.Path("out/summary.json"));
        EXPECT_NE(summary.find("\"culler\": \"" + std::string(culler) + "\""), std::string::npos);
        EXPECT_TRUE(std::regex_search(summary, std::regex(R"("occluded": ([2-9]\d\d|\d{4}))"))) << summary;
    }
}

// What nobody has asked about yet counts as visible: already the first picture is whole.
TEST_F(Sandbox, TheFirstPictureIsWhole)
{
    std::string expected;
    for (const char* culler : {"none", "tree", "software", "gpu"})
    {
        ASSERT_TRUE(Run(std::string("view --headless --size 240x136 --frames 1 --culler ") + culler)) << m_text;
        const std::string picture = test::ReadFile(m_folder.Path("out/frame0000.png"));
        if (expected.empty())
            expected = picture;
        EXPECT_TRUE(picture == expected) << culler;
    }
}

TEST_F(Sandbox, EditsWithoutADisplay)
{
    ASSERT_TRUE(Run("edit --headless --size 320x180 --commands "
                    "\"goto The Jane; ent.set Editor Name building Renamed; spawn 9 9 90 Spawned; save\""))
        << m_text;
    const std::string scene = test::ReadFile(m_folder.Path("out/manhattan.sdb"));
    EXPECT_EQ(scene.find("building The Jane"), std::string::npos);
    EXPECT_NE(scene.find("building Renamed"), std::string::npos);
    EXPECT_NE(scene.find("building Spawned"), std::string::npos);
    for (const char* picture : {"out/editor.png", "out/console.png"})
        EXPECT_GT(std::filesystem::file_size(m_folder.Path(picture)), 10000U) << picture;
    // Without its windows there is no editor.
    WriteAsset("gui/editor_view.gui", "GWT_WINDOW");
    EXPECT_FALSE(Run("edit --headless --size 320x180")) << m_text;
    EXPECT_NE(m_text.find("editor_view.gui"), std::string::npos) << m_text;
}

TEST_F(Sandbox, SaysInOneLineWhyThereIsNoView)
{
    ASSERT_TRUE(Run("view --headless --size 64x36 --frames 1 --debug boxes,cells,culled,figures")) << m_text;
    const auto fails = [&](const std::string& arguments, const std::string& variable = {})
    {
        m_environment.assign(variable.empty() ? 0 : 1, variable);
        EXPECT_FALSE(Run("view --headless --frames 1 " + arguments)) << arguments << variable;
        const std::size_t line = m_text.find("[ERROR]");
        return line != std::string::npos && m_text.find("[ERROR]", line + 1) == std::string::npos;
    };
    EXPECT_TRUE(fails("--size 0x0"));
    EXPECT_TRUE(fails("--size 20000x20000"));
    EXPECT_TRUE(fails("--debug everything"));
    if (test::kIsUnix)
    {
        EXPECT_TRUE(fails("", "__EGL_VENDOR_LIBRARY_FILENAMES=/nowhere")) << m_text;
        EXPECT_TRUE(fails("", "MESA_GL_VERSION_OVERRIDE=3.3")) << m_text;
    }
    // A culler without its shader sees everything.
    WriteAsset("shaders/occlusionhiz_test.comp", "void main() { nonsense(); }");
    m_environment.clear();
    EXPECT_TRUE(Run("view --headless --frames 2 --size 64x36 --culler gpu")) << m_text;
    EXPECT_NE(m_text.find("occlusionhiz_test.comp:1: "), std::string::npos) << m_text;
    // A material that cannot be drawn with, by its script and then by its shader.
    for (const char* file : {"materials/town.lua", "shaders/town.frag"})
    {
        WriteAsset(file, "void main() { nonsense; }");
        EXPECT_TRUE(fails("")) << file << m_text;
        std::filesystem::remove(m_folder.Path(std::string("assets/") + file));
    }
}
} // namespace
