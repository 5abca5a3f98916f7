#!/usr/bin/env bash
# Checks that object files compiled for special instructions (those named ...Avx...) define no function that the linker
# may share with other files: it keeps any one of inline functions with the same name, and plain code would then run
# instructions that the processor may lack.
#
# usage: check-simd-objects.sh OBJECT...
set -euo pipefail

count=0
failed=0
for object in "$@"; do
    [[ $object == *Avx* ]] || continue
    count=$((count + 1))
    # The one weak name that every C++ file has is data: the address of the exception handler.
    shared=$("${NM:-nm}" --demangle --defined-only "$object" | grep -E '^[0-9a-f]* [WwVvu] ' | grep -v DW.ref. || true)
    if [[ -n $shared ]]; then
        printf '%s shares\n%s\n' "$object" "$shared"
        failed=1
    fi
done
if ((count == 0)); then
    echo "none of the $# files is compiled for special instructions"
    exit 1
fi
exit $failed
