#!/usr/bin/env bash
# run_fuzz.sh FUZZER CORPUS [libFuzzer options...]
# Runs a fuzz target on a scratch copy of its seed corpus, so that the inputs
# it finds do not land in the source tree. A crash, a sanitizer report or a
# leak makes the fuzzer, and so this script, fail; the reproducer is kept in
# the working directory.
set -euo pipefail
fuzzer=$1 corpus=$2
shift 2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
mkdir "$scratch/corpus" "$scratch/tmp"
cp -R "$corpus"/. "$scratch/corpus"
TMPDIR="$scratch/tmp" "$fuzzer" -artifact_prefix="$PWD/$(basename "$fuzzer")-" "$@" "$scratch/corpus"
