#!/usr/bin/env bash
# Builds everything and runs all tests: the Windows build's under Wine first, then this system's with the sanitizers.
# The last lines are the totals of both.
set -euo pipefail
cd "$(dirname "$0")/.."
output=$(mktemp) totals=$(mktemp)
trap 'rm -f "$output" "$totals"' EXIT

run() { # NAME COMMAND...: keeps the command's totals under the name
  "${@:2}" 2>&1 | tee "$output"
  grep -E '^[0-9]+% tests passed|^Ran [0-9]+ tests' "$output" | sed "s/^/$1: /" >>"$totals"
}

scripts/setup.sh
cmake --preset release >/dev/null
cmake --build --preset release
run Windows scripts/windows-test.sh
cmake --preset debug >/dev/null
cmake --build --preset debug
run Linux ctest --preset debug -j "$(nproc)"
cat "$totals"
