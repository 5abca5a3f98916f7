#include "tamradeps/udb/udbReadWriteBinary.h"

#include "tamradeps/udb/udbGroup.h"

#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <type_traits>

static_assert(std::endian::native == std::endian::little, "numbers are copied into the stream as they lie in memory");

namespace
{
constexpr char kHeader[] = {'U', 'D', 'B', 1};

enum Encoding : std::uint8_t
{
    kZero,
    kInt8,
    kInt16,
    kInt32,
    kFloat32,
    kFloat64,
    kString,
    kGroup
};

// In a tag: a key length of this or more is written out behind it.
constexpr std::size_t kLongKey = 15;
// In place of a length: the length is in the next four bytes.
constexpr std::uint8_t kLongLength = 255;

// Largest streams written; also what ends the writing of groups that are shared on many levels.
constexpr std::size_t kMaxStreamSize = std::size_t{1} << 31;

template <class T>
T Load(const char* from)
{
    T value;
    std::memcpy(&value, from, sizeof value);
    return value;
}

template <class T>
char* Store(char* to, T value)
{
    std::memcpy(to, &value, sizeof value);
    return to + sizeof value;
}

char* StoreLength(char* to, std::size_t length)
{
    if (length < kLongLength)
        return Store(to, static_cast<std::uint8_t>(length));
    return Store(Store(to, kLongLength), static_cast<std::uint32_t>(length));
}

// For 1 to 16 bytes, which most keys have: cheaper than a call.
char* CopyShort(char* to, const char* from, std::size_t size)
{
    if (size >= 8)
    {
        Store(to, Load<std::uint64_t>(from));
        Store(to + size - 8, Load<std::uint64_t>(from + size - 8));
    }
    else if (size >= 4)
    {
        Store(to, Load<std::uint32_t>(from));
        Store(to + size - 4, Load<std::uint32_t>(from + size - 4));
    }
    else
    {
        to[0] = from[0];
        to[size / 2] = from[size / 2];
        to[size - 1] = from[size - 1];
    }
    return to + size;
}

bool SameBits(double a, double b)
{
    return std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}
} // namespace

class UDBReadWriteBinary::Writer
{
public:
    explicit Writer(bool numberCompression) : m_numberCompression(numberCompression) {}

    // Adds the most bytes that the group's content can take.
    static bool Measure(const UDBGroup& group, int depth, std::size_t& size)
    {
        if (depth > kMaxDepth)
            return false;
        constexpr std::size_t kLengthSize = 5;
        constexpr std::size_t kEntrySize = 1 + 2 + 1 + sizeof(double);
        size += kLengthSize;
        for (const UDBEntry* entry = group.m_first; entry; entry = entry->m_next)
        {
            // The string's length is 0 in entries of other kinds.
            size += kEntrySize + entry->m_keyLength + entry->m_stringLength;
            if (size > kMaxStreamSize)
                return false;
            if (entry->m_kind == UDBEntry::Kind::Group && !Measure(*entry->m_value.group, depth + 1, size))
                return false;
        }
        return true;
    }

    // Writes without looking at the space: `Measure` has seen to it.
    char* WriteContent(char* to, const UDBGroup& group) const
    {
        to = StoreLength(to, group.m_count);
        for (const UDBEntry* entry = group.m_first; entry; entry = entry->m_next)
        {
            switch (entry->m_kind)
            {
            case UDBEntry::Kind::Number: to = WriteNumber(to, *entry); break;
            case UDBEntry::Kind::String:
                to = StoreLength(WriteKey(to, *entry, kString), entry->m_stringLength);
                std::memcpy(to, entry->m_value.string, entry->m_stringLength + std::size_t{1});
                to += entry->m_stringLength + std::size_t{1};
                break;
            case UDBEntry::Kind::Group: to = WriteContent(WriteKey(to, *entry, kGroup), *entry->m_value.group); break;
            }
        }
        return to;
    }

private:
    static char* WriteKey(char* to, const UDBEntry& entry, Encoding encoding)
    {
        const std::size_t length = entry.m_keyLength;
        if (length < kLongKey)
        {
            to = Store(to, static_cast<std::uint8_t>(length << 4 | encoding));
            return CopyShort(to, entry.m_key, length + 1);
        }
        to = Store(to, static_cast<std::uint8_t>(kLongKey << 4 | encoding));
        to = Store(to, entry.m_keyLength);
        std::memcpy(to, entry.m_key, length + 1);
        return to + length + 1;
    }

    char* WriteNumber(char* to, const UDBEntry& entry) const
    {
        const double number = entry.m_value.number;
        if (!m_numberCompression)
            return Store(WriteKey(to, entry, kFloat64), number);
        if (number >= INT32_MIN && number <= INT32_MAX)
        {
            const auto integer = static_cast<std::int32_t>(number);
            // Apart from fractions, -0 is not the integer's number.
            if (SameBits(integer, number))
                return WriteInteger(to, entry, integer);
        }
        // NaN fails the comparison: not every processor keeps its bits in a conversion.
        const auto single = static_cast<float>(number);
        if (static_cast<double>(single) == number)
            return Store(WriteKey(to, entry, kFloat32), single);
        return Store(WriteKey(to, entry, kFloat64), number);
    }

    static char* WriteInteger(char* to, const UDBEntry& entry, std::int32_t integer)
    {
        if (integer == 0)
            return WriteKey(to, entry, kZero);
        if (integer == static_cast<std::int8_t>(integer))
            return Store(WriteKey(to, entry, kInt8), static_cast<std::int8_t>(integer));
        if (integer == static_cast<std::int16_t>(integer))
            return Store(WriteKey(to, entry, kInt16), static_cast<std::int16_t>(integer));
        return Store(WriteKey(to, entry, kInt32), integer);
    }

    bool m_numberCompression;
};

// Keys and strings of the entries it makes point into the text that it is given, which lies in the group's database.
class UDBReadWriteBinary::Reader
{
public:
    Reader(const char* text, std::size_t size) : m_next(text), m_end(text + size) {}

    bool AtEnd() const { return m_next == m_end; }

    bool ReadContent(UDBGroup& group, int depth)
    {
        std::size_t count = 0;
        // The shortest entry has two bytes.
        if (depth > kMaxDepth || !ReadLength(count) || count > Left() / 2)
            return false;
        for (; count > 0; --count)
            if (!ReadEntry(group, depth))
                return false;
        return true;
    }

private:
    std::size_t Left() const { return static_cast<std::size_t>(m_end - m_next); }

    template <class T>
    bool Take(T& value)
    {
        if (Left() < sizeof value)
            return false;
        value = Load<T>(m_next);
        m_next += sizeof value;
        return true;
    }

    bool ReadLength(std::size_t& length)
    {
        std::uint8_t byte = 0;
        if (!Take(byte))
            return false;
        length = byte;
        if (byte != kLongLength)
            return true;
        std::uint32_t word = 0;
        if (!Take(word))
            return false;
        length = word;
        return true;
    }

    // A text and the zero behind it.
    bool ReadText(std::size_t length, const char*& text)
    {
        if (Left() <= length || m_next[length] != '\0')
            return false;
        text = m_next;
        m_next += length + 1;
        return true;
    }

    bool ReadEntry(UDBGroup& group, int depth)
    {
        std::uint8_t tag = 0;
        if (!Take(tag))
            return false;
        std::size_t keyLength = tag >> 4;
        if (keyLength == kLongKey)
        {
            std::uint16_t word = 0;
            if (!Take(word))
                return false;
            keyLength = word;
        }
        const char* key = nullptr;
        return ReadText(keyLength, key) && ReadValue(group, {key, keyLength}, tag & 15, depth);
    }

    bool ReadValue(UDBGroup& group, std::string_view key, int encoding, int depth)
    {
        switch (encoding)
        {
        case kZero: AddEntry(group, key, UDBEntry::Kind::Number).m_value.number = 0.0; return true;
        case kInt8: return ReadNumber<std::int8_t>(group, key);
        case kInt16: return ReadNumber<std::int16_t>(group, key);
        case kInt32: return ReadNumber<std::int32_t>(group, key);
        case kFloat32: return ReadNumber<float>(group, key);
        case kFloat64: return ReadNumber<double>(group, key);
        case kString: return ReadString(group, key);
        case kGroup: return ReadGroup(group, key, depth);
        default: return false;
        }
    }

    template <class T>
    bool ReadNumber(UDBGroup& group, std::string_view key)
    {
        T number;
        if (!Take(number))
            return false;
        // The writer leaves NaN in eight bytes.
        if constexpr (std::is_same_v<T, float>)
            if (std::isnan(number))
                return false;
        AddEntry(group, key, UDBEntry::Kind::Number).m_value.number = number;
        return true;
    }

    bool ReadString(UDBGroup& group, std::string_view key)
    {
        std::size_t length = 0;
        const char* text = nullptr;
        if (!ReadLength(length) || !ReadText(length, text))
            return false;
        UDBEntry& entry = AddEntry(group, key, UDBEntry::Kind::String);
        entry.m_value.string = text;
        entry.m_stringLength = static_cast<std::uint32_t>(length);
        return true;
    }

    bool ReadGroup(UDBGroup& group, std::string_view key, int depth)
    {
        UDBGroup* child = group.m_database->AllocateGroup();
        AddEntry(group, key, UDBEntry::Kind::Group).m_value.group = child;
        return ReadContent(*child, depth + 1);
    }

    static UDBEntry& AddEntry(UDBGroup& group, std::string_view key, UDBEntry::Kind kind)
    {
        void* memory = group.m_database->i_Allocate(sizeof(UDBEntry));
        return *group.i_Append(new (memory) UDBEntry(key.data(), key.size(), kind));
    }

    const char* m_next;
    const char* m_end;
};

bool UDBReadWriteBinary::Write(const UDBGroup& root, std::vector<std::byte>& out) const
{
    std::size_t size = sizeof kHeader;
    if (!Writer::Measure(root, 0, size))
    {
        out.clear();
        return false;
    }
    out.resize(size);
    char* const begin = reinterpret_cast<char*>(out.data());
    std::memcpy(begin, kHeader, sizeof kHeader);
    const char* end = Writer(m_numberCompression).WriteContent(begin + sizeof kHeader, root);
    out.resize(static_cast<std::size_t>(end - begin));
    return true;
}

bool UDBReadWriteBinary::Read(const void* data, std::size_t size, UDBGroup& root) const
{
    root.Clear();
    if (size <= sizeof kHeader || std::memcmp(data, kHeader, sizeof kHeader) != 0)
        return false;
    UDBDatabase& database = root.GetDatabase();
    const UDBDatabase::Mark mark = database.i_GetMark();
    const std::size_t contentSize = size - sizeof kHeader;
    char* content = static_cast<char*>(database.i_Allocate(contentSize));
    std::memcpy(content, static_cast<const char*>(data) + sizeof kHeader, contentSize);

    Reader reader(content, contentSize);
    if (reader.ReadContent(root, 0) && reader.AtEnd())
        return true;
    root.Clear();
    database.i_GoBack(mark);
    return false;
}
