#!/usr/bin/env bash
# Compiles a C and a C++ program that include <velkc.h> under strict ISO
# settings, so that the public headers stay usable by programs built with
# -pedantic -Werror, the records ending in a flexible array member included;
# and each C++ module header on its own, so that each holds what it needs.
#
#   headers_pedantic.sh CC CXX INCLUDE_DIR
set -euo pipefail
readonly cc=$1 cxx=$2 include=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cat >"$work/use.c" <<'PROGRAM'
#include <velkc.h>

int main(void)
{
    SzList *list = VELKCSzListAlloc(0);
    SzHash *hash = VELKCSzHashAlloc(0);
    SzHashSet *set = VELKCSzHashSetAlloc(0);
    int sizes = (int)(sizeof list->pszItem[0] + sizeof hash->rgSlot[0] + sizeof set->rgSlot[0]);
    VELKCSzHashSetFree(set);
    VELKCSzHashFree(hash);
    VELKCSzListFree(list);
    return sizes > 0 ? 0 : 1;
}
PROGRAM
cp "$work/use.c" "$work/use.cpp"

strict=(-pedantic -Wall -Wextra -Werror -I "$include" -c)
"$cc" -std=c11 "${strict[@]}" -o "$work/use_c.o" "$work/use.c"
for std in c++17 c++20; do
    "$cxx" -std="$std" "${strict[@]}" -o "$work/use_$std.o" "$work/use.cpp"
done
for module in "$include"/velkc/*.hpp; do
    printf '#include <velkc/%s>\n' "${module##*/}" >"$work/module.cpp"
    "$cxx" -std=c++17 "${strict[@]}" -o "$work/module.o" "$work/module.cpp"
done
echo "headers clean under -pedantic: C11, C++17, C++20, each C++ module alone"
