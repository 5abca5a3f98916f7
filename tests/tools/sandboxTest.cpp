// The sandbox as a program of its own: the whole way of a town from the extract to the file and back.

#include "support/expectations.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

namespace
{
int RunSandbox(const std::string& arguments, const std::string& output)
{
    return std::system((TAMRA_PROGRAM_FOLDER "/sandbox " + arguments + " > \"" + output + "\" 2>&1").c_str());
}

std::string ReadText(const std::string& path)
{
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

TEST(Sandbox, ImportsOnceAndFindsEverythingAgain)
{
    const test::TemporaryFolder folder;
    const std::string log = folder.Path("log");
    for (const bool isFirst : {true, false})
    {
        const std::string seed = isFirst ? "1" : "77";
        ASSERT_EQ(RunSandbox("--frames 200 --seed " + seed + " --out \"" + folder.Path("out") + "\"", log), 0)
            << ReadText(log);
        const std::string text = ReadText(log);
        EXPECT_EQ(text.find("\nimport ") != std::string::npos, isFirst) << text;
        EXPECT_NE(text.find("with the content that they should have"), std::string::npos) << text;
        EXPECT_GT(std::filesystem::file_size(folder.Path("out/manhattan.png")), 100000U);
    }
}

TEST(Sandbox, SaysWhatIsWrongInOneLine)
{
    const test::TemporaryFolder folder;
    const std::string log = folder.Path("log");
    EXPECT_NE(RunSandbox("--world nowhere --out \"" + folder.Path("out") + "\"", log), 0);
    EXPECT_NE(ReadText(log).find("nowhere"), std::string::npos);
    EXPECT_EQ(ReadText(log).find('\n'), ReadText(log).size() - 1);

    std::filesystem::create_directory(folder.Path("out"));
    std::ofstream(folder.Path("out/manhattan.sdb"))
        << "this is no database, and long enough not to be mistaken for one";
    EXPECT_NE(RunSandbox("--out \"" + folder.Path("out") + "\"", log), 0);
    EXPECT_EQ(ReadText(folder.Path("out/manhattan.sdb")).substr(0, 7), "this is");
}
} // namespace
