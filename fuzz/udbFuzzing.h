#pragma once

#include "tamradeps/udb/udbGroup.h"
#include "tamradeps/udb/udbReadWriteAscii.h"
#include "tamradeps/udb/udbReadWriteBinary.h"

#include <bit>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

inline void Check(bool condition)
{
    if (!condition)
        std::abort();
}

/// What both readers state, and the first block.
inline void CheckMemory(const UDBDatabase& database, std::size_t inputSize)
{
    Check(database.GetReservedBytes() <= 4096 + 100 * inputSize);
}

inline void CheckEqual(const UDBGroup& a, const UDBGroup& b)
{
    Check(a.GetEntryCount() == b.GetEntryCount());
    auto other = b.begin();
    for (const UDBEntry& entry : a)
    {
        Check(entry.GetKey() == other->GetKey() && entry.GetKind() == other->GetKind());
        Check(entry.GetKey().data()[entry.GetKey().size()] == '\0');
        Check(std::bit_cast<std::uint64_t>(entry.GetNumber()) == std::bit_cast<std::uint64_t>(other->GetNumber()));
        Check(entry.GetString() == other->GetString());
        if (const UDBGroup* group = entry.GetGroup())
            CheckEqual(*group, *other->GetGroup());
        ++other;
    }
}

/// Looks up every key, which builds the index.
inline void CheckLookUps(const UDBGroup& group)
{
    std::string_view text;
    double number = 0.0;
    for (const UDBEntry& entry : group)
        switch (entry.GetKind())
        {
        case UDBEntry::Kind::Number: Check(group.FindNumber(entry.GetKey(), &number)); break;
        case UDBEntry::Kind::String: Check(group.FindString(entry.GetKey(), &text)); break;
        case UDBEntry::Kind::Group:
            Check(group.GetGroup(entry.GetKey()) != nullptr);
            CheckLookUps(*entry.GetGroup());
            break;
        }
}

inline void CheckRoundTrips(const UDBGroup& root)
{
    CheckLookUps(root);
    UDBDatabase database;
    UDBGroup* copy = database.AllocateGroup();
    std::vector<std::byte> bytes;
    for (const bool compressed : {false, true})
    {
        Check(UDBReadWriteBinary(compressed).Write(root, bytes));
        Check(UDBReadWriteBinary().Read(bytes.data(), bytes.size(), *copy));
        CheckEqual(root, *copy);
    }
    std::string text;
    Check(UDBReadWriteAscii().Write(root, text));
    Check(UDBReadWriteAscii().Read(text, *copy));
    CheckEqual(root, *copy);
}
