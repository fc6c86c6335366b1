#!/usr/bin/env bash
# Checks the formatting of every source file and runs the linter over this system's build.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh
git ls-files '*.h' '*.cpp' | xargs clang-format --dry-run --Werror
cmake --preset debug >/dev/null
# Every source of this system's build but what the build makes. Its compiler knows warnings that the linter's does not.
sed -n 's|.*"file": "'"$PWD"'/\(src/.*\)".*|\1|p' build/debug/compile_commands.json | sort -u |
  xargs -P "$(nproc)" -n 8 clang-tidy -p build/debug --quiet --extra-arg=-Wno-unknown-warning-option
