#!/usr/bin/env bash
# Compiles all public headers, behind <windows.h>, as the Microsoft compiler would lay out and read them, for users and
# for the libraries themselves: clang for its target, with mingw-w64's headers in the place of Microsoft's. Makes no
# code.
#
# usage: check-msvc-headers.sh [BUILD_FOLDER]   build/windows-release by default, configured
set -euo pipefail

root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)
build=${1:-$root/build/windows-release}
compiler=x86_64-w64-mingw32-g++-posix
library=$(dirname "$("$compiler" -print-libgcc-file-name)")/include/c++
system=/usr/x86_64-w64-mingw32/include

# What mingw-w64 expects of its own compiler.
bridge=$(mktemp --suffix=.h)
trap 'rm -f -- "$bridge"' EXIT
printf '%s\n' '#include <_mingw.h>' '#undef __MINGW_IMPORT' '#define __MINGW_IMPORT extern __declspec(dllimport)' >"$bridge"

compile() {
    "${CLANG:-clang++}" --target=x86_64-pc-windows-msvc -std=gnu++20 -fsyntax-only -fms-extensions \
        -Wall -Wextra -Wshadow -Wconversion -Werror -Wno-unknown-pragmas -Wno-pragma-pack \
        -fgnuc-version=12.0 -U_MSC_VER -U_MSC_FULL_VER -U__SIZEOF_INT128__ -D__MINGW32__ -D__MINGW64__ \
        -nostdinc++ -isystem "$library" -isystem "$library/x86_64-w64-mingw32" -isystem "$system" -include "$bridge" \
        "$@" -I"$root" -I"$build/generated" -I"$build/tests" "$root/tests/headers/afterWindowsHeader.cpp"
}

compile
compile -DTamraDeps_EXPORTS -DTamraEngine_EXPORTS -DCorvex_EXPORTS -DTamraGameEngine_EXPORTS
echo "$(grep -c '#include' "$build/tests/publicHeaders.h") public headers compile for the Microsoft compiler's target"
