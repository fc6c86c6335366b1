#!/usr/bin/env bash
# Checks the formatting of every source file and runs the linter over this system's build.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh
git ls-files '*.h' '*.cpp' | xargs clang-format --dry-run --Werror

# Most of the linter's time goes into headers. It reads them once for a batch of sources, as the release build does;
# and since it follows the paths through functions in a main file only, the batch holds the sources themselves.
hold_sources() { # FILE: puts each source, below its name, in the place of its #include
  awk '/^#include ".*\.cpp"$/ { split($0, part, "\""); source = part[2]; print "// " source
         while ((getline line < source) > 0) print line
         next } { print }' "$1" >"$1.held"
  mv "$1.held" "$1"
}
name_sources() { # In the linter's messages, a batch's line becomes that of its source.
  awk -F: -v OFS=: '$1 ~ /\/Unity\// && $2 ~ /^[0-9]+$/ { batch = $1; wanted = $2; number = 0
         while (number < wanted && (getline line < batch) > 0) {
           number++
           if (line ~ /^\/\/ \/.*\.cpp$/) { $1 = substr(line, 4); $2 = wanted - number }
         }
         close(batch) } { print; fflush() }'
}
cmake --preset release -B build/lint -DIQRX_BENCHMARKS=OFF >/dev/null
sed -n 's|.*"file": "\(.*\)".*|\1|p' build/lint/compile_commands.json | sort -u >build/lint/sources
grep /Unity/ build/lint/sources | while read -r batch; do hold_sources "$batch"; done
xargs -P "$(nproc)" -n 1 clang-tidy -p build/lint --quiet <build/lint/sources | name_sources
