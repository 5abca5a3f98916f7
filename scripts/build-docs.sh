#!/usr/bin/env bash
# Makes the reference of the public headers with Doxygen, of which every warning is an error.
#
# usage: build-docs.sh [OUT_FOLDER]   build/docs by default; begin with OUT_FOLDER/html/index.html
set -euo pipefail

cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.."
out=${1:-build/docs}
command -v doxygen >/dev/null || {
    echo "There is no doxygen; scripts/install-dependencies.sh --checks installs it." >&2
    exit 2
}

rm -rf -- "$out/html" "$out/xml"
mkdir -p -- "$out"
(
    cat docs/Doxyfile
    printf 'OUTPUT_DIRECTORY = "%s"\n' "$out"
) | doxygen -
scripts/check-docs.py --xml "$out/xml"
