// scenetool as a program of its own: what it prints, and what its exit code tells a script.

#include "support/expectations.h"
#include "support/program.h"
#include "tamradeps/sqlite/database.h"
#include "tests/tools/townFixture.h"

#include <algorithm>
#include <filesystem>

#include <gtest/gtest.h>

namespace
{
struct Result : test::ProgramResult
{
    bool Prints(const std::string& text) const { return output.find(text) != std::string::npos; }
    auto CountLines() const { return std::ranges::count(output, '\n'); }
};

class Scenetool : public testing::Test
{
protected:
    std::string Path(const std::string& name) const { return m_folder.Path(name); }

    // In the folder of the test.
    Result Run(const std::string& arguments) const { return {test::RunProgram("scenetool", arguments, Path(""))}; }

    void ExpectBadInput(const std::string& arguments, const std::string& reason) const
    {
        SCOPED_TRACE(arguments);
        const Result result = Run(arguments);
        EXPECT_EQ(result.exitCode, 2);
        EXPECT_EQ(result.output, "");
        EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1) << result.errors;
        EXPECT_TRUE(result.errors.starts_with("scenetool: ")) << result.errors;
        EXPECT_NE(result.errors.find(reason), std::string::npos) << result.errors;
    }

    // Five houses in a row, saved as a database.
    void SaveHouses(const std::string& name) const { ASSERT_TRUE(test::WriteStreet(Path(name))); }

    void Execute(const std::string& name, const std::string& sql) const
    {
        sqlite::database database;
        ASSERT_TRUE(database.open(Path(name)));
        ASSERT_TRUE(database.execute(sql.c_str()));
    }

    // Replaces a text in the data of a row by one of the same length.
    void Replace(const std::string& name, int row, const std::string& from, const std::string& to) const
    {
        Execute(name, "UPDATE entities SET componentData = CAST(replace(CAST(componentData AS TEXT), '" + from +
                          "', '" + to + "') AS BLOB) WHERE id = " + std::to_string(row));
    }

private:
    test::TemporaryFolder m_folder;
};
} // namespace

TEST_F(Scenetool, TownSurvivesImportAndConversion)
{
    const Result import = Run("import-osm " + test::GetExtract("manhattan") + " town.sdb");
    ASSERT_EQ(import.exitCode, 0) << import.errors;
    EXPECT_EQ(import.errors, "");
    EXPECT_TRUE(import.Prints("1567 buildings"));
    EXPECT_TRUE(Run("check town.sdb").Prints(" 0 problems"));
    for (const char* conversion : {"town.sdb town.mfs", "town.mfs again.SDB"})
    {
        EXPECT_EQ(Run(std::string("convert ") + conversion).exitCode, 0);
        const Result diff = Run(std::string("diff ") + conversion);
        EXPECT_TRUE(diff.exitCode == 0 && diff.Prints("in both: 24")) << diff.output;
    }
    const Result info = Run("info town.mfs");
    EXPECT_TRUE(info.Prints("mfs") && info.Prints("ComponentTransformDirect")) << info.output;
    EXPECT_EQ(Run("map town.sdb town.png --width 300").exitCode, 0);
    EXPECT_GT(std::filesystem::file_size(Path("town.png")), 10000U);
}

TEST_F(Scenetool, ListAndShowPickEntities)
{
    SaveHouses("houses.sdb");
    const Result all = Run("list houses.sdb");
    EXPECT_TRUE(all.output.starts_with("1\t0.00 0.00 15.00\tbuilding House 0\tComponentTransformDirect,"));
    EXPECT_EQ(all.CountLines(), 5);
    // The bounds belong to the box.
    const Result box = Run("list houses.sdb --box -5 0 0 50 2 15");
    EXPECT_TRUE(box.Prints("House 0") && box.Prints("House 1") && !box.Prints("Caf")) << box.output;
    EXPECT_EQ(Run("list houses.sdb --limit 1").CountLines(), 1);
    EXPECT_TRUE(Run("show houses.sdb 2").Prints("\"Editor Name\" \"building House 1\""));
    ExpectBadInput("show houses.sdb 6", "no entity 6");
}

TEST_F(Scenetool, DiffFindsTheChangedEntityOnly)
{
    SaveHouses("a.sdb");
    SaveHouses("b.sdb");
    Replace("b.sdb", 2, "House 1", "Inn No1");
    const Result diff = Run("diff a.sdb b.sdb");
    EXPECT_EQ(diff.exitCode, 1);
    EXPECT_TRUE(diff.Prints("in both: 4\n")) << diff.output;
    EXPECT_TRUE(diff.Prints("House 1") && diff.Prints("Inn No1") && !diff.Prints("House 3")) << diff.output;

    // An entity more of the same kind is a difference too.
    Execute("a.sdb",
            "INSERT INTO entities SELECT NULL, sceneID, pos_x, pos_y, pos_z, componentData FROM entities "
            "WHERE id = 1; UPDATE entities SET componentData = (SELECT componentData FROM entities WHERE id = 1) "
            "WHERE id = 2");
    EXPECT_TRUE(Run("diff a.sdb b.sdb").Prints("a.sdb: 2\n"));
    EXPECT_EQ(Run("diff a.sdb a.sdb").exitCode, 0);
}

TEST_F(Scenetool, CheckNamesEachProblemAndNothingIsConvertedThen)
{
    SaveHouses("bad.sdb");
    // Data that ends too early, and a row that says another place.
    Execute("bad.sdb", "UPDATE entities SET componentData = substr(componentData, 1, 60) WHERE id = 1;"
                       "UPDATE entities SET pos_y = 7 WHERE id = 3");
    const Result check = Run("check bad.sdb");
    EXPECT_EQ(check.exitCode, 1);
    EXPECT_TRUE(check.Prints("entity 1: its data cannot be read\n")) << check.output;
    EXPECT_TRUE(check.Prints("entity 3: stored at (100, 7, 15), but its transform is at (100, 0, 15)\n"));
    EXPECT_TRUE(check.Prints("5 entities, 2 problems\n"));
    EXPECT_TRUE(Run("list bad.sdb").Prints("(unreadable)"));
    EXPECT_EQ(Run("show bad.sdb 1").exitCode, 1);
    ExpectBadInput("convert bad.sdb out.mfs", "has 2 problems");
    EXPECT_FALSE(std::filesystem::exists(Path("out.mfs")));
}

TEST_F(Scenetool, ComponentsOfAGameAreKeptAsTheyAre)
{
    SaveHouses("game.sdb");
    Replace("game.sdb", 2, "ComponentEditorData", "ComponentGamePlayer");
    const Result check = Run("check game.sdb");
    EXPECT_TRUE(check.exitCode == 0 && check.Prints("note: 1 of type \"ComponentGamePlayer\"")) << check.output;
    for (const char* command : {"convert game.sdb game.mfs", "convert game.mfs back.sdb", "convert back.sdb back.mfs",
                                "diff game.sdb back.sdb"})
        EXPECT_EQ(Run(command).exitCode, 0) << command;
    EXPECT_EQ(Run("list game.sdb").output, Run("list back.sdb").output);
    EXPECT_EQ(test::ReadFile(Path("game.mfs")), test::ReadFile(Path("back.mfs"))) << "to the byte, in the old order";

    // A transform of the game's may keep its place in a way of its own, and rows need it.
    Replace("game.sdb", 3, "ComponentTransformDirect", "ComponentTransformByRail");
    EXPECT_EQ(Run("convert game.sdb rail.mfs").exitCode, 0);
    ExpectBadInput("convert rail.mfs rail.sdb", "entity 3 of");
    EXPECT_FALSE(std::filesystem::exists(Path("rail.sdb")) || std::filesystem::exists(Path("rail.sdb.partial.sdb")));
}

TEST_F(Scenetool, FilesAreReplacedOnlyByForceAndOnlyBySuccess)
{
    SaveHouses("houses.sdb");
    const std::string before = test::ReadFile(Path("houses.sdb"));
    test::WriteFile(Path("cut.osm.pbf"), test::ReadFile(test::GetExtract("manhattan")).substr(0, 90000));
    ExpectBadInput("import-osm " + test::GetExtract("manhattan") + " houses.sdb", "exists already");
    ExpectBadInput("import-osm --force cut.osm.pbf houses.sdb", "cannot be imported");
    ExpectBadInput("convert --force houses.sdb houses.sdb", "is the file to be converted");
    EXPECT_EQ(test::ReadFile(Path("houses.sdb")), before);
    EXPECT_EQ(Run("import-osm --force " + test::GetExtract("manhattan") + " houses.sdb").exitCode, 0);
    EXPECT_EQ(Run("check houses.sdb").exitCode, 0);
    EXPECT_FALSE(Run("list houses.sdb").Prints("House 0"));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(Path("")), {}), 2) << "no scratch file stays";
}

TEST_F(Scenetool, BadInputIsOneLine)
{
    SaveHouses("houses.sdb");
    ASSERT_EQ(Run("convert houses.sdb cut.mfs").exitCode, 0);
    std::filesystem::resize_file(Path("cut.mfs"), std::filesystem::file_size(Path("cut.mfs")) - 1);
    test::WriteFile(Path("text.sdb"), "this is no database, whatever its name says\n");
    test::WriteFile(Path("text.mfs"), "nor this");
    test::WriteFile(Path("empty.sdb"), "");
    std::filesystem::create_directory(Path("folder.sdb"));
    const std::pair<const char*, const char*> files[] = {{"missing.sdb", "does not exist"},
                                                         {"folder.sdb", "is not a file"},
                                                         {"text.sdb", "not a database"},
                                                         {"text.mfs", "is not a scene file"},
                                                         {"cut.mfs", "is damaged"},
                                                         {"empty.sdb", "without a table of entities"},
                                                         {"x.txt", "neither in .sdb nor in .mfs"}};
    for (const auto& [file, reason] : files)
    {
        for (const char* command : {"info ", "list ", "check ", "diff houses.sdb "})
            ExpectBadInput(std::string(command) + file, reason);
    }
    ExpectBadInput("show missing.sdb 1", "does not exist");
    ExpectBadInput("convert houses.sdb houses.txt", "neither in .sdb nor in .mfs");
    ExpectBadInput("convert houses.sdb nowhere/x.sdb", "no such folder");
    ExpectBadInput("convert --force houses.sdb folder.sdb", "is not a file");
    ExpectBadInput("import-osm text.sdb new.sdb", "cannot be imported");
    ExpectBadInput("map houses.sdb nowhere/x.png", "nowhere");
}

TEST_F(Scenetool, UsageErrorsAndHelp)
{
    ExpectBadInput("", "subcommand");
    ExpectBadInput("list a.sdb --box 1 2 3", "--box");
    const Result help = Run("--help");
    EXPECT_TRUE(help.exitCode == 0 && help.Prints("import-osm") && help.Prints("Exit codes")) << help.output;
}
