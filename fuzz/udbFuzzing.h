#pragma once

#include "fuzz/check.h"
#include "tamradeps/udb/udbGroup.h"
#include "tamradeps/udb/udbReadWriteAscii.h"
#include "tamradeps/udb/udbReadWriteBinary.h"
#include "tests/support/udbTrees.h"

#include <cstdint>
#include <string>
#include <vector>

/// What both readers state, and the first block.
inline void CheckMemory(const UDBDatabase& database, std::size_t inputSize)
{
    Check(database.GetReservedBytes() <= 4096 + 100 * inputSize);
}

/// Keys end with a zero and are found, which builds the index.
inline void CheckLookUps(const UDBGroup& group)
{
    std::string_view text;
    double number = 0.0;
    for (const UDBEntry& entry : group)
    {
        Check(entry.GetKey().data()[entry.GetKey().size()] == '\0');
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
        Check(test::SameTree(root, *copy));
    }
    std::string text;
    Check(UDBReadWriteAscii().Write(root, text));
    Check(UDBReadWriteAscii().Read(text, *copy));
    Check(test::SameTree(root, *copy));
}
