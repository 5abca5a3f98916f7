#!/usr/bin/env bash
# Installs a finished build to a temporary prefix, moves the prefix, and checks there that every public header compiles
# alone and that a foreign project (tests/consumer) finds the package, builds and runs.
#
# usage: check-install.sh [BUILD_FOLDER]   build/release by default
set -euo pipefail

root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)
build=${1:-$root/build/release}
work=$(mktemp -d)
trap 'rm -rf -- "$work"' EXIT

cmake --install "$build" --prefix "$work/first" >/dev/null
mv -- "$work/first" "$work/moved"
prefix=$work/moved

# Nothing installed may know where it was built or installed at first.
if grep -rlF -e "$root" -e "$work/first" "$prefix"; then
    echo "The files above name a folder of this machine." >&2
    exit 1
fi

cd -- "$prefix/include"
mapfile -t headers < <(find . -name '*.h' -printf '%P\n' | sort)
printf '%s\0' "${headers[@]}" | xargs -0 -P "$(nproc)" -I{} \
    "${CXX:-g++}" -std=c++20 -fsyntax-only -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror -I. -include {} -x c++ /dev/null
echo "${#headers[@]} public headers compile alone"

cmake -S "$root/tests/consumer" -B "$work/build" -G Ninja -DCMAKE_BUILD_TYPE=Release \
    -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/build" -- --quiet
# Each of them alone must find the others in the moved prefix, as a program that loads only one needs it.
for program in "$work/build/consumer" "$prefix"/lib*/libTamra*.so "$prefix"/lib*/libCorvex.so; do
    if ldd "$program" | grep -E 'lib(Tamra|Corvex)' | grep -vF "$prefix/"; then
        echo "$program does not find the library above beside it." >&2
        exit 1
    fi
done
(cd "$work" && build/consumer)
