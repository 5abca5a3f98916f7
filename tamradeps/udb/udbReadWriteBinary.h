#pragma once

#include "tamradeps/export.h"

#include <cstddef>
#include <vector>

class UDBGroup;

/// Writes a tree of groups as bytes and reads it back, exactly: order, repeated keys, every byte of keys and strings,
/// and every bit of the numbers, NaN included. Equal trees give equal bytes on every machine.
///
/// The bytes, little-endian: "UDB", a version byte, then the root's content. A group's content is its number of entries
/// and the entries. An entry is a tag, the key with a zero behind it, and the value:
/// - tag: the key's length in the high four bits, or 15 when two bytes behind the tag give it; the value's encoding in
///   the low four: `0` zero, `1` int8, `2` int16, `3` int32, `4` float32, `5` float64, `6` string, `7` group.
/// - string: length, bytes, and a zero. Group: its content.
/// - numbers of entries and lengths of strings: one byte, or 255 and four bytes.
class TAMRADEPS_API UDBReadWriteBinary
{
public:
    /// Levels of groups below the root that can be written and read.
    static constexpr int kMaxDepth = 64;

    /// With number compression the writer takes the shortest encoding that keeps every bit, without it all numbers have
    /// eight bytes. The reader understands both.
    explicit UDBReadWriteBinary(bool numberCompression = true) noexcept : m_numberCompression(numberCompression) {}

    /// Replaces the content of `out`, keeping its capacity. False, with `out` empty, when groups lie deeper than
    /// `kMaxDepth`, as they do where a group contains itself, or when the bytes could exceed 2 GiB.
    bool Write(const UDBGroup& root, std::vector<std::byte>& out) const;

    /// Replaces the entries of `root` by those in the bytes, which may be anything. The bytes are copied into the
    /// root's database and need not outlive the call; `root` stays what it is, a group of that database.
    ///
    /// False, with `root` empty and the database's memory filled as before the call, unless the bytes are one
    /// well-formed tree of this version to the last byte. Logs nothing. Beside the database's first block it takes at
    /// most 100 bytes for each byte of input (of empty groups), typically 5, and none for what the input announces.
    bool Read(const void* data, std::size_t size, UDBGroup& root) const;

private:
    class Writer;
    class Reader;

    bool m_numberCompression;
};
