#!/usr/bin/env bash
# Builds the Debian packages, unpacks them into a scratch root and builds a
# program against what they hold, as the appliance image would.
#
#   package_test.sh BUILD_DIR SOURCE_DIR
set -euo pipefail
readonly build=$1 src=$2/tests/consumer
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
root=$work/root

cpack -G DEB --config "$build/CPackConfig.cmake" -B "$work/debs" >/dev/null
field() { dpkg-deb -f "$work/debs/$1"_*.deb "$2"; }

echo "== names, dependencies and the soname"
field libvelkc1 Depends | grep -q 'libicu'
field libvelkc-dev Depends | grep -q 'libvelkc1 (= '
dpkg-deb -I "$work/debs"/libvelkc1_*.deb shlibs | grep -qx 'libvelkc 1 libvelkc1 (>= [0-9.]*)'
# The runtime package holds the library under its soname, the development
# package the link that the linker looks for.
runtime=$(dpkg-deb -c "$work/debs"/libvelkc1_*.deb)
development=$(dpkg-deb -c "$work/debs"/libvelkc-dev_*.deb)
grep -q '/libvelkc\.so\.1 -> ' <<<"$runtime"
if grep -q '/libvelkc\.so ' <<<"$runtime"; then
    echo "libvelkc1 holds the development link" >&2
    exit 1
fi
grep -q '/libvelkc\.so -> ' <<<"$development"

echo "== unpacked, a consumer builds and runs against them"
for deb in "$work/debs"/*.deb; do
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
