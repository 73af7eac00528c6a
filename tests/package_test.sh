#!/usr/bin/env bash
# Builds the Debian packages, checks them with lintian (when installed),
# unpacks them into a scratch root and builds a program against what they
# hold, as the appliance image would.
#
#   package_test.sh BUILD_DIR SOURCE_DIR HAVE_DOCS
#
# HAVE_DOCS is 1 when the build has the docs target: the man pages are then
# built first, so that libvelkc-dev holds them and lintian checks them too.
set -euo pipefail
readonly build=$1 src=$2/tests/consumer have_docs=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
root=$work/root
debs=$work/debs

if [[ $have_docs == 1 ]]; then
    cmake --build "$build" --target docs >/dev/null
fi
cpack -G DEB --config "$build/CPackConfig.cmake" -B "$debs" >/dev/null
field() { dpkg-deb -f "$debs/$1"_*.deb "$2"; }

echo "== names, dependencies and the soname"
field libvelkc1 Depends | grep -q 'libicu'
field libvelkc-dev Depends | grep -q 'libvelkc1 (= '
dpkg-deb -I "$debs"/libvelkc1_*.deb shlibs | grep -qx 'libvelkc 1 libvelkc1 (>= [0-9.]*)'
# The runtime package holds the library under its soname, the development
# package the link that the linker looks for.
runtime=$(dpkg-deb -c "$debs"/libvelkc1_*.deb)
development=$(dpkg-deb -c "$debs"/libvelkc-dev_*.deb)
grep -q '/libvelkc\.so\.1 -> ' <<<"$runtime"
if grep -q '/libvelkc\.so ' <<<"$runtime"; then
    echo "libvelkc1 holds the development link" >&2
    exit 1
fi
grep -q '/libvelkc\.so -> ' <<<"$development"

echo "== the loader's cache is rebuilt by the trigger, not by maintainer scripts"
grep -qx 'activate-noawait ldconfig' <(dpkg-deb -I "$debs"/libvelkc1_*.deb triggers)
for script in preinst postinst prerm postrm; do
    if dpkg-deb -I "$debs"/libvelkc1_*.deb "$script" >/dev/null 2>&1; then
        echo "libvelkc1 has a $script" >&2
        exit 1
    fi
done

echo "== stripped binaries, their debug symbols in the -dbgsym packages by build ID"
for package in libvelkc1 velkc-conf velkc-check; do
    dpkg-deb -x "$debs/$package"_*.deb "$work/$package"
    symbols=$(dpkg-deb -c "$debs/$package"-dbgsym_*.ddeb)
    binaries=0
    while IFS= read -r -d '' binary; do
        [[ $(od -An -tx1 -N4 "$binary") == " 7f 45 4c 46" ]] || continue
        binaries=$((binaries + 1))
        if readelf -S "$binary" | grep -q '\.debug_info'; then
            echo "$package: ${binary#"$work/$package"} keeps its debug symbols" >&2
            exit 1
        fi
        id=$(readelf -n "$binary" | sed -n 's/^ *Build ID: //p')
        if ! grep -q "/usr/lib/debug/\.build-id/${id:0:2}/${id:2}\.debug$" <<<"$symbols"; then
            echo "$package: no debug symbols for ${binary#"$work/$package"} (build ID $id)" >&2
            exit 1
        fi
    done < <(find "$work/$package" -type f -print0)
    ((binaries > 0))
done

if command -v lintian >/dev/null; then
    echo "== lintian"
    start=$SECONDS
    lintian --allow-root --fail-on error,warning --tag-display-limit 0 "$debs"/*.deb "$debs"/*.ddeb
    echo "lintian took $((SECONDS - start)) s"
else
    echo "== lintian is not installed: the packages are not checked with it"
fi

echo "== unpacked, a consumer builds and runs against them"
for deb in "$debs"/*.deb; do
    dpkg-deb -x "$deb" "$root"
done
libdir=$(dirname "$(dirname "$(find "$root" -name velkc.pc)")")
# shellcheck disable=SC2046
cc -std=c11 -Wall -Wextra -Werror -o "$work/consumer_c" "$src/consumer.c" \
    $(PKG_CONFIG_PATH=$libdir/pkgconfig pkg-config --cflags --libs velkc)
LD_LIBRARY_PATH=$libdir "$work/consumer_c"
cmake -S "$src" -B "$work/cmake-build" -G Ninja -DCMAKE_PREFIX_PATH="$root/usr" >/dev/null
cmake --build "$work/cmake-build" >/dev/null
LD_LIBRARY_PATH=$libdir "$work/cmake-build/consumer_cxx"
echo "package test passed"
