#!/usr/bin/env bash
# Builds everything for Windows x64 with mingw-w64 and runs the tests under Wine. Installs and builds what is missing
# first; quick when nothing has changed. What it keeps lies in build/windows-dependencies, or where
# TAMRA_WINDOWS_DEPENDENCIES says.
#
# usage: windows.sh [--ci | --package | --build | --dependencies] [TEST_PROGRAM...]
#
#   (nothing)       builds all, and runs all test programs or the named ones (test_tamradeps test_gameengine ...)
#   --ci            builds and runs the part of the tests that every change must pass
#   --package       builds the programs and makes build/TamraGameEngine-VERSION-windows-x64.zip
#   --build         builds all and runs nothing
#   --dependencies  only installs and builds what the project stands on
#
# PRESET chooses another build ("PRESET=windows-debug"), JOBS how many compilers run at once.
set -euo pipefail

cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.."
root=$PWD
preset=${PRESET:-windows-release}
jobs=${JOBS:-$(nproc)}
export TAMRA_WINDOWS_DEPENDENCIES=${TAMRA_WINDOWS_DEPENDENCIES:-$root/build/windows-dependencies}
dependencies=$TAMRA_WINDOWS_DEPENDENCIES
bin=$root/build/$preset/bin

mode=test
case ${1:-} in
--ci | --package | --build | --dependencies)
    mode=${1#--}
    shift
    ;;
-*)
    sed -n '2,/^set/ { /^set/d; s/^# \{0,1\}//; p }' "${BASH_SOURCE[0]}" >&2
    exit 2
    ;;
esac
programs=("$@")

# Source packages of the release that this machine runs, with lists of packages of our own: the system's stay as they
# are.
fetch_sources() {
    local lists=$dependencies/apt
    mkdir -p "$lists/lists/partial" "$lists/packages"
    : >"$lists/sources.list"
    [[ ! -r /etc/apt/sources.list ]] || sed -n 's/^deb /deb-src /p' /etc/apt/sources.list >"$lists/sources.list"
    rm -rf "$lists/parts"
    mkdir "$lists/parts"
    for file in /etc/apt/sources.list.d/*.sources; do
        [[ ! -r $file ]] || sed 's/^Types:.*/Types: deb-src/' "$file" >"$lists/parts/${file##*/}"
    done
    local apt=(apt-get -qq -o "Dir::Etc::sourcelist=$lists/sources.list" -o "Dir::Etc::sourceparts=$lists/parts"
        -o "Dir::State::lists=$lists/lists" -o Dir::Cache::pkgcache= -o Dir::Cache::srcpkgcache=
        -o APT::Sandbox::User=root)
    "${apt[@]}" update
    # apt compares them with the signed lists.
    (cd "$lists/packages" && "${apt[@]}" source --download-only "$@" >/dev/null 2>&1)
    rm -rf "$dependencies/sources"
    mkdir "$dependencies/sources"
    for name in "$@"; do
        dpkg-source --no-check --extract "$lists/packages/${name}"_*.dsc "$dependencies/sources/$name" >/dev/null
    done
    cp -R /usr/src/googletest "$dependencies/sources/googletest"
}

build_dependencies() {
    local stamp recipe=$root/cmake/windows/CMakeLists.txt
    stamp=$(cat "$recipe" "$root/cmake/windows/toolchain.cmake" "${BASH_SOURCE[0]}" | sha256sum)
    [[ $(cat "$dependencies/stamp" 2>/dev/null) != "$stamp" ]] || return 0
    echo "Building what the project stands on"
    mkdir -p "$dependencies"
    fetch_sources glew glfw3 lua5.4 sqlite3 xz-utils zlib
    local amalgamation=$dependencies/amalgamation
    rm -rf "$amalgamation" "$dependencies/prefix"
    mkdir "$amalgamation"
    (cd "$amalgamation" && "$dependencies/sources/sqlite3/configure" --disable-tcl >/dev/null && make sqlite3.c >/dev/null)
    cmake -S "${recipe%/*}" -B "$dependencies/build" -G Ninja -DCMAKE_BUILD_TYPE=Release \
        -DCMAKE_TOOLCHAIN_FILE="$root/cmake/windows/toolchain.cmake" -DCMAKE_INSTALL_PREFIX="$dependencies/prefix" \
        -DTAMRA_SOURCES="$dependencies/sources" -DTAMRA_AMALGAMATION="$amalgamation" >/dev/null
    cmake --build "$dependencies/build" -j "$jobs" -- --quiet
    cmake --install "$dependencies/build" >/dev/null
    # What the compiler's own runtime is made of.
    for library in libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll; do
        cp -- "$(x86_64-w64-mingw32-g++-posix -print-file-name=$library)" "$dependencies/prefix/bin/"
    done
    echo "$stamp" >"$dependencies/stamp"
}

build() {
    cmake --preset "$preset" >/dev/null
    cmake --build --preset "$preset" -j "$jobs" "$@"
    cp -u -- "$dependencies"/prefix/bin/*.dll "$bin/"
}

scripts/install-dependencies.sh --windows
build_dependencies
[[ $mode != dependencies ]] || exit 0
build
