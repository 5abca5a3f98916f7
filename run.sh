#!/usr/bin/env bash
# Installs what is missing, builds the sandbox and starts it with the arguments given ("./run.sh --help" lists them).
# PRESET chooses another build ("PRESET=asan ./run.sh view").
set -euo pipefail

root=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd)
preset=${PRESET:-release}

# CMake finds its presets from the current folder; the sandbox itself starts where the caller stands.
(
    cd "$root"
    scripts/install-dependencies.sh
    cmake --preset "$preset" >/dev/null
    cmake --build --preset "$preset" --target sandbox -- --quiet
) >&2

exec "$root/build/$preset/bin/sandbox" "$@"
