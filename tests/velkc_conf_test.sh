#!/usr/bin/env bash
# Installs the build into a scratch prefix and runs the installed velkc-conf
# the way shell scripts do: exit status, output taken with $(...), stderr.
#
#   velkc_conf_test.sh BUILD_DIR PROJECT_VERSION
set -euo pipefail
readonly build=$1 version=$2
work=$(mktemp -d)
# The permission cases below run as nobody when root runs this, and the
# library makes nobody a lock directory: one that was not there before goes
# again at the end.
new_lock_dirs=()
for dir in /run/user/65534/velkc /tmp/velkc-65534; do
    [[ -e $dir ]] || new_lock_dirs+=("$dir")
done
trap 'rm -rf "$work" "${new_lock_dirs[@]}"' EXIT
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
expect 0 '' get flat.conf empty
expect 0 $'a\nb\nrt\nempty' keys flat.conf
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
# Quotes, once a value needed them, stay around the values that follow.
kept sec.conf 600 '# head' '# in one' '#c=d' '[one]' 'rt="it'"'"'s"'
expect 0 '' set -s s new2.conf k v
expect 0 v get -s s new2.conf k
# Without -s: the lines before the first section.
expect 1 '' get sec.conf x
expect 0 '' set sec.conf top 1
expect 0 1 get sec.conf top
[[ $(head -2 sec.conf) == $'# head\ntop=1' ]] || fail "top=1 not before the first section: $(<sec.conf)"
expect 0 top keys sec.conf
expect 0 '' del sec.conf top

echo "== one setting changed, nothing else"
cat >share.conf <<'CONF'
# Shares of the appliance
[global]
   workgroup = HOME
   ; the server's name
   server string = "File server"

[public]
   path = /srv/public
   read only = no

[public]
   path = /srv/shadowed
CONF
cp share.conf share.orig
# changed A B: the number of lines of B that are not in A, in order.
changed() { diff "$1" "$2" | grep -c '^>' || true; }
expect 0 '' set -s public share.conf path /srv/pub
[[ $(changed share.orig share.conf) == 1 && $(diff share.orig share.conf | grep -c '^<') == 1 ]] ||
    fail "set changed more than one line: $(diff share.orig share.conf)"
grep -qxF '   path = /srv/pub' share.conf || fail "the line lost its indentation or spacing"
expect 0 '' set -s public share.conf guest 'ok '
expect 0 'ok ' get -s public share.conf guest
expect 0 '' del -s public share.conf guest
expect 0 '' set -s public share.conf path /srv/public
cmp -s share.orig share.conf || fail "set and del did not give the file back: $(diff share.orig share.conf)"

echo "== formats"
expect 0 '"File server"' get --format=json -s global share.conf 'server string'
expect 0 "server_string='File server'" get --format=sh -s global share.conf 'server string'
expect 0 '["workgroup","server string"]' keys --format=json -s global share.conf
expect 0 $'\'global\'\n\'public\'\n\'public\'' sections --format=sh share.conf
expect 0 $'[global]\nworkgroup=HOME\nserver string=File server\n\n[public]\npath=/srv/public\nread only=no' dump share.conf
expect 0 '[{"section":"global","values":{"workgroup":"HOME","server string":"File server"}},{"section":"public","values":{"path":"/srv/public","read only":"no"}}]' \
    dump --format=json share.conf
printf 'k=a\tb"c\\\001\n' >esc.conf
expect 0 '"a\tb\"c\\\u0001"' get --format=json esc.conf k
eval "$("$conf" dump --format=sh share.conf)"
[[ $public__path == /srv/public && $global__server_string == 'File server' ]] || fail "dump --format=sh did not eval"
expect 2 '' get --format=xml share.conf k

echo "== dry run"
expect 0 $'--- a/share.conf\n+++ b/share.conf\n@@ -5,7 +5,7 @@\n    server string = "File server"\n \n [public]\n-   path = /srv/public\n+   path = /x\n    read only = no\n \n [public]' \
    set --dry-run -s public share.conf path /x
expect 0 '' set --dry-run -s public share.conf path /srv/public
cmp -s share.orig share.conf || fail "--dry-run wrote"

echo "== conditions"
expect 4 '' set --if-value nope -s public share.conf path /y
expect 4 '' set --if-value /srv/public -s public share.conf absent /y
expect 4 '' set --if-absent -s public share.conf path /y
cmp -s share.orig share.conf || fail "an unmet condition wrote"
expect 0 '' set --if-value /srv/public -s public share.conf path /y
expect 0 '' set --if-absent -s public share.conf browseable yes
expect 2 '' set --if-absent --if-value x share.conf k v
expect 4 '' add-section share.conf public
expect 1 '' rename-section share.conf nowhere other
expect 4 '' rename-section share.conf public global

echo "== apply"
cp share.orig share.conf
expect 0 '' apply share.conf <<'CMDS'
# a share and its settings, in one commit
add-section share.conf-free
set -s share.conf-free path "/srv/with space"
set -s public --if-value /srv/public path '/srv/it'\''s'
del -s global workgroup
rename-section share.conf-free free
CMDS
expect 0 "/srv/with space" get -s free share.conf path
expect 0 "/srv/it's" get -s public share.conf path
expect 1 '' get -s global share.conf workgroup
cp share.conf share.applied
expect 4 '' apply share.conf <<<$'set -s free path /a\nset --if-absent -s free path /b'
expect 2 '' apply share.conf <<<$'set -s free path "/unfinished'
expect 2 '' apply share.conf <<<'get -s free path'
expect 2 '' apply share.conf <<<'set -s free path'
cmp -s share.applied share.conf || fail "a failed apply wrote"

echo "== concurrent read-modify-write"
printf 'n=0\n' >count.conf
count() {
    local i v status
    for ((i = 0; i < 50; i++)); do
        while :; do
            v=$("$conf" get count.conf n) || return 1
            status=0
            "$conf" set --if-value "$v" count.conf n $((v + 1)) 2>/dev/null || status=$?
            ((status == 0)) && break
            ((status == 4)) || return 1
        done
    done
}
pids=()
for _ in 1 2 3 4; do count & pids+=($!); done
for pid in "${pids[@]}"; do wait "$pid" || fail "a counting loop failed"; done
expect 0 200 get count.conf n

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
