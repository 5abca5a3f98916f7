#!/usr/bin/env bash
# Installs a finished build to a temporary prefix, moves the prefix, and checks there that every public header compiles
# alone, that the tools run, and that foreign projects (examples/consumer) build and run with it: by find_package, with
# another compiler, with the base library alone, and with this folder inside theirs.
#
# usage: check-install.sh [BUILD_FOLDER]   build/release by default
set -euo pipefail

root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." && pwd)
build=${1:-$root/build/release}
consumers=$root/build/consumer # kept: the engine inside another project is built once
work=$(mktemp -d)
trap 'rm -rf -- "$work"' EXIT

fail() {
    echo "$1" >&2
    exit 1
}

files_of() {
    (cd -- "$1" && find . \( -type f -o -type l \) -printf '%P\n' | sort)
}

# The components are all there is, and each file belongs to one.
cmake --install "$build" --prefix "$work/first" >/dev/null
for component in TamraDeps TamraEngine Corvex TamraGameEngine Tools Assets; do
    cmake --install "$build" --prefix "$work/components/$component" --component "$component" >/dev/null
    files_of "$work/components/$component"
done | sort >"$work/parts"
diff "$work/parts" <(files_of "$work/first") || fail "The files above belong to no component, or to several."

mv -- "$work/first" "$work/moved"
prefix=$work/moved

# Nothing installed may know where it was built or installed at first.
if grep -rlF -e "$root" -e "$work/first" "$prefix"; then
    fail "The files above name a folder of this machine."
fi

# Each library alone must find the others in the moved prefix, as a program that loads only one needs it.
check_libraries() {
    local program
    for program in "$@"; do
        if ldd "$program" | grep -E 'lib(Tamra|Corvex)' | grep -vF "$prefix/"; then
            fail "$program does not find the library above in $prefix."
        fi
    done
}
check_libraries "$prefix"/lib*/libTamra*.so "$prefix"/lib*/libCorvex.so "$prefix"/bin/*
for tool in scenetool guitool fontbake; do
    "$prefix/bin/$tool" --version
done
# It finds the fonts and styles where they lie now.
(cd "$work" && "$prefix/bin/guitool" lint "$prefix/share/TamraGameEngine/gui/gallery.gui")

cd -- "$prefix/include"
mapfile -t headers < <(find . -name '*.h' -printf '%P\n' | sort)
printf '%s\0' "${headers[@]}" | xargs -0 -P "$(nproc)" -I{} \
    "${CXX:-g++}" -std=c++20 -fsyntax-only -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror -I. -include {} -x c++ /dev/null
echo "${#headers[@]} public headers compile alone"

# build_consumer <name> <project> <option>...: an own build folder, old settings forgotten.
build_consumer() {
    local folder=$consumers/$1 project=$2
    shift 2
    rm -f -- "$folder/CMakeCache.txt"
    cmake -S "$root/examples/consumer/$project" -B "$folder" -G Ninja "$@" >/dev/null
    cmake --build "$folder" -- --quiet
}

# run_consumer <name> <program>...
run_consumer() {
    local folder=$consumers/$1 program
    shift
    for program in "$@"; do
        (cd "$work" && "$folder/$program")
    done
}

step() {
    printf -- '-- %s [%d s]\n' "$1" "$SECONDS"
}

step "A project that finds the package"
build_consumer package . -DCMAKE_BUILD_TYPE=Release "-DCMAKE_PREFIX_PATH=$prefix"
check_libraries "$consumers/package/consumer"
run_consumer package consumer boundary

step "A project that finds the base library alone"
rm -rf -- "$work/components/base" && mv -- "$work/components/TamraDeps" "$work/components/base"
build_consumer base base "-DCMAKE_PREFIX_PATH=$work/components/base"
run_consumer base base

step "A project with another compiler"
if command -v clang++ >/dev/null; then
    build_consumer clang . -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_COMPILER=clang++ "-DCMAKE_PREFIX_PATH=$prefix"
    run_consumer clang consumer boundary
else
    echo "skipped: no clang++"
fi

# Without optimisation, since nearly all of it is our own libraries; the compiler cache is this project's choice.
step "A project with our folder inside"
launcher=$(command -v ccache || true)
build_consumer subdirectory . -DCMAKE_BUILD_TYPE= "-DCONSUMER_ENGINE_FOLDER=$root" \
    ${launcher:+"-DCMAKE_CXX_COMPILER_LAUNCHER=$launcher"}
rules=$consumers/subdirectory/build.ninja
if grep -q -e -Werror "$rules"; then
    fail "Inside another project our code must not refuse warnings."
fi
if sed -n '/^build CMakeFiles\/consumer\.dir/,/^$/p' "$rules" | grep -E '^  (FLAGS|DEFINES) = .*-(W|f|O|g|D)'; then
    fail "The program of another project must not be compiled with the flags above."
fi
run_consumer subdirectory consumer boundary
step "Done"
