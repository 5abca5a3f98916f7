#include "support/udbTrees.h"
#include "tamradeps/udb/udbReadWriteAscii.h"
#include "tamradeps/udb/udbReadWriteBinary.h"

#include <cstring>
#include <functional>
#include <optional>
#include <tuple>

#include <gtest/gtest.h>

namespace
{
std::optional<std::string> WriteBinary(const UDBGroup& root, bool compressed)
{
    std::vector<std::byte> bytes(3);
    if (!UDBReadWriteBinary(compressed).Write(root, bytes))
    {
        EXPECT_TRUE(bytes.empty());
        return std::nullopt;
    }
    return std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size());
}

// From memory of just this size, so that AddressSanitizer sees a read beyond it.
bool ReadBinary(std::string_view bytes, UDBGroup& root)
{
    const std::vector<char> exact(bytes.begin(), bytes.end());
    return UDBReadWriteBinary().Read(exact.data(), exact.size(), root);
}

std::optional<std::string> WriteAscii(const UDBGroup& root)
{
    std::string text = "old";
    if (UDBReadWriteAscii().Write(root, text))
        return text;
    EXPECT_TRUE(text.empty());
    return std::nullopt;
}

bool ReadAscii(std::string_view text, UDBGroup& root)
{
    const std::vector<char> exact(text.begin(), text.end());
    return UDBReadWriteAscii().Read({exact.data(), exact.size()}, root);
}

struct Format
{
    const char* name;
    std::function<std::optional<std::string>(const UDBGroup&)> write;
    std::function<bool(std::string_view, UDBGroup&)> read;

    // A name instead of bytes in the list of tests.
    friend void PrintTo(const Format& format, std::ostream* out) { *out << format.name; }
};

class UDBFormat : public testing::TestWithParam<Format>
{
protected:
    UDBDatabase m_database;
    UDBGroup* m_root = m_database.AllocateGroup();
};

INSTANTIATE_TEST_SUITE_P(
    All, UDBFormat,
    testing::Values(Format{"compressed", [](const UDBGroup& g) { return WriteBinary(g, true); }, ReadBinary},
                    Format{"plain", [](const UDBGroup& g) { return WriteBinary(g, false); }, ReadBinary},
                    Format{"ascii", WriteAscii, ReadAscii}),
    [](const auto& test) { return test.param.name; });

TEST_P(UDBFormat, RandomTreesComeBackEqual)
{
    UDBDatabase database;
    for (std::uint64_t seed = 0; seed < 300; ++seed)
    {
        m_database.Clear();
        database.Clear();
        test::Random random(seed);
        UDBGroup* tree = m_database.AllocateGroup();
        test::FillRandomly(*tree, random, 4);
        UDBGroup* copy = database.AllocateGroup();
        copy->AddNumber("goes away", 1.0);

        const std::optional<std::string> bytes = GetParam().write(*tree);
        ASSERT_TRUE(bytes && GetParam().read(*bytes, *copy)) << seed;
        ASSERT_TRUE(test::SameTree(*tree, *copy)) << seed;
        ASSERT_EQ(GetParam().write(*copy), bytes) << seed;
    }
}

TEST_P(UDBFormat, NestsToTheLimitAndNoDeeper)
{
    UDBGroup* deepest = m_root;
    for (int i = 0; i < UDBReadWriteBinary::kMaxDepth; ++i)
        deepest = deepest->AddNewGroup("g");
    UDBGroup* copy = m_database.AllocateGroup();
    const std::optional<std::string> bytes = GetParam().write(*m_root);
    ASSERT_TRUE(bytes && GetParam().read(*bytes, *copy));
    EXPECT_TRUE(test::SameTree(*m_root, *copy));

    UDBGroup* tooDeep = deepest->AddNewGroup("g");
    EXPECT_FALSE(GetParam().write(*m_root));
    tooDeep->AddGroup("cycle", m_root);
    EXPECT_FALSE(GetParam().write(*m_root));
    deepest->Clear();
    EXPECT_EQ(GetParam().write(*m_root), bytes);
}

// Whatever is done to a good stream: it is refused, leaving nothing behind, or it is another good stream.
TEST_P(UDBFormat, SurvivesEveryCutAndEveryFlippedBit)
{
    m_root->AddString("a key of some length", "text");
    UDBGroup* component = m_root->AddNewGroup("component");
    for (const double number : {0.0, 1.0, 300.0, 70000.0, 0.5, 0.1})
        component->AddNumber("m11", number);
    component->AddNewGroup("")->AddString("\x01\"", "\xFF");
    m_root->AddNumber("last", -1.0);
    const std::string good = *GetParam().write(*m_root);

    UDBDatabase database;
    int refused = 0;
    const auto readDamaged = [&](std::string_view bytes)
    {
        database.Clear();
        UDBGroup* root = database.AllocateGroup();
        UDBGroup* again = database.AllocateGroup();
        if (!GetParam().read(bytes, *root))
        {
            ++refused;
            EXPECT_EQ(root->GetEntryCount(), 0U);
            return false;
        }
        const std::optional<std::string> rewritten = GetParam().write(*root);
        EXPECT_TRUE(rewritten && GetParam().read(*rewritten, *again) && test::SameTree(*root, *again));
        return true;
    };
    // A text may also end at a line end outside of groups.
    const bool isText = good.starts_with("udb");
    for (std::size_t length = 0; length < good.size(); ++length)
        EXPECT_TRUE(!readDamaged(good.substr(0, length)) || isText) << length;
    for (std::size_t bit = 0; bit < good.size() * 8; ++bit)
    {
        std::string damaged = good;
        damaged[bit / 8] = static_cast<char>(damaged[bit / 8] ^ 1 << bit % 8);
        readDamaged(damaged);
    }
    EXPECT_GT(refused, 100);
    EXPECT_TRUE(readDamaged(good));
    EXPECT_FALSE(readDamaged(good + "}"));
}

TEST_P(UDBFormat, FailedReadGivesItsMemoryBack)
{
    UDBGroup* bystander = m_database.AllocateGroup();
    bystander->AddString("text", "stays");
    m_root->AddString("s", std::string(100000, 's'));
    std::string bytes = *GetParam().write(*m_root);
    bytes.back() = '?';
    std::size_t reserved = 0;
    for (int i = 0; i < 10; ++i)
    {
        ASSERT_FALSE(GetParam().read(bytes, *m_root));
        if (i == 0)
            reserved = m_database.GetReservedBytes();
    }
    EXPECT_EQ(m_database.GetReservedBytes(), reserved);
    m_root->AddString("more", "text");
    EXPECT_STREQ(bystander->GetString("text"), "stays");
}

std::string Repeated(std::string_view text, int count)
{
    std::string result;
    for (; count > 0; --count)
        result += text;
    return result;
}

TEST(UDBHostileBytes, TakeNoMoreMemoryThanStated)
{
    const std::string header("UDB\1", 4);
    const std::string many("\xFF\xFF\xFF\xFF\xFF", 5);
    const std::string emptyGroup("\7\0\0", 3);
    const std::tuple<const char*, std::string, bool> cases[]{
        {"nothing", "", false},
        {"header only", header, false},
        {"other version", std::string("UDB\2\0", 5), false},
        {"four billion entries", header + many, false},
        {"four billion entries in a group", header + '\1' + std::string("\7\0", 2) + many + emptyGroup, false},
        {"four billion bytes of string", header + '\1' + std::string("\6\0", 2) + many + "text", false},
        {"unknown encoding", header + std::string("\1\10\0", 3), false},
        {"NaN of four bytes", header + std::string("\1\4\0\0\0\xC0\x7F", 7), false},
        {"one entry too few", header + std::string("\2\0\0", 3), false},
        {"trailing byte", header + std::string("\1\0\0\0", 4), false},
        {"string without its zero", header + std::string("\1\6\0\1xx", 6), false},
        {"nested 10,000 deep", header + Repeated(std::string_view("\1\7\0", 3), 10000) + '\0', false},
        {"nested 10,000 deep in text", "udb 1\n" + Repeated("a {\n", 10000) + Repeated("}\n", 10000), false},
        {"60,000 empty groups", header + std::string("\xFF\x60\xEA\0\0", 5) + Repeated(emptyGroup, 60000), true},
        {"60,000 empty groups in text", "udb 1\n" + Repeated("a {\n}\n", 60000), true},
    };
    for (const auto& [name, bytes, good] : cases)
    {
        UDBDatabase database;
        UDBGroup* root = database.AllocateGroup();
        EXPECT_EQ(bytes.starts_with("udb") ? ReadAscii(bytes, *root) : ReadBinary(bytes, *root), good) << name;
        EXPECT_LE(database.GetReservedBytes(), 4096 + 100 * bytes.size()) << name;
    }
}

TEST(UDBReadWriteBinary, RefusesToUnfoldSharedGroupsForEver)
{
    UDBDatabase database;
    UDBGroup* group = database.AllocateGroup();
    for (int i = 0; i < 50; ++i)
    {
        UDBGroup* parent = database.AllocateGroup();
        parent->AddGroup("left", group);
        parent->AddGroup("right", group);
        group = parent;
    }
    EXPECT_FALSE(WriteBinary(*group, true));
}

UDBGroup* SmallTree(UDBDatabase& database)
{
    UDBGroup* root = database.AllocateGroup();
    root->AddString("name", "Old town");
    UDBGroup* component = root->AddNewGroup("component");
    component->AddNumber("m11", 1.0);
    component->AddNumber("m12", -0.0);
    component->AddNumber("quite a long key", 1000.0);
    root->AddNumber("x y", 0.1);
    return root;
}

// A change here is a change of the files that players have: it needs a new version in the header.
TEST(UDBReadWriteBinary, GoldenBytes)
{
    UDBDatabase database;
    constexpr char kBytes[] = "UDB\1\3"
                              "\x46name\0\x08Old town\0"
                              "\x97"
                              "component\0\3"
                              "\x31m11\0\1"
                              "\x34m12\0\0\0\0\x80"
                              "\xF2\x10\0quite a long key\0\xE8\3"
                              "\x35x y\0\x9A\x99\x99\x99\x99\x99\xB9\x3F";
    const std::string expected(kBytes, sizeof kBytes - 1);
    EXPECT_EQ(WriteBinary(*SmallTree(database), true), expected);
    EXPECT_EQ(WriteBinary(*SmallTree(database), false)->size(), expected.size() + 7 + 4 + 6);
}

TEST(UDBReadWriteAscii, GoldenText)
{
    UDBDatabase database;
    EXPECT_EQ(WriteAscii(*SmallTree(database)), "udb 1\n"
                                                "name \"Old town\"\n"
                                                "component {\n"
                                                "    m11 1\n"
                                                "    m12 -0\n"
                                                "    \"quite a long key\" 1000\n"
                                                "}\n"
                                                "\"x y\" 0.1\n");
}

TEST(UDBReadWriteAscii, TellsWhereTheTextIsWrong)
{
    const std::pair<const char*, const char*> cases[]{
        {"a 1", "line 1: the text does not begin with \"udb 1\""},
        {"udb 1\n\na", "line 3: expected a blank and a value behind the key"},
        {"udb 1\n= 1", "line 2: expected a key"},
        {"udb 1\na 1 2", "line 2: expected a number, a quoted text, or '{'"},
        {"udb 1\na nan", "line 2: expected a number, a quoted text, or '{'"},
        {"udb 1\na nan:0", "line 2: the bits behind \"nan:\" are not those of a NaN"},
        {"udb 1\na 1e999", "line 2: the number is too large or too small"},
        {"udb 1\na \"b", "line 2: a quoted text does not end on its line"},
        {"udb 1\na \"\\q\"", "line 2: unknown escape in a quoted text"},
        {"udb 1\na \"\\x1\"", "line 2: unknown escape in a quoted text"},
        {"udb 1\na \"b\"c", "line 2: something follows the value"},
        {"udb 1\na {\nb 1\n", "line 3: the text ends inside a group"},
        {"udb 1\n}", "line 2: '}' without a group to close"},
    };
    UDBDatabase database;
    UDBGroup* root = database.AllocateGroup();
    for (const auto& [text, expected] : cases)
    {
        std::string error;
        EXPECT_FALSE(UDBReadWriteAscii().Read(text, *root, &error));
        EXPECT_EQ(error, expected) << text;
    }
    EXPECT_TRUE(UDBReadWriteAscii().Read("udb 1\r\n\t\"a\"\t1e3 \r\n\n  b\t{\r\n}", *root));
    EXPECT_EQ(root->GetNumber("a"), 1000.0);
    EXPECT_NE(root->GetGroup("b"), nullptr);
}
} // namespace
