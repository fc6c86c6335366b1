#!/usr/bin/env bash
# Copies the sample extract into a fresh embedded database, in full and then a day's changes of its audit trail, and
# shows what the applications find. Exits non-zero when a request failed.
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/setup.sh
cmake --preset release >/dev/null
cmake --build --preset release --target iQRXyQRXSync qrxctl

place=build/demo
rm -rf "$place"
mkdir -p "$place/log"
database="$place/scheduling.db"
qrxctl() { build/release/qrxctl --connection "Provider=SQLite;Data Source=$database" --erp extract=sample --log-dir "$place/log" "$@"; }

echo
echo "== The local database: schema and table catalog"
qrxctl init
echo "$database"

echo
echo "== Every table in full"
qrxctl copy --all --full

echo
echo "== The changes of 20 June 2025, from the audit trail"
qrxctl copy --all --incremental --since "2025-06-20 00:00:00"

echo
echo "== One more request, as a scheduling server starts it: service types, incrementally"
build/release/iQRXyQRXSync "Provider=SQLite;Data Source=$database{}{}2{}2{}$place/log{}extract=sample{}0{}{}1{}0{}SYNC{}"
echo "exit code $?"

echo
echo "== The change-log that the incremental copy left for the applications"
sqlite3 -box "$database" "
  WITH change(orno, kind, line, action) AS (
    SELECT orno, 'order', 0, action FROM tssoc200_audit UNION ALL
    SELECT orno, 'activity', acln, action FROM tssoc210_audit UNION ALL
    SELECT orno, 'assignment', asln, action FROM tssoc206_audit ORDER BY 1, 2, 3)
  SELECT orno AS \"service order\",
         max(CASE kind WHEN 'order' THEN action END) AS change,
         group_concat(CASE kind WHEN 'activity' THEN action || ' ' || line END, ', ') AS activities,
         group_concat(CASE kind WHEN 'assignment' THEN action || ' ' || line END, ', ') AS assignments
  FROM change GROUP BY orno"

echo
echo "== What was copied"
qrxctl status
