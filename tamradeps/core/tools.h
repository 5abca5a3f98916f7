#pragma once

#include "tamradeps/export.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// The text with its ASCII letters in capitals; every other byte, UTF-8 sequences included, stays as it is.
TAMRADEPS_API std::string Tools_StringToUppercase(std::string_view text);
/// The same in small letters.
TAMRADEPS_API std::string Tools_StringToLowercase(std::string_view text);

/// The text without spaces, tabs and line ends at both ends.
TAMRADEPS_API std::string_view Tools_StringTrim(std::string_view text) noexcept;

/// The pieces between the separators; n separators give n + 1 pieces, empty ones included.
TAMRADEPS_API std::vector<std::string_view> Tools_StringSplit(std::string_view text, char separator);

/// The last three characters of a file name in upper case ("town.sdb" gives "SDB"); shorter names are given whole.
TAMRADEPS_API std::string Tools_FileExtension3(std::string_view fileName);

/// True when the bytes are well-formed UTF-8 (no overlong forms, surrogates, or values above U+10FFFF).
TAMRADEPS_API bool Tools_IsValidUtf8(std::string_view text) noexcept;

/// The number without its fraction; what does not fit becomes the nearest integer that does, and what is no number 0.
TAMRADEPS_API std::int32_t Tools_ToInt32(double value) noexcept;
