#!/usr/bin/env bash
# Runs the tests with counters and prints which share of lines and branches of each folder they reach, and the files that
# they reach least.
#
# usage: coverage.sh [--html]   "--html" also writes build/coverage/html/index.html
set -euo pipefail

cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.."
build=build/coverage

if ! command -v gcovr >/dev/null; then
    echo "Coverage needs gcovr (on Debian: apt-get install gcovr)." >&2
    exit 1
fi

# Counters of an earlier run, or of sources that have gone.
[[ -d $build ]] && find "$build" -name '*.gcda' -delete
# Coverage puts functions of its own into every object, which is no fault of theirs.
PRESET=coverage ./test.sh --quiet --exclude-regex SimdObjectsShareNoFunction

options=(--root . --object-directory "$build" --exclude-throw-branches --exclude-unreachable-branches
    --exclude 'tests/' --exclude 'examples/' --exclude 'fuzz/' --exclude 'benchmarks/' --exclude 'build/')
gcovr "${options[@]}" --json "$build/coverage.json" "$build"
if [[ ${1:-} == --html ]]; then
    mkdir -p "$build/html"
    gcovr "${options[@]}" --add-tracefile "$build/coverage.json" --html-details "$build/html/index.html"
fi
gcovr --root . --add-tracefile "$build/coverage.json" --csv "$build/coverage.csv"
python3 - "$build/coverage.csv" <<'EOF'
import collections
import csv
import os
import sys

with open(sys.argv[1], newline="", encoding="utf-8") as text:
    files = list(csv.DictReader(text))
folders = collections.defaultdict(lambda: [0, 0, 0, 0])
for file in files:
    counts = [int(file[key]) for key in ("line_covered", "line_total", "branch_covered", "branch_total")]
    for folder in (os.path.dirname(file["filename"]), "all"):
        folders[folder] = [a + b for a, b in zip(folders[folder], counts)]


def share(part, whole):
    return f"{100 * part / whole:5.1f} %" if whole else "      -"


print(f"\n{'folder':<28}{'lines':>10}{'':>12}{'branches':>10}")
for folder, (lines, all_lines, branches, all_branches) in sorted(folders.items(), key=lambda item: (item[0] == "all", item[0])):
    print(f"{folder:<28}{share(lines, all_lines):>10}{'of':>4}{all_lines:>8}{share(branches, all_branches):>10}{'of':>4}{all_branches:>8}")
print("\nfiles with most lines that no test reaches")
missed = sorted(files, key=lambda file: int(file["line_covered"]) - int(file["line_total"]))
for file in missed[:20]:
    lines = int(file["line_total"]) - int(file["line_covered"])
    print(f"{lines:>6} of {int(file['line_total']):<6}{file['filename']}")
EOF
