#!/usr/bin/env bash
# The exported pointers bear the names of functions of the GL library. Builds a caller in every way that decides which
# of the two a name means, and runs each: compilers, code models, link orders, and under a preloaded GL tracer.
# Usage: entryPointsTest.sh SOURCE_DIR LIBRARY_DIR
set -euo pipefail

source=$1
libraries=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
failures=0

check() { # NAME COMMAND...: runs and reports
  if "${@:2}" >"$work/log" 2>&1; then
    echo "ok: $1"
  else
    echo "FAILED: $1 (status $?)"
    cat "$work/log"
    failures=$((failures + 1))
  fi
}

om="-lomRender -lomImage -lomFoundCommon -lomFoundCore"
declare -A orders=([after]="$om -lGL" [before]="-lGL $om" [forced]="-Wl,--no-as-needed -lGL -Wl,--as-needed $om")
for compiler in g++ clang++; do
  command -v $compiler >/dev/null || continue
  for model in "" -fPIC "-fno-pie -no-pie"; do
    for order in "${!orders[@]}"; do
      # shellcheck disable=SC2086
      $compiler -std=c++17 $model -I"$source" "$source/tests/support/entryPoints.cpp" -o "$work/caller" \
        -L"$libraries" -Wl,-rpath,"$libraries" ${orders[$order]}
      check "$compiler ${model:-default}, GL $order" "$work/caller"
    done
  done
done
if command -v apitrace >/dev/null; then
  check "under a GL tracer" apitrace trace -o "$work/caller.trace" "$work/caller"
  apitrace dump "$work/caller.trace" >"$work/dump" # what the caller called, not the library's own resolving alone
  check "traced calls" grep -q "glGenFramebuffersEXT(n = 1" "$work/dump"
fi
exit $((failures > 0))
