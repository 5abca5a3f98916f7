#pragma once

#include "tamradeps/export.h"

#include <string>
#include <string_view>

class UDBGroup;

/// Writes a tree of groups as text that people can read, compare and change, and reads it back, exactly. Equal trees
/// give equal texts.
///
///     udb 1
///     name "Old town"
///     radius 12.5
///     component {
///         type "transform"
///         "key with \"quotes\"" -0
///     }
///
/// One entry a line: key and value between blanks. Keys made of letters, digits, '_', '-' and '.' stand without quotes.
/// Numbers are the shortest decimal ones that give the same bits; beside them there are `inf`, `-inf`, and NaN with all
/// its bits, `nan:7ff8000000000000`. Quoted texts know `\\`, `\"`, `\n`, `\r`, `\t`, and `\xHH` for any byte.
class TAMRADEPS_API UDBReadWriteAscii
{
public:
    /// Levels of groups below the root that can be written and read.
    static constexpr int kMaxDepth = 64;

    /// Replaces the content of `out`, keeping its capacity. False, with `out` empty, when groups lie deeper than
    /// `kMaxDepth`, as they do where a group contains itself, or when the text would exceed 2 GiB.
    bool Write(const UDBGroup& root, std::string& out) const;

    /// Replaces the entries of `root` by those in the text, which may be anything. Indentation, empty lines and
    /// carriage returns do not matter.
    ///
    /// False, with `root` empty and the database's memory filled as before the call, when the text is not well-formed;
    /// `error` then tells the line and what is wrong with it. Logs nothing. Beside the database's first block it takes
    /// at most 100 bytes for each byte of text.
    bool Read(std::string_view text, UDBGroup& root, std::string* error = nullptr) const;
};
