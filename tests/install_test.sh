#!/usr/bin/env bash
# Installs the library into a scratch prefix and builds a program against it
# the two ways other programs do: with pkg-config and with the CMake package.
#
#   install_test.sh BUILD_DIR SOURCE_DIR
set -euo pipefail
readonly build=$1 src=$2/tests/consumer
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix

cmake --install "$build" --prefix "$prefix" >/dev/null
test -x "$prefix/bin/kovacore_check"
test -f "$prefix/include/velkc.h"
pc=$(find "$prefix" -name velkc.pc)
libdir=$(dirname "$(dirname "$pc")")

echo "== the installed runner lists its suites"
listing=$("$prefix/bin/kovacore_check" -l || true)
grep -qx $'\tunicode' <<<"$listing"

echo "== pkg-config, C11"
export PKG_CONFIG_PATH=$libdir/pkgconfig
test "$(pkg-config --modversion velkc)" = 1.0.0
# shellcheck disable=SC2046
cc -std=c11 -Wall -Wextra -Werror -pedantic -o "$work/consumer_c" "$src/consumer.c" $(pkg-config --cflags --libs velkc)
LD_LIBRARY_PATH=$libdir "$work/consumer_c"

echo "== pkg-config, C++20"
# shellcheck disable=SC2046
c++ -std=c++20 -Wall -Wextra -Werror -o "$work/consumer_cxx" "$src/consumer.cpp" $(pkg-config --cflags --libs velkc)
LD_LIBRARY_PATH=$libdir "$work/consumer_cxx"

echo "== CMake package"
cmake -S "$src" -B "$work/cmake-build" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/cmake-build" >/dev/null
"$work/cmake-build/consumer_c"
"$work/cmake-build/consumer_cxx"
echo "install test passed"
