#!/usr/bin/env bash
# The command line of kovacore_check: exact output and exit status.
#
#   cmdline_test.sh KOVACORE_CHECK
set -uo pipefail
readonly BIN=$1
failed=0

# expect NAME STATUS EXPECTED_STDOUT ARGS...: runs BIN with ARGS and compares
# the exit status and the whole standard output.
expect() {
    local name=$1 status=$2 expected=$3
    shift 3
    local actual rc
    actual=$("$BIN" "$@" 2>/dev/null)
    rc=$?
    if ((rc != status)); then
        echo "FAIL $name: exit status $rc, expected $status"
        failed=1
    elif [[ "$actual" != "$expected" ]]; then
        echo "FAIL $name: output differs"
        diff <(printf '%s\n' "$expected") <(printf '%s\n' "$actual") | head -20
        failed=1
    else
        echo "ok   $name"
    fi
}

# expect_suites NAME "SUITE..." ARGS...: runs BIN and compares the suites run,
# in order, and requires a clean Check summary.
expect_suites() {
    local name=$1 suites=$2
    shift 2
    local out rc ran
    out=$("$BIN" "$@" 2>/dev/null)
    rc=$?
    ran=$(sed -n 's/^Running suite(s): //p; s/^ \([A-Z]*\)$/\1/p' <<<"$out" | tr '\n' ' ' | sed 's/ $//')
    if ((rc != 0)); then
        echo "FAIL $name: exit status $rc"
        failed=1
    elif [[ "$ran" != "$suites" ]]; then
        echo "FAIL $name: ran [$ran], expected [$suites]"
        failed=1
    elif ! grep -qE '^100%: Checks: [0-9]+, Failures: 0, Errors: 0$' <<<"$out"; then
        echo "FAIL $name: summary: $(tail -n 1 <<<"$out")"
        failed=1
    else
        echo "ok   $name"
    fi
}

# check NAME COMMAND...: passes when COMMAND does.
check() {
    local name=$1
    shift
    if "$@"; then
        echo "ok   $name"
    else
        echo "FAIL $name"
        failed=1
    fi
}

LIST=$'Configured test suites:\n\tbdb\n\tcrypt\n\tfile\n\thash\n\thashset\n\tlist\n\tproc\n\tstring\n\tunicode'
USAGE=$'Usage: kovacore_check\n\t-a:\t\tRun all configured tests.\n\t-s test1,...:\tRun selected configured tests.\n\t-S test1,...:\tSkip selected configured tests.\n\t-v:\t\tAdd verbose output.\n\t-v -v:\tMost verbose output.\n\t-l:\t\tList all configured tests..\n\t-d:\t\tRun nofork mode. For debug.'"
$LIST"

expect "no options" 0 ""
expect "positional arguments only" 0 "" list hash
expect "-l" 255 "$LIST" -l
expect "-l -a" 255 "$LIST" -l -a
expect "-r" 255 "$USAGE" -r
expect "unknown option" 255 "$USAGE" -x
expect "missing argument" 255 "$USAGE" -s
expect "-s nosuch" 0 "" -s nosuch
expect "-S only" 0 "" -S list
expect "-s then -S" 0 "" -s hash -S hash

check "unknown option reported by getopt" grep -q "invalid option -- 'x'" <<<"$("$BIN" -x 2>&1 >/dev/null)"
expect_suites "-s list,,hash" "HASH LIST" -s list,,hash
expect_suites "-s bdb,crypt,proc" "BDB CRYPT PROC" -s bdb,crypt,proc
expect_suites "-a -S file" "BDB CRYPT HASH HASHSET LIST PROC STRING UNICODE" -a -S file
expect_suites "-S file -a" "BDB CRYPT FILE HASH HASHSET LIST PROC STRING UNICODE" -S file -a
expect_suites "-s unicode -d" "UNICODE" -s unicode -d

# Print modes: -v -v -v -v clamps to the most verbose mode, which lists
# every passed test; the default lists none.
check "-v -v -v -v lists passed tests" grep -q ':P:UNICODE:KOVACodepageValueParse_trk:' \
    <<<"$("$BIN" -v -v -v -v -s unicode 2>/dev/null)"
check "default print mode is minimal" bash -c '! grep -q ":P:"' <<<"$("$BIN" -s unicode 2>/dev/null)"

exit $failed
