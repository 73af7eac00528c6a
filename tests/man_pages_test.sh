#!/bin/sh
# Usage: man_pages_test.sh BUILD_DIR SYMBOL_LIST
#
# Builds the reference manual (the docs target fails on any undocumented
# declaration or parameter) and passes when every exported name has its own
# section 3 page, so that `man 3 NAME` finds it.
set -eu
build=$1 list=$2
cmake --build "$build" --target docs
missing=0
while read -r name; do
    if [ ! -f "$build/docs/man/man3/$name.3" ]; then
        echo "no man page for $name"
        missing=$((missing + 1))
    fi
done <"$list"
[ "$missing" -eq 0 ]
echo "$(wc -l <"$list") man pages present"
