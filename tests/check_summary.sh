#!/usr/bin/env bash
# Runs kovacore_check and passes only if its Check summary reports zero
# failures and zero errors (kovacore_check itself exits 0 either way).
#
#   check_summary.sh [--expect N] KOVACORE_CHECK ARGS...
set -uo pipefail

expect=""
if [[ "${1:-}" == --expect ]]; then
    expect=$2
    shift 2
fi

out=$(mktemp)
err=$(mktemp)
trap 'rm -f "$out" "$err"' EXIT

"$@" >"$out" 2>"$err"
status=$?
cat "$out"
cat "$err" >&2

fail() {
    echo "check_summary: $*" >&2
    exit 1
}

((status == 0)) || fail "exit status $status"
summary=$(grep -E '^[0-9]+%: Checks: [0-9]+, Failures: [0-9]+, Errors: [0-9]+' "$out" | tail -n 1)
[[ -n "$summary" ]] || fail "no Check summary in the output"
[[ "$summary" =~ Checks:\ ([0-9]+),\ Failures:\ ([0-9]+),\ Errors:\ ([0-9]+) ]]
checks=${BASH_REMATCH[1]} failures=${BASH_REMATCH[2]} errors=${BASH_REMATCH[3]}
((failures == 0 && errors == 0)) || fail "$failures failures and $errors errors"
if [[ -n "$expect" ]] && ((checks != expect)); then
    fail "$checks checks ran, $expect expected"
fi
if grep -qE 'ERROR: (Address|Leak)Sanitizer|runtime error:' "$err"; then
    fail "sanitizer report"
fi
echo "$checks passed, 0 failed"
