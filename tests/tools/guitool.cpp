// guitool as a program of its own, and the .gui files that are shipped, as it finds them.

#include "support/expectations.h"
#include "support/program.h"
#include "tamraengine/renderer/imageDecoder.h"
#include "tests/tools/townFixture.h"

#include <algorithm>
#include <filesystem>
#include <set>

#include <gtest/gtest.h>

namespace
{
constexpr const char* kPanel = "GWT_LIST_V \"list\" 8 8 200 100 LEFT|TOP NONE 0 0 0\n"
                               "\tGWT_LABEL \"Name\" 0 1 -1 \"\" 1 2 30 20 LEFT|TOP NONE 7 0 0\n";

class Guitool : public testing::Test
{
protected:
    std::string Path(const std::string& name) const { return m_folder.Path(name); }

    // In the folder of the test, without a display.
    int Run(const std::string& arguments)
    {
        test::ProgramResult result = test::RunProgram("guitool", arguments, Path(""), {"DISPLAY", "WAYLAND_DISPLAY"});
        m_output = std::move(result.output);
        m_errors = std::move(result.errors);
        return result.exitCode;
    }
    bool HasOneErrorWith(const std::string& part) const
    {
        return std::count(m_errors.begin(), m_errors.end(), '\n') == 1 && m_errors.starts_with("guitool: ") &&
               m_errors.find(part) != std::string::npos;
    }

    test::TemporaryFolder m_folder;
    std::string m_output;
    std::string m_errors;
};

// A picture's bytes as they are in the file, none when it has another size.
std::string ReadPicture(const std::string& path, int width, int height)
{
    const std::string bytes = test::ReadFile(path);
    const auto image = renderer::DecodeImage(std::as_bytes(std::span(bytes)));
    return image && image->width == width && image->height == height ? bytes : "";
}

TEST_F(Guitool, LintSaysWhereTheFaultsAre)
{
    test::WriteFile(Path("good.gui"), kPanel);
    EXPECT_EQ(Run("lint good.gui"), 0);
    EXPECT_EQ(m_output + m_errors, "");
    test::WriteFile(Path("bad.gui"),
                    std::string(kPanel).append("\tGWT_NOTHING \"x\"\n\tGWT_SPACER_V \"\" 0 0 0 0 TOP NONE 1 ? 0\n"));
    EXPECT_EQ(Run("lint good.gui bad.gui"), 1);
    EXPECT_NE(m_output.find("bad.gui:3:2: error: \"GWT_NOTHING\": unknown type\n"), std::string::npos) << m_output;
    EXPECT_NE(m_output.find("bad.gui:4:37: warning: \"?\": "), std::string::npos) << m_output;
    EXPECT_EQ(Run("lint missing.gui good.gui"), 2);
    EXPECT_TRUE(HasOneErrorWith("missing.gui")) << m_errors;
}

TEST_F(Guitool, FormatWritesTheCanonicalFormOnceAndLeavesWhatHasFaults)
{
    const std::string canonical = kPanel;
    const std::string loose = "\xEF\xBB\xBFGWT_LIST_V \"list\" 8 8 200 100 LEFT|TOP NONE 0 0 0\r\n\r\n"
                              "\tGWT_LABEL Name 0 +1 -1 \"\" 01 2.9 30 20 LEFT|TOP NONE 7 0 0 \r\n \n";
    test::WriteFile(Path("a.gui"), loose);
    EXPECT_EQ(Run("format --check a.gui"), 1);
    EXPECT_EQ(test::ReadFile(Path("a.gui")), loose);
    EXPECT_EQ(Run("format a.gui"), 0) << m_output << m_errors;
    EXPECT_EQ(test::ReadFile(Path("a.gui")), canonical);
    EXPECT_EQ(Run("format --check a.gui"), 0);

    const std::string bad = canonical + "\tGWT_BUTTON\n";
    test::WriteFile(Path("b.gui"), bad);
    EXPECT_EQ(Run("format b.gui"), 1);
    EXPECT_EQ(test::ReadFile(Path("b.gui")), bad);
    EXPECT_NE(m_output.find("b.gui:3:12: error: "), std::string::npos) << m_output;
    EXPECT_TRUE(HasOneErrorWith("b.gui has faults and is left as it is")) << m_errors;
    test::WriteFile(Path("c.gui"), "GWT_SPINNER -99999.0 99999.0 -12345.678 1.0 0 \"\" 0 0 9 9 LEFT|TOP NONE 7 0 0\n");
    EXPECT_EQ(Run("format c.gui"), 1) << "each time it would lose a digit of its value, -12345.677734";
    EXPECT_TRUE(HasOneErrorWith("c.gui holds numbers")) << m_errors;
    std::filesystem::create_directory(Path("folder.gui"));
    EXPECT_EQ(Run("format folder.gui"), 2);
}

TEST_F(Guitool, DrawsWithoutADisplay)
{
    test::WriteFile(Path("a.gui"), kPanel);
    test::WriteFile(Path("empty.gui"), "");
    std::set<std::string> pictures = {""};
    for (const std::string arguments : {"a.gui 1.png", "empty.gui 1.png", "a.gui 1.png --style light"})
    {
        EXPECT_EQ(Run("render " + arguments + " --size 320x200"), 0) << m_errors;
        EXPECT_TRUE(pictures.insert(ReadPicture(Path("1.png"), 320, 200)).second) << arguments;
    }
    for (const char* arguments :
         {"", "paint a.gui", "lint", "render a.gui", "render a.gui x.png --size 0x5", "render a.gui x.png --size big",
          "render a.gui x.png --style blue", "render missing.gui x.png", "render a.gui nowhere/x.png"})
    {
        EXPECT_EQ(Run(arguments), 2) << arguments;
        EXPECT_TRUE(HasOneErrorWith("")) << arguments << m_errors;
        EXPECT_EQ(m_output, "");
    }
    EXPECT_EQ(Run("--help"), 0);
    EXPECT_NE(m_output.find("Exit codes"), std::string::npos);
}

TEST_F(Guitool, ShippedFilesAreFreeOfFaultsAndCanonical)
{
    std::string files;
    for (const auto& entry : std::filesystem::directory_iterator(TAMRA_SOURCE_FOLDER "/assets/gui"))
    {
        if (entry.path().extension() == ".gui")
            files.append(1, ' ').append(entry.path().string());
    }
    EXPECT_EQ(std::count(files.begin(), files.end(), ' '), 10);
    EXPECT_EQ(Run("lint" + files), 0) << m_output;
    EXPECT_EQ(Run("format --check" + files), 0) << m_output;
    EXPECT_EQ(m_output + m_errors, "");
}
} // namespace
