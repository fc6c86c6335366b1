#!/usr/bin/env bash
# Tries what the tests sample, in full: every call of the database and the ERP that may fail, every write, sync,
# opening and truncation of a disk, 200 kills of each copy, 200 pairs of services that start at once. Takes hours.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh
cmake --preset debug >/dev/null
cmake --build --preset debug
IQRX_EVERY_FAULT=1 IQRX_ROUNDS="${IQRX_ROUNDS:-200}" ctest --preset debug -j "$(nproc)" --timeout 86400 \
  -R 'faults|AFailingDisk|AKilledService|TwoServices'
