#!/usr/bin/env bash
# Builds everything and runs all tests: the Windows build's under Wine first, then this system's with the sanitizers.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh
cmake --preset release >/dev/null
cmake --build --preset release
[ ! -x scripts/windows-test.sh ] || scripts/windows-test.sh
cmake --preset debug >/dev/null
cmake --build --preset debug
ctest --preset debug -j "$(nproc)"
