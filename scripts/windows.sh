#!/usr/bin/env bash
# Builds everything for Windows x64 with mingw-w64 and runs the tests under Wine. Installs and builds what is missing
# first; quick when nothing has changed. What it keeps lies in build/windows-dependencies, or where
# TAMRA_WINDOWS_DEPENDENCIES says.
#
# usage: windows.sh [--ci | --package | --build | --dependencies] [TEST_PROGRAM...]
#
#   (nothing)       builds all, and runs all test programs or the named ones (test_tamradeps test_gameengine ...)
#   --ci            builds and runs the part of the tests that every change must pass; where the compiler, Wine or the
#                   sources of what the project stands on cannot be had, says so in one line and ends with the code 77
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

mode="test"
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

# For what is not there and is no fault of ours.
give_up() {
    if [[ $mode == ci ]]; then
        echo "skipped: $1"
        exit 77
    fi
    echo "$1" >&2
    exit 1
}

sources=(glew glfw3 lua5.4 sqlite3 xz-utils zlib)

# Source packages of the release that this machine runs, with lists of packages of our own: the system's stay as they
# are.
download_sources() {
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
        -o APT::Sandbox::User=root -o Acquire::http::Timeout=20 -o Acquire::Retries=1)
    # apt compares what it fetches with the signed lists.
    "${apt[@]}" update >/dev/null 2>&1 && cd "$lists/packages" && "${apt[@]}" source --download-only "$@" >/dev/null 2>&1
}

unpack_sources() {
    rm -rf "$dependencies/sources"
    mkdir "$dependencies/sources"
    for name in "$@"; do
        dpkg-source --no-check --extract "$dependencies/apt/packages/${name}"_*.dsc "$dependencies/sources/$name" >/dev/null
    done
    cp -R /usr/src/googletest "$dependencies/sources/googletest"
}

build_dependencies() {
    local stamp recipe=$root/cmake/windows/CMakeLists.txt
    stamp=$({ cat "$recipe" "$root/cmake/windows/toolchain.cmake"; declare -p sources; declare -f unpack_sources build_dependencies; } | sha256sum)
    [[ $(cat "$dependencies/stamp" 2>/dev/null) != "$stamp" ]] || return 0
    mkdir -p "$dependencies"
    (download_sources "${sources[@]}") || give_up "the sources of ${sources[*]} cannot be fetched"
    echo "Building what the project stands on"
    unpack_sources "${sources[@]}"
    local amalgamation=$dependencies/amalgamation
    rm -rf "$amalgamation" "$dependencies/prefix"
    mkdir "$amalgamation"
    (cd "$amalgamation" && "$dependencies/sources/sqlite3/configure" --disable-tcl >/dev/null && make sqlite3.c >/dev/null)
    cmake -S "${recipe%/*}" -B "$dependencies/build" -G Ninja -DCMAKE_BUILD_TYPE=Release \
        -DCMAKE_TOOLCHAIN_FILE="$root/cmake/windows/toolchain.cmake" -DCMAKE_INSTALL_PREFIX="$dependencies/prefix" \
        -DTAMRA_SOURCES="$dependencies/sources" -DTAMRA_AMALGAMATION="$amalgamation" >/dev/null
    # Warnings about other people's sources are nobody's business here.
    cmake --build "$dependencies/build" -j "$jobs" >"$dependencies/build.log" 2>&1 || {
        tail -n 40 "$dependencies/build.log"
        exit 1
    }
    cmake --install "$dependencies/build" >/dev/null
    # What the compiler's own runtime is made of.
    for library in libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll; do
        cp -- "$(x86_64-w64-mingw32-g++-posix -print-file-name=$library)" "$dependencies/prefix/bin/"
    done
    echo "$stamp" >"$dependencies/stamp"
}

configure() {
    cmake --preset "$preset" >/dev/null
    mkdir -p "$bin"
    cp -u -- "$dependencies"/prefix/bin/*.dll "$bin/"
}

build() {
    cmake --build --preset "$preset" -j "$jobs" "$@"
}

# Wine knows no names of files that the locale cannot spell.
export LC_ALL=C.UTF-8
# Wine's own folder of settings and disks, quiet, without its offers to fetch what it lacks or to debug, and without its
# game pads: they leave a thread behind in code that GLFW gives back when the last window closes.
export WINEPREFIX=$dependencies/wine WINEDEBUG=-all
export WINEDLLOVERRIDES='mscoree,mshtml=;winemenubuilder.exe,winedbg.exe,xinput1_4,xinput1_3,xinput1_2,xinput1_1,xinput9_1_0='

# Prints what fails and adds a line to the summary. Contexts are made on a display of no screen.
run_test() {
    local name=$1 log=$dependencies/$1.log start=$SECONDS passed total skipped verdict=ok
    shift
    timeout 900 wine "$bin/$name.exe" --gtest_brief=1 "$@" >"$log" 2>&1 </dev/null || verdict=failed
    passed=$(sed -n 's/^\[  PASSED  \] \([0-9]*\) test.*/\1/p' "$log" | tail -n 1)
    total=$(sed -n 's/^\[==========\] \([0-9]*\) tests\{0,1\} from .* ran\..*/\1/p' "$log" | tail -n 1)
    skipped=$(sed -n 's/^\[  SKIPPED \] \([0-9]*\) test.*/\1/p' "$log" | tail -n 1)
    # A program that ended early has no total.
    [[ -n $total ]] || verdict=failed
    [[ $verdict == ok ]] || tail -n 60 "$log"
    summary+=("$(printf '%-20s %5s run %5s passed %3s skipped %5d s  %s' \
        "$name" "${total:-?}" "${passed:-0}" "${skipped:-0}" $((SECONDS - start)) "$verdict")")
    all_passed=$((all_passed + ${passed:-0}))
    all_skipped=$((all_skipped + ${skipped:-0}))
    all_failed=$((all_failed + ${total:-1} - ${passed:-0} - ${skipped:-0}))
    [[ $verdict == ok ]] || bad=1
}

# A program that is one test: it ends with 0 if all is well.
run_program() {
    local name=$1 log=$dependencies/$1.log start=$SECONDS verdict=ok
    shift
    timeout 900 wine "$bin/$name.exe" "$@" >"$log" 2>&1 </dev/null || verdict=failed
    [[ $verdict == ok ]] || tail -n 60 "$log"
    summary+=("$(printf '%-20s %5s run %40d s  %s' "$name" 1 $((SECONDS - start)) $verdict)")
    if [[ $verdict == ok ]]; then
        all_passed=$((all_passed + 1))
    else
        all_failed=$((all_failed + 1))
        bad=1
    fi
}

# Contexts belong to a display, also those that draw off screen; this one has no screen.
start_display() {
    local number=$dependencies/display
    : >"$number"
    Xvfb -displayfd 3 -screen 0 1280x1024x24 -nolisten tcp 3>"$number" >/dev/null 2>&1 &
    display_process=$!
    trap 'wineserver -k || true; kill "$display_process"' EXIT
    until [[ -s $number ]]; do
        kill -0 "$display_process"
        sleep 0.1
    done
    DISPLAY=:$(<"$number")
    export DISPLAY
}

# Whoever passes on other people's libraries passes on their terms: those beside ours, and those compiled into it.
add_licences() {
    local folder=$1 name
    mkdir "$folder"
    for name in "${sources[@]}"; do
        cp -- "$dependencies/sources/$name/debian/copyright" "$folder/$name.txt"
    done
    for name in libcli11-dev libfmt-dev libglm-dev libosmium2-dev libprotozero-dev libspdlog-dev libstb-dev libxsimd-dev \
        gcc-mingw-w64-x86-64-posix-runtime mingw-w64-x86-64-dev; do
        cp -- "/usr/share/doc/$name/copyright" "$folder/${name%-dev}.txt"
    done
}

# Everything that a user needs, in one folder that may lie anywhere.
package() {
    local version name stage
    version=$(sed -n 's/^project(.* VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
    name=TamraGameEngine-$version-windows-x64
    stage=$(mktemp -d)
    build --target TamraGameEngine sandbox scenetool guitool fontbake
    cmake --install "build/$preset" --prefix "$stage/$name" >/dev/null
    for program in sandbox scenetool guitool fontbake; do
        cp -- "$bin/$program.exe" "$stage/$name/bin/"
    done
    cp -- "$dependencies"/prefix/bin/*.dll "$stage/$name/bin/"
    cp -- LICENSE "$stage/$name/"
    add_licences "$stage/$name/licences"
    [[ $preset == *debug ]] || x86_64-w64-mingw32-strip "$stage/$name"/bin/*.exe "$stage/$name"/bin/*.dll
    rm -f "build/$name.zip"
    (cd "$stage" && zip -qr "$root/build/$name.zip" "$name")
    check_package "build/$name.zip" "$stage/another folder"
    rm -rf "$stage"
    echo "build/$name.zip"
}

# The programs of the package, in a folder with a blank in its name, called from elsewhere.
check_package() {
    local folder=$2 program
    mkdir -p "$folder/elsewhere"
    unzip -q "$1" -d "$folder"
    start_display
    (
        cd "$folder/elsewhere"
        for program in scenetool guitool fontbake; do
            wine ../*/bin/$program.exe --version </dev/null
        done
        wine ../*/bin/sandbox.exe --headless --frames 2 --size 320x180 --out "a town" </dev/null >sandbox.log ||
            { cat sandbox.log; exit 1; }
        test -s "a town/frame0001.png"
    )
}

scripts/install-dependencies.sh --windows || give_up "the compiler for Windows or Wine is not there and cannot be installed"
build_dependencies
[[ $mode != dependencies ]] || exit 0
configure

# What every change must pass: the base library, and a little of everything else.
ci_programs=(test_tamradeps test_essentials)
case $mode in
build)
    build
    exit 0
    ;;
ci)
    timeout 300 wine cmd /c exit >/dev/null 2>&1 </dev/null || give_up "Wine does not start here"
    scripts/check-windows-names.py
    build --target TamraHeaders "${ci_programs[@]}"
    ;;
package)
    package
    exit 0
    ;;
test)
    scripts/check-windows-names.py
    ! command -v clang++ >/dev/null || scripts/check-msvc-headers.sh "build/$preset"
    if ((${#programs[@]} > 0)); then
        build --target "${programs[@]}"
    else
        build
    fi
    ;;
esac

start_display
summary=()
all_passed=0 all_failed=0 all_skipped=0 bad=0
if [[ $mode == ci ]]; then
    for name in "${ci_programs[@]}"; do
        run_test "$name"
    done
elif ((${#programs[@]} > 0)); then
    for name in "${programs[@]}"; do
        run_test "$name"
    done
else
    for name in test_tamradeps test_tamraengine test_corvex test_gameengine test_tools test_docs; do
        run_test "$name"
    done
    for source in fuzz/fuzz*.cpp; do
        name=$(basename "$source" .cpp)
        run_program "$name" "Z:$root/fuzz/corpus/$name"
    done
    pictures=$root/build/$preset/examples/pictures
    run_program tutorial_empty "Z:$pictures/empty.png"
    run_program tutorial "Z:$root/examples/tutorial/assets" "Z:$root/assets" "Z:$pictures"
    run_program soak --rounds 3000 --seed 1
fi
printf '\nWindows x64, under Wine\n'
printf '%s\n' "${summary[@]}"
echo "$all_passed passed, $all_failed failed, $all_skipped skipped"
exit "$bad"
