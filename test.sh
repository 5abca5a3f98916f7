#!/usr/bin/env bash
# Installs what is missing, builds everything and runs the whole test suite. Arguments go to ctest ("./test.sh -R UDB").
# PRESET chooses another build ("PRESET=asan ./test.sh"), JOBS how many tests run at once (2).
set -euo pipefail

cd -- "$(dirname -- "${BASH_SOURCE[0]}")"
preset=${PRESET:-release}

scripts/install-dependencies.sh
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:strict_string_checks=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1}
export TSAN_OPTIONS=${TSAN_OPTIONS:-halt_on_error=1:second_deadlock_stack=1}
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset"

exec ctest --preset "$preset" --no-tests=error --parallel "${JOBS:-2}" "$@"
