#!/bin/sh
# Usage: exported_symbols.sh NM LIBRARY LIST
#
# Passes when the shared LIBRARY exports exactly the names in LIST (one a
# line, sorted in the C locale): the dynamic symbols it defines, without
# their version suffix ("@@VELKC_1"), the version definitions themselves
# (type A) left out. An export added or lost by accident fails here.
#
# The sanitizer and fuzzing builds need no exception: their runtimes are
# linked into the executables, not into the library, and the version script
# keeps local what instrumentation adds to the library (clang's checks of
# indirect calls, for one, emit type information of default visibility).
set -eu
nm=$1 lib=$2 list=$3

exported=$("$nm" -D --defined-only "$lib" | awk '$2 != "A" { sub(/@.*/, "", $3); print $3 }' | LC_ALL=C sort -u)
if ! differences=$(printf '%s\n' "$exported" | diff -u "$list" -); then
    echo "$lib does not export what $list lists (-: listed only, +: exported only):"
    printf '%s\n' "$differences" | tail -n +3 | grep '^[-+]'
    exit 1
fi
echo "$(printf '%s\n' "$exported" | wc -l) symbols exported, as listed"
