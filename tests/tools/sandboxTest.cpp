// The sandbox as a program of its own: the whole way of a town from the extract to the file and back.

#include "support/expectations.h"
#include "tests/tools/townFixture.h"

#include <cstdlib>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>

namespace
{
class Sandbox : public testing::Test
{
protected:
    // Whether it ended well.
    bool Run(const std::string& arguments)
    {
        const std::string log = m_folder.Path("log");
        const int status = std::system(
            (TAMRA_PROGRAM_FOLDER "/sandbox " + arguments + " --out " + m_folder.Path("out") + " >" + log + " 2>&1")
                .c_str());
        m_text = test::ReadFile(log);
        return status == 0;
    }

    test::TemporaryFolder m_folder;
    std::string m_text;
};

TEST_F(Sandbox, ImportsOnceAndFindsEverythingAgain)
{
    for (const bool isFirst : {true, false})
    {
        ASSERT_TRUE(Run(isFirst ? "--frames 200 --seed 1" : "--frames 200 --seed 77")) << m_text;
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
} // namespace
