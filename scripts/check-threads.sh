#!/usr/bin/env bash
# Runs what works on several threads (the software culler, the console's messages from other threads) with the thread
# checks. Builds the libraries and that one test program.
set -euo pipefail

cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.."

export TSAN_OPTIONS=${TSAN_OPTIONS:-halt_on_error=1:second_deadlock_stack=1}
cmake --preset tsan -DTAMRA_BUILD_APPS=OFF >/dev/null
cmake --build --preset tsan --target test_threads
build/tsan/bin/test_threads --gtest_brief=1 "$@"
