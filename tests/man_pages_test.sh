#!/bin/sh
# Usage: man_pages_test.sh BUILD_DIR SYMBOL_LIST ERROR_HEADER
#
# Builds the reference manual (the docs target fails on any undocumented
# declaration or parameter, and on documentation markup that the page writer
# cannot render) and checks the man pages it writes:
#   - section 3 holds a page for every exported name, named for it in its
#     NAME line, and no other page, so that `man 3 NAME` finds the name's
#     own page and no page of the library shadows another's (set(3), ...);
#   - section 7 holds velkc(7) alone, whose ERROR CODES list every ERR_
#     constant of ERROR_HEADER with its value, and no other code;
#   - every page renders without a warning from groff.
set -eu
build=$1 list=$2 header=$3
cmake --build "$build" --target docs
man=$build/docs/man
failed=0
fail() {
    echo "FAIL: $*"
    failed=$((failed + 1))
}

dirs=$(ls "$man" | tr '\n' ' ')
[ "$dirs" = "man3 man7 " ] || fail "$man holds $dirs, not man3 and man7"

while read -r name; do
    page=$man/man3/$name.3
    if [ ! -f "$page" ]; then
        fail "no man page for $name"
    elif ! lexgrog "$page" | grep -qF "\"$name - "; then
        fail "the NAME line of $page does not name $name: $(lexgrog "$page" || true)"
    fi
done <"$list"
for page in "$man"/man3/*; do
    name=$(basename "$page" .3)
    grep -qxF "$name" "$list" || fail "stray page $page: $name is no exported name"
done

pages=$(ls "$man/man7" | tr '\n' ' ')
[ "$pages" = "velkc.7 " ] || fail "$man/man7 holds $pages, not velkc.7 alone"
overview=$man/man7/velkc.7
codes=$(sed -n 's/^#define \(ERR_[A-Z_]*\) \(0x[0-9A-F]*\)$/\1 (\2)/p' "$header")
[ -n "$codes" ] || fail "no ERR_ constants found in $header"
listed=$(MANWIDTH=200 man -E UTF-8 -l "$overview" 2>/dev/null |
    sed -n '/^ERROR CODES$/,/^[A-Z]/s/^ *\(ERR_[A-Z_]* (0x[0-9A-F]*)\)$/\1/p')
unlisted=$(echo "$codes" | while read -r code; do
    echo "$listed" | grep -qxF "$code" || printf '%s; ' "$code"
done)
[ -z "$unlisted" ] || fail "velkc(7) does not list $unlisted"
[ "$(echo "$listed" | wc -l)" -eq "$(echo "$codes" | wc -l)" ] ||
    fail "velkc(7) lists $(echo "$listed" | wc -l) error codes, $header has $(echo "$codes" | wc -l)"

for page in "$man"/man3/* "$overview"; do
    warnings=$(LC_ALL=C.UTF-8 MANWIDTH=80 man --warnings -E UTF-8 -l -Tutf8 -Z "$page" 2>&1 >/dev/null)
    [ -z "$warnings" ] || fail "$page: $warnings"
done

[ "$failed" -eq 0 ]
echo "$(wc -l <"$list") function and variable pages and velkc(7), $(echo "$codes" | wc -l) error codes listed"
