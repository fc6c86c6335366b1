#!/usr/bin/env bash
# Builds the Windows programs and runs their tests under Wine: the unit tests, then the scenarios between processes,
# which compare the service with this system's release build.
set -euo pipefail
cd "$(dirname "$0")/.."

cmake --preset windows >/dev/null
cmake --build --preset windows
trap 'scripts/wine.sh --end-session' EXIT
ctest --preset windows
python3 tests/windows/scenarios.py
