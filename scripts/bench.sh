#!/usr/bin/env bash
# Prints the benchmark tables. Each figure that matters is a ratio against a plain loop or a peer in the same run: the
# machine's own speed drops out. Quiet machines give steadier ratios.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh
cmake --preset release >/dev/null
cmake --build --preset release --target \
  iQRXyQRXSync qrxctl plain_loop copy_bench sqlite_bench orders_bench calendars_bench odbc_bench watch_bench \
  postgres_bench

quiet=(--benchmark_color=false)
echo "== Full copies against the plain prepared loop (ratio: time, cpu_ratio: processor time)"
build/release/copy_bench --benchmark_format=json | python3 bench/copy_table.py
echo
echo "== Counts, guard and stop: a full copy with them against one without"
build/release/watch_bench
echo
echo "== Whole processes"
python3 bench/whole_process.py build/release
echo
echo "== Service orders, full and from the audit trail"
build/release/orders_bench "${quiet[@]}"
echo
echo "== Calendars copied and expanded"
build/release/calendars_bench "${quiet[@]}"
echo
echo "== The embedded database by itself"
build/release/sqlite_bench "${quiet[@]}"
echo
echo "== ODBC against a bare loop"
build/release/odbc_bench "${quiet[@]}"
echo
echo "== PostgreSQL: against others, from a distance, several tables at once"
build/release/postgres_bench
