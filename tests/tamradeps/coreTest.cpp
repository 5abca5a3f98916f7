#include "support/random.h"
#include "tamradeps/core/crc64.h"
#include "tamradeps/core/hashFixedString.h"
#include "tamradeps/core/memoryDynamicPoolAllocator.h"
#include "tamradeps/core/refClass.h"
#include "tamradeps/core/refPtr.h"
#include "tamradeps/core/tools.h"
#include "tamradeps/core/variant.h"

#include <cstring>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace
{
struct Node : RefClass
{
    explicit Node(int& deaths, Node* following = nullptr) : next(following), m_deaths(&deaths) {}
    ~Node() override
    {
        ++*m_deaths;
        // As a destructor that hands itself to a listener does.
        RefPtr<Node> self(this);
        RefPtr<Node> again = self;
    }

    RefPtr<Node> next;

private:
    int* m_deaths;
};

TEST(RefPtr, AssigningKeepsWhatIsStillNeeded)
{
    int deaths = 0;
    RefPtr<Node> node = new Node(deaths, new Node(deaths, new Node(deaths)));
    node = node->next;
    EXPECT_EQ(deaths, 1);
    node = node.Get();
    const RefPtr<Node>& alias = node;
    node = alias;
    EXPECT_EQ(deaths, 1);
    EXPECT_EQ(node->GetReferenceCount(), 1);
    node = std::move(node->next);
    EXPECT_EQ(deaths, 2);
    RefPtr<RefClass> base = node;
    EXPECT_EQ(node->GetReferenceCount(), 2);
    node = nullptr;
    EXPECT_EQ(deaths, 2);
    base = nullptr;
    EXPECT_EQ(deaths, 3) << "once, though the destructor takes references";

    node = new Node(deaths);
    const RefPtr<Node> copy = new Node(*node);
    *copy = *node;
    EXPECT_EQ(copy->GetReferenceCount(), 1) << "a copy starts without references";
}

TEST(Variant, AnotherKindOrClassGivesNothing)
{
    int object = 0;
    const std::string tag = "CEntity";
    using Kind = variant::Kind;
    for (const variant& v : {variant(), variant(-7), variant(0.5F), variant(0.25), variant(true), variant("txt"),
                             variant(&object, "CEntity")})
    {
        const Kind kind = v.GetKind();
        EXPECT_EQ(v.IsEmpty(), kind == Kind::Empty);
        EXPECT_EQ(v.GetInt(), kind == Kind::Int ? -7 : 0);
        EXPECT_EQ(v.GetFloat(), kind == Kind::Float ? 0.5F : 0.0F);
        EXPECT_EQ(v.GetDouble(), kind == Kind::Double ? 0.25 : 0.0);
        EXPECT_EQ(v.GetBool(), kind == Kind::Bool);
        EXPECT_STREQ(v.GetText(), kind == Kind::Text ? "txt" : "");
        // The same class name at another address, as in another library.
        EXPECT_EQ(v.GetObjectPointer<int>(tag.c_str()), kind == Kind::Object ? &object : nullptr);
        EXPECT_EQ(v.GetObjectPointer<int>("CEntit"), nullptr);
        EXPECT_EQ(v.GetObjectPointer<int>(nullptr), nullptr);
    }
    EXPECT_STREQ(variant(static_cast<const char*>(nullptr)).GetText(), "");
    EXPECT_EQ(variant(&object, nullptr).GetObjectPointer<int>("CEntity"), nullptr);
}

TEST(Variant, OwnsItsText)
{
    char source[] = "before";
    variant text(source);
    variant copy = text;
    std::strcpy(source, "after");
    text = variant(1);
    copy = *&copy;
    const variant moved = std::move(copy);
    EXPECT_TRUE(copy.IsEmpty());
    EXPECT_STREQ(moved.GetText(), "before");
}

TEST(Pool, GivesBackTheLatestAndDoublesItsBlocks)
{
    CMemoryDynamicPoolAllocator pool(24, 4);
    char* elements[28];
    for (char*& element : elements)
        element = static_cast<char*>(pool.Allocate());
    for (int i = 1; i < 28; ++i)
        EXPECT_TRUE(i == 4 || i == 12 || elements[i] - elements[i - 1] == 24) << i;
    pool.Deallocate(elements[3]);
    pool.Deallocate(nullptr);
    pool.Deallocate(elements[20]);
    EXPECT_EQ(pool.GetUsedCount(), 26U);
    EXPECT_EQ(pool.Allocate(), elements[20]);
    EXPECT_EQ(pool.Allocate(), elements[3]);
    EXPECT_EQ(pool.GetUsedCount(), 28U);
    EXPECT_EQ(pool.GetCapacity(), 28U);
}

TEST(Pool, ElementsAreAlignedAndApart)
{
    for (const std::size_t size : {0, 1, 7, 8, 12, 16, 20, 33, 48, 160})
    {
        SCOPED_TRACE(size);
        CMemoryDynamicPoolAllocator pool(size, 0);
        test::Random random(size);
        std::vector<unsigned char*> live;
        for (int step = 0; step < 500; ++step)
        {
            if (!live.empty() && random.Below(3) == 0)
            {
                const std::size_t i = random.Below(live.size());
                for (std::size_t k = 0; k < size; ++k)
                    ASSERT_EQ(live[i][k], static_cast<unsigned char>(reinterpret_cast<std::uintptr_t>(live[i]) >> 3));
                pool.Deallocate(live[i]);
                live.erase(live.begin() + static_cast<std::ptrdiff_t>(i));
                continue;
            }
            auto* element = static_cast<unsigned char*>(pool.Allocate());
            const auto address = reinterpret_cast<std::uintptr_t>(element);
            ASSERT_EQ(address % (size > 0 && size % 16 == 0 ? 16 : 8), 0U);
            std::memset(element, static_cast<unsigned char>(address >> 3), size);
            live.push_back(element);
        }
        EXPECT_EQ(pool.GetUsedCount(), live.size());
    }
}

TEST(CRC64, MatchesTheCheckValueAndChains)
{
    const std::string text = "123456789";
    EXPECT_EQ(HashCRC64Data(text.data(), text.size()), 0x995DC9BBDF1939FAU);
    EXPECT_EQ(HashCRC64Data(nullptr, 0), 0U);
    for (std::size_t cut = 0; cut <= text.size(); ++cut)
    {
        const std::uint64_t first = HashCRC64Data(text.data(), cut);
        EXPECT_EQ(HashCRC64Data(text.data() + cut, text.size() - cut, ~first), 0x995DC9BBDF1939FAU) << cut;
    }
}

TEST(Tools, Texts)
{
    EXPECT_EQ(Tools_StringToUppercase("az{`\xC3\xA4 Z9"), "AZ{`\xC3\xA4 Z9");
    EXPECT_EQ(Tools_StringToLowercase("AZ[@\xC3\x84 z9"), "az[@\xC3\x84 z9");
    EXPECT_EQ(Tools_StringTrim(" \t a b\r\n"), "a b");
    EXPECT_EQ(Tools_StringTrim(" \t"), "");
    using Pieces = std::vector<std::string_view>;
    EXPECT_EQ(Tools_StringSplit("", ','), Pieces{""});
    EXPECT_EQ(Tools_StringSplit(",a,,b,", ','), (Pieces{"", "a", "", "b", ""}));
    EXPECT_EQ(Tools_FileExtension3("folder.x/town.sdb"), "SDB");
    EXPECT_EQ(Tools_FileExtension3("a") + Tools_FileExtension3(""), "A");
}

// Against the definition: the texts that some code point encodes to.
TEST(Tools, ValidUtf8IsWhatSomeCodePointEncodesTo)
{
    std::set<std::string> valid;
    for (std::uint32_t code = 0; code < 0x110000; code += code % 0x400 < 2 || code % 0x400 > 0x3FD ? 1 : 0x1FB)
    {
        if (code >= 0xD800 && code < 0xE000)
            continue;
        const auto tail = [&](unsigned shift) { return static_cast<char>(0x80U | (code >> shift & 0x3FU)); };
        if (code < 0x80)
            valid.insert({static_cast<char>(code)});
        else if (code < 0x800)
            valid.insert({static_cast<char>(0xC0U | code >> 6), tail(0)});
        else if (code < 0x10000)
            valid.insert({static_cast<char>(0xE0U | code >> 12), tail(6), tail(0)});
        else
            valid.insert({static_cast<char>(0xF0U | code >> 18), tail(12), tail(6), tail(0)});
    }
    for (const std::string& text : valid)
    {
        EXPECT_TRUE(Tools_IsValidUtf8("a" + text + "b"));
        EXPECT_EQ(Tools_IsValidUtf8(text.substr(0, text.size() - 1)), text.size() == 1);
    }
    for (const char* bad : {"\x80", "\xC0\x80", "\xC1\xBF", "\xE0\x9F\xBF", "\xED\xA0\x80", "\xED\xBF\xBF",
                            "\xF0\x8F\xBF\xBF", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xC3(", "\xE2\x82("})
        EXPECT_FALSE(Tools_IsValidUtf8(bad)) << testing::PrintToString(bad);
}

TEST(HashFixedString, ComparesTextsAndCutsLongOnes)
{
    EXPECT_EQ(CHashFixedString("a").GetHash(), 0xE40C292CU) << "the published FNV-1a value";
    EXPECT_EQ(CHashFixedString("name"), CHashFixedString(std::string("name").c_str()));
    EXPECT_FALSE(CHashFixedString("name") == CHashFixedString("Name"));
    EXPECT_EQ(CHashFixedString(static_cast<const char*>(nullptr)), CHashFixedString());
    const std::string text(CHashFixedString::kMaxLength + 5, 'x');
    const CHashFixedString cut(text);
    EXPECT_EQ(cut.GetView(), text.substr(0, CHashFixedString::kMaxLength));
    EXPECT_EQ(std::strlen(cut.GetText()), cut.GetLength());
    EXPECT_EQ(cut, CHashFixedString(std::string_view(text).substr(1)));
}
} // namespace
