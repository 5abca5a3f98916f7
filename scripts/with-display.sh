#!/usr/bin/env bash
# Runs a program with a display of its own that nobody sees, so that keys and mouse may be played to it. Where there is
# no xvfb-run it is not run: the exit code is then 77, which ctest takes for a skipped test.
#
# usage: with-display.sh PROGRAM [ARGUMENT...]
set -euo pipefail

if ! command -v xvfb-run >/dev/null; then
    echo "skipped: no xvfb-run"
    exit 77
fi
export TAMRA_OWN_DISPLAY=1
# The system's libraries for windows keep a few hundred bytes to the end, and are unloaded before leaks are named.
export ASAN_OPTIONS=${ASAN_OPTIONS:+$ASAN_OPTIONS:}detect_leaks=0
exec xvfb-run -a -s "-screen 0 1600x1000x24" "$@"
