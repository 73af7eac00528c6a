#!/usr/bin/env bash
# Installs the build into a scratch prefix and runs the installed velkc-conf
# the way shell scripts do: exit status, output taken with $(...), stderr.
#
#   velkc_conf_test.sh BUILD_DIR PROJECT_VERSION
set -euo pipefail
readonly build=$1 version=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
chmod 755 "$work" # the unprivileged runs below need to reach it
cmake --install "$build" --prefix "$work/prefix" >/dev/null
readonly conf=$work/prefix/bin/velkc-conf err=$work/stderr
test -f "$work/prefix/share/man/man1/velkc-conf.1"
cd "$work"

# Permissions mean nothing to root: the permission cases run as nobody.
as_user=()
if [[ $(id -u) == 0 ]]; then
    as_user=(setpriv --reuid=65534 --regid=65534 --clear-groups)
fi

failed=0 passed=0
fail() { echo "FAIL: $*"; failed=$((failed + 1)); }

# expect STATUS STDOUT ARGS...: runs the tool (stdin passed on) and checks
# its exit status and its output as $(...) takes it.
expect() {
    local want_status=$1 want_out=$2 out status=0
    shift 2
    out=$("${runner[@]}" "$conf" "$@" 2>"$err") || status=$?
    if [[ $status != "$want_status" || $out != "$want_out" ]]; then
        fail "velkc-conf $* gave $status [$out], want $want_status [$want_out]; stderr: $(<"$err")"
    else
        passed=$((passed + 1))
    fi
}
runner=()

# stderr_is TEXT: the last run's whole stderr.
stderr_is() { [[ $(<"$err") == "$1" ]] || fail "stderr [$(<"$err")], want [$1]"; }

# kept FILE MODE LINE...: mode and the given lines survived the edits.
kept() {
    local file=$1 mode=$2 line
    shift 2
    [[ $(stat -c %a "$file") == "$mode" ]] || fail "$file: mode $(stat -c %a "$file"), want $mode"
    for line; do grep -qxF -- "$line" "$file" || fail "$file lost the line [$line]"; done
}

values=('two words' 'a=b=c' 'ünïcödé ✓ €' '  padded  ' '"quoted"' '-starts with a dash' "it's")

echo "== a file without sections"
printf '# keep me\na=1\nb = "  two  "\n; and me\n' >flat.conf
chmod 640 flat.conf
expect 0 1 get flat.conf a
expect 0 '  two  ' get flat.conf b
expect 1 '' get flat.conf absent
for v in "${values[@]}"; do
    expect 0 '' set flat.conf rt "$v"
    expect 0 "$v" get flat.conf rt
done
expect 0 '' set flat.conf empty ''
expect 1 '' get flat.conf empty
expect 0 $'a\nb\nempty\nrt' keys flat.conf
expect 0 '' del flat.conf a
expect 1 '' get flat.conf a
expect 0 '' del flat.conf a
expect 0 '' merge flat.conf <<<$'m1=first\n# skipped\n\n  m2 = "  2 "\nm1=last'
expect 0 last get flat.conf m1
expect 0 '  2 ' get flat.conf m2
kept flat.conf 640 '# keep me' '; and me'
expect 0 '' set new.conf k v
expect 0 v get new.conf k

echo "== sections"
printf '# head\n[one]\n# in one\n#c=d\nx=1\n[two]\ny=2\n' >sec.conf
chmod 600 sec.conf
expect 0 $'one\ntwo' sections sec.conf
expect 0 1 get -s one sec.conf x
expect 1 '' get -s one sec.conf y
expect 1 '' get -s three sec.conf x
expect 0 x keys -s one sec.conf
expect 1 '' keys -s three sec.conf
printf '[empty]\n' >empty.conf
expect 0 '' keys -s empty empty.conf
for v in "${values[@]}"; do
    expect 0 '' set -s one sec.conf rt "$v"
    expect 0 "$v" get -s one sec.conf rt
done
expect 0 2 get -s two sec.conf y
expect 0 '' del -s one sec.conf x
expect 1 '' get -s one sec.conf x
expect 0 '' del -s one sec.conf x
expect 0 '' del -s three sec.conf x
expect 0 '' set -s three sec.conf k 'new = ü'
expect 0 'new = ü' get -s three sec.conf k
expect 0 '' merge -s two sec.conf <<<$'y=20\nz = "  3"'
expect 0 $'y\nz' keys -s two sec.conf
expect 0 '  3' get -s two sec.conf z
expect 0 '' merge -s four sec.conf <<<'p=1'
expect 0 $'one\ntwo\nthree\nfour' sections sec.conf
kept sec.conf 600 '# head' '# in one' '#c=d' '[one]' 'rt=it'"'"'s'
expect 0 '' set -s s new2.conf k v
expect 0 v get -s s new2.conf k
expect 3 '' get sec.conf x
stderr_is 'velkc-conf: sec.conf: bad parameters (the file has sections: give -s SECTION)'
expect 3 '' set sec.conf x 1

echo "== usage errors"
expect 2 ''
grep -q '^usage: velkc-conf get' "$err" || fail "no usage on stderr"
expect 2 '' bogus flat.conf
expect 2 '' get flat.conf
expect 2 '' set flat.conf k v extra
expect 2 '' get -x flat.conf k
expect 2 '' get -s
expect 2 '' get -s a -s b flat.conf k
expect 2 '' sections -s one sec.conf
expect 0 "velkc-conf $version" --version
expect 2 '' --version extra
"$conf" --help | grep -q '^usage: velkc-conf get' || fail "--help prints no usage"

echo "== refused input and failures"
cp flat.conf before.conf
expect 3 '' set flat.conf 'a=b' v
stderr_is 'velkc-conf: flat.conf: bad parameters'
expect 3 '' set flat.conf k $'two\nlines'
expect 3 '' set flat.conf ' k' v
expect 3 '' set -s one sec.conf '#k' v
expect 3 '' merge flat.conf <<<$'ok=1\nno separator'
stderr_is 'velkc-conf: flat.conf: bad parameters (standard input, line 2: not KEY=VALUE)'
cmp -s flat.conf before.conf || fail "a refused change altered flat.conf"
expect 3 '' get missing.conf k
stderr_is 'velkc-conf: missing.conf: cannot open file'
expect 3 '' keys -s s missing.conf
expect 3 '' del missing.conf k
"$conf" keys flat.conf >/dev/full 2>"$err" && fail "a full stdout passed as success"

echo "== permissions"
mkdir ro
printf 'k=v\n' >ro/f.conf
chmod 555 ro
printf 'k=v\n' >secret.conf
chmod 000 secret.conf
runner=("${as_user[@]}")
expect 0 v get ro/f.conf k
expect 3 '' set ro/f.conf k w
[[ $(<"$err") == 'velkc-conf: ro/f.conf: '* ]] || fail "no message naming ro/f.conf: $(<"$err")"
expect 3 '' merge -s s ro/new.conf <<<'k=v'
expect 3 '' get secret.conf k
stderr_is 'velkc-conf: secret.conf: cannot open file'
expect 3 '' set secret.conf k w
[[ $(<ro/f.conf) == k=v ]] || fail "ro/f.conf changed"
chmod 755 ro

echo "$passed passed, $failed failed"
((failed == 0))
