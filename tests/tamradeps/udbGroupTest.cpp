#include "support/expectations.h"
#include "support/udbTrees.h"

#include <gtest/gtest.h>

namespace
{
using Kind = UDBEntry::Kind;

const UDBEntry* FindByWalking(const UDBGroup& group, std::string_view key, Kind kind)
{
    for (const UDBEntry& entry : group)
        if (entry.GetKey() == key && entry.GetKind() == kind)
            return &entry;
    return nullptr;
}

TEST(UDBGroup, FindsTextsWithZerosOrAnswersTheDefaultAndReverses)
{
    UDBDatabase database;
    UDBGroup* group = database.AllocateGroup();
    EXPECT_EQ(group->GetGroup("empty"), nullptr);
    group->AddString("a", std::string_view("x\0y", 3));
    group->AddNumber("a", 1.0);
    group->AddNumber("b", 2.0);
    group->AddNewGroup("a");

    // The model below says what is found; here is what stays when nothing is.
    std::string_view text;
    EXPECT_TRUE(group->FindString("a", &text));
    EXPECT_EQ(text, std::string_view("x\0y", 3));
    EXPECT_EQ(text.data()[3], '\0');
    double number = 7.0;
    EXPECT_FALSE(group->FindNumber("c", &number) || group->FindString("b", &text));
    EXPECT_TRUE(number == 7.0 && text.size() == 3);
    EXPECT_STREQ(group->GetString("b", "none"), "none");

    group->ReverseEntries();
    group->AddNumber("c", 0.0);
    std::string order;
    for (const UDBEntry& entry : *group)
        order += entry.GetKey();
    EXPECT_EQ(order, "abaac");
}

// Covers the remembered place, the hash bits of small groups, the table of large ones, and its growth.
TEST(UDBGroup, LookUpsAnswerAsWalkingWouldWhateverTheOrder)
{
    test::Random random(1);
    UDBDatabase database;
    for (int round = 0; round < 200; ++round)
    {
        database.Clear();
        UDBGroup* group = database.AllocateGroup();
        const std::uint64_t keys = 1 + random.Below(round % 2 ? 20 : 300);
        const auto randomKey = [&] { return "a common beginning " + std::to_string(random.Below(keys)); };
        for (int step = 0; step < 600; ++step)
        {
            const std::string key = randomKey();
            switch (random.Below(8))
            {
            case 0: group->AddNumber(key, step); break;
            case 1: group->AddString(key.substr(19), key); break;
            case 2: group->AddNewGroup(key); break;
            case 3:
                if (random.Below(10) == 0)
                    group->ReverseEntries();
                else if (random.Below(60) == 0)
                    group->Clear();
                break;
            default:
                const UDBEntry* number = FindByWalking(*group, key, Kind::Number);
                const UDBEntry* text = FindByWalking(*group, key.substr(19), Kind::String);
                const UDBEntry* child = FindByWalking(*group, key, Kind::Group);
                ASSERT_EQ(group->GetNumber(key, -1.0), number ? number->GetNumber() : -1.0);
                ASSERT_EQ(group->GetString(key.substr(19)), text ? text->GetString().data() : nullptr);
                ASSERT_EQ(group->GetGroup(key), child ? child->GetGroup() : nullptr);
                ASSERT_EQ(group->GetNumber(key, -1.0), number ? number->GetNumber() : -1.0);
            }
        }
    }
}

TEST(UDBGroup, RefusesForeignAndNullGroupsAndKeysTooLong)
{
    UDBDatabase database;
    UDBDatabase other;
    UDBGroup* group = database.AllocateGroup();
    const std::string longest(UDBGroup::kMaxKeyLength, 'k');
    {
        test::ExpectAssertions expected{"tamradeps/udb/udbGroup 2", "tamradeps/udb/udbGroup 2",
                                        "tamradeps/udb/udbGroup 1", "tamradeps/udb/udbGroup 1"};
        group->AddGroup("foreign", other.AllocateGroup());
        group->AddGroup("null", nullptr);
        group->AddNumber(longest + 'k', 1.0);
        EXPECT_NE(group->AddNewGroup(longest + 'k'), nullptr);
    }
    EXPECT_EQ(group->GetEntryCount(), 0U);
    group->AddNumber(longest, 1.0);
    EXPECT_EQ(group->GetNumber(longest), 1.0);
}

TEST(UDBDatabase, ClearKeepsTheBlocksForTreesOfEqualSize)
{
    UDBDatabase database;
    std::size_t reserved = 0;
    for (int round = 0; round < 10; ++round)
    {
        database.Clear();
        UDBGroup* group = database.AllocateGroup();
        // Texts larger than a block come at another place in each round.
        const auto makeText = [round](int i) {
            return std::string((i + round) % 100 == 0 ? 100000U : static_cast<unsigned>(i),
                               static_cast<char>('a' + i % 26));
        };
        for (int i = 0; i < 300; ++i)
            group->AddString(makeText(i).substr(0, 3), makeText(i));
        int i = 0;
        for (const UDBEntry& entry : *group)
            ASSERT_EQ(entry.GetString(), makeText(i++));
        if (round == 0)
            reserved = database.GetReservedBytes();
    }
    EXPECT_LE(database.GetReservedBytes(), 2 * reserved);

    const std::size_t before = database.GetReservedBytes();
    for (int round = 0; round < 3; ++round)
    {
        database.Clear();
        test::Random random(5);
        test::FillRandomly(*database.AllocateGroup(), random, 4);
    }
    EXPECT_EQ(database.GetReservedBytes(), before);
}
} // namespace
