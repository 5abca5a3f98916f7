#!/usr/bin/env bash
# Installs the system packages that the build needs. Quick and silent when nothing is missing.
#
#   --checks   also what .ci/run needs besides the build: clang-format, python3, doxygen, a display of no screen, and a
#              second compiler
#   --fuzz     also clang with libFuzzer, for the preset "fuzz"
#   --windows  also what scripts/windows.sh needs to build for Windows and to run that
set -euo pipefail

packages=(
    g++ cmake ninja-build
    libsqlite3-dev liblzma-dev libglm-dev libspdlog-dev libfmt-dev libxsimd-dev
    liblua5.4-dev libstb-dev
    libglew-dev libgl-dev libegl-dev libglfw3-dev libgl1-mesa-dri
    libosmium2-dev libprotozero-dev zlib1g-dev libcli11-dev
    fonts-dejavu-core libgtest-dev libgmock-dev libxtst-dev libbenchmark-dev libboost-dev libbullet-dev libimgui-dev
)
tools=(g++ cmake ninja)
for argument in "$@"; do
    case $argument in
    --checks)
        packages+=(clang-format clang python3 doxygen xvfb xauth)
        tools+=(clang-format python3)
        ;;
    --fuzz)
        packages+=(clang libclang-rt-dev)
        tools+=(clang++)
        ;;
    --windows)
        packages+=(g++-mingw-w64-x86-64-posix wine wine64 xvfb xauth dpkg-dev tcl make gcc zip unzip)
        tools+=(x86_64-w64-mingw32-g++-posix wine Xvfb dpkg-source tclsh make)
        ;;
    *)
        echo "usage: $0 [--checks] [--fuzz] [--windows]" >&2
        exit 2
        ;;
    esac
done

missing=("${packages[@]}")
if command -v dpkg-query >/dev/null; then
    # One query for all; names that dpkg does not know only make its exit status non-zero.
    installed=$(dpkg-query --show --showformat='${db:Status-Status} ${Package}\n' "${packages[@]}" 2>/dev/null || true)
    missing=()
    for package in "${packages[@]}"; do
        grep -qxF "installed $package" <<<"$installed" || missing+=("$package")
    done
fi
if ((${#missing[@]} == 0)); then
    exit 0
fi

# Without apt or the right to use it: name the packages, and go on when the tools are there all the same.
cannot_install() {
    echo "These packages could not be installed ($1): ${missing[*]}" >&2
    for tool in "${tools[@]}"; do
        command -v "$tool" >/dev/null || exit 1
    done
    exit 0
}

as_root=()
command -v apt-get >/dev/null || cannot_install "there is no apt here; the names are Debian's"
if ((EUID != 0)); then
    command -v sudo >/dev/null || cannot_install "neither root nor sudo"
    # Ask for a password only where somebody can type one.
    [[ -t 0 ]] || sudo -n true 2>/dev/null || cannot_install "sudo asks for a password"
    as_root=(sudo)
fi

apt() {
    "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get -qq -o DPkg::Lock::Timeout=120 "$@"
}

echo "Installing ${missing[*]}"
# A list that cannot be refreshed may still be good enough.
apt update || echo "apt-get update failed; going on with the package lists that are here" >&2
apt install -y --no-install-recommends "${missing[@]}" >/dev/null || cannot_install "apt-get failed"
# A compiler cache makes later builds quicker; nothing depends on it.
command -v ccache >/dev/null || apt install -y --no-install-recommends ccache >/dev/null 2>&1 || true
